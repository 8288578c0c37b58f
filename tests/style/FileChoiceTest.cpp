#include "workbench/style/FileChoice.h"
#include "tests/support/WaitUntil.h"
#include "workbench/style/Settings.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace {

/// Types a path into the next file dialog, or gives up with Escape where that is empty; keeps where it began.
class DialogUser {
public:
    explicit DialogUser(const QString& path) {
        QObject::connect(&m_timer, &QTimer::timeout, [this, path] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!dialog || !began.isEmpty()) {
                return;
            }
            began = dialog->directory().absolutePath();
            if (path.isEmpty()) {
                dialog->reject();
                return;
            }
            auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
            name->setText(path);
            QTest::keyClick(name, Qt::Key_Return);
        });
        m_timer.start(20);
    }

    QString began;

private:
    QTimer m_timer;
};

class FileChoiceTest : public ::testing::Test {
protected:
    FileChoiceTest() {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        Settings().remove("files");
        QDir(m_folder.path()).mkpath("one/two");
        QFile file(m_folder.filePath("one/two/dsm.tif"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    }
    ~FileChoiceTest() override { Settings().remove("files"); }

    QString in(const QString& path) const { return m_folder.filePath(path); }

    QTemporaryDir m_folder;
};

TEST_F(FileChoiceTest, BeginsWhereTheUserWasLastForTheSamePurpose) {
    {
        DialogUser user(in("one/two/dsm.tif"));
        EXPECT_EQ(FileChoice(nullptr, "data", "选择").existingFile(), in("one/two/dsm.tif"));
    }
    DialogUser again{QString()};
    EXPECT_EQ(FileChoice(nullptr, "data", "选择").existingFile(), QString());
    EXPECT_EQ(again.began, in("one/two"));
    DialogUser other{QString()};
    FileChoice(nullptr, "projects", "选择").existingFolder();
    EXPECT_NE(other.began, in("one/two")) << "another purpose has another place";
}

TEST_F(FileChoiceTest, BeginsBesideTheGivenFileUnlessThatIsGone) {
    Settings().setValue("files/data", in("one"));
    DialogUser given{QString()};
    FileChoice(nullptr, "data", "选择").beginAt(in("one/two/dsm.tif")).existingFile();
    EXPECT_EQ(given.began, in("one/two"));
    DialogUser gone{QString()};
    FileChoice(nullptr, "data", "选择").beginAt(in("none/dsm.tif")).existingFile();
    EXPECT_EQ(gone.began, in("one"));
}

TEST_F(FileChoiceTest, GivingUpKeepsThePlace) {
    Settings().setValue("files/data", in("one"));
    DialogUser user{QString()};
    FileChoice(nullptr, "data", "选择").beginAt(in("one/two")).existingFile();
    EXPECT_EQ(Settings().value("files/data").toString(), in("one"));
}

} // namespace
