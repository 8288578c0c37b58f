// Opening a project that somebody else has made, with the real window.

#include "workbench/app/TrustDialog.h"
#include "tests/app/DropFiles.h"
#include "tests/app/MessageBoxes.h"
#include "tests/support/SmallProject.h"
#include "tests/support/VectorFile.h"
#include "tests/support/WaitUntil.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/app/RecentProjects.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/project/Project.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTimer>

namespace {

/// Presses a button of every question of trust that comes up, and keeps what it named.
class Answers {
public:
    explicit Answers(const char* button) {
        QObject::connect(&m_timer, &QTimer::timeout, [this, button] {
            auto* dialog = qobject_cast<TrustDialog*>(QApplication::activeModalWidget());
            if (!dialog) {
                return;
            }
            QStringList lines;
            const auto* list = dialog->findChild<QListWidget*>("foreignPlaces");
            for (int row = 0; row < list->count(); ++row) {
                lines << list->item(row)->text();
            }
            asked << lines.join('\n');
            for (const QLabel* label : dialog->findChildren<QLabel*>()) {
                isPlain = isPlain && (label->textFormat() == Qt::PlainText || !label->text().contains('<'));
            }
            isNoTheDefault = dialog->findChild<QPushButton*>("cancelTrust")->isDefault();
            QTest::mouseClick(dialog->findChild<QPushButton*>(button), Qt::LeftButton);
        });
        m_timer.start(10);
    }
    QStringList asked;
    bool isNoTheDefault = false;
    bool isPlain = true;

private:
    QTimer m_timer;
};

class TrustDialogTest : public testing::Test {
protected:
    TrustDialogTest() {
        EXPECT_TRUE(QDir().rename(m_files.folder(), folder()));
        EXPECT_TRUE(QDir().mkpath(m_files.beside("elsewhere")));
        EXPECT_TRUE(QFile::rename(folder() + "/new/dsm.tif", m_files.beside("elsewhere/dsm.tif")));
        QFile json(folder() + "/project.json");
        EXPECT_TRUE(json.open(QIODevice::ReadOnly));
        const QByteArray text = json.readAll().replace("new/dsm.tif", "../elsewhere/dsm.tif");
        json.close();
        writeBytes(json.fileName(), text);
        m_window.resize(1000, 680);
        m_window.showStartPage();
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
    }
    QString folder() const { return m_files.beside("<b>工程"); }
    QString question() const { return QStringLiteral("读取文件夹 ") + m_files.beside("elsewhere"); }
    static bool isOpen() { return InspectionContext::instance().project() != nullptr; }

    SmallProject m_files;
    MainWindow m_window;
    MessageBoxes m_boxes;
};

TEST_F(TrustDialogTest, NoLeavesEverythingAsItWas) {
    Answers no("cancelTrust");
    m_window.desk().open(folder());
    EXPECT_EQ(no.asked, QStringList{question()});
    EXPECT_TRUE(no.isNoTheDefault);
    EXPECT_TRUE(no.isPlain);
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(m_boxes.texts, QStringList()) << "he knows why";
    EXPECT_FALSE(QFile::exists(folder() + "/inspection.db"));
    EXPECT_FALSE(QFile::exists(m_files.beside("elsewhere/dsm.tif.ovr")));
    for (const RecentProject& recent : RecentProjects::all()) {
        EXPECT_NE(recent.folder, folder());
    }
}

TEST_F(TrustDialogTest, YesIsRememberedForEveryWayToTheProject) {
    Answers yes("trust");
    ASSERT_TRUE(dropFiles(m_window, {folder()}));
    ASSERT_TRUE(waitUntil(isOpen)); // the drop itself has ended before
    EXPECT_EQ(yes.asked, QStringList{question()});
    EXPECT_TRUE(isOpen());
    m_window.desk().open(folder());
    m_window.desk().takeDropped({folder() + "/project.json"});
    EXPECT_EQ(yes.asked.size(), 1);
    EXPECT_EQ(m_boxes.texts, QStringList());
}

TEST_F(TrustDialogTest, AFolderThatIsDroppedIsAskedFor) {
    Answers no("cancelTrust");
    m_window.desk().takeDropped({folder() + "/project.json"});
    EXPECT_EQ(no.asked, QStringList{question()});
    EXPECT_FALSE(isOpen());
}

TEST_F(TrustDialogTest, AProgramThatCannotAskOpensNothing) {
    const auto problem = m_window.openProject(folder());
    ASSERT_TRUE(problem);
    EXPECT_TRUE(problem->contains("尚未信任")) << problem->toStdString();
    EXPECT_FALSE(isOpen());
}

} // namespace
