#include "tests/inspection/windows/WindowFixture.h"

#include "host/inspection/EditHistory.h"
#include "host/inspection/StationWindow.h"
#include "tests/support/StatementTrace.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QTest>

namespace {

class OutputsTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openComputed();
        QObject::connect(&context(), &InspectionContext::outputFinished, m_window.get(),
                         [this](const QString& kind, bool ok, const QString& path) {
                             m_kind = kind;
                             m_ok = ok;
                             m_path = path;
                         });
    }
    bool ended() {
        return waitUntil([this] { return !m_kind.isEmpty(); });
    }

    QString m_kind;
    bool m_ok = false;
    QString m_path;
};

TEST_F(OutputsTest, WithAnOutputFolderTheReportIsWrittenWithoutAsking) {
    const QString folder = m_folder.filePath("results");
    context().setOutputFolder(folder);
    QImage globe(320, 200, QImage::Format_RGB32);
    globe.fill(Qt::darkGreen);
    context().setMapPictureSource([globe] { return globe; });
    MessageWatch messages;
    context().GetStationWindow()->OutPutReport();
    EXPECT_TRUE(context().isWorking());
    ASSERT_TRUE(ended());
    EXPECT_EQ(m_kind, "report");
    EXPECT_TRUE(m_ok);
    EXPECT_EQ(m_path, QDir(folder).filePath("report.pdf"));
    QFile report(m_path);
    ASSERT_TRUE(report.open(QIODevice::ReadOnly));
    EXPECT_EQ(report.read(5), "%PDF-");
    EXPECT_TRUE(messages.texts().isEmpty());
}

TEST_F(OutputsTest, WithAnOutputFolderTheShapesAreWrittenWithoutAsking) {
    const QString folder = m_folder.filePath("results");
    context().setOutputFolder(folder);
    MessageWatch messages;
    context().GetStationWindow()->OutPutShap();
    ASSERT_TRUE(ended());
    EXPECT_EQ(m_kind, "shape");
    EXPECT_TRUE(m_ok) << messages.texts().join('\n').toStdString();
    EXPECT_EQ(m_path, QDir(folder).filePath("shape"));
    EXPECT_FALSE(QDir(m_path).entryList({"*.shp"}).isEmpty());
    EXPECT_FALSE(QDir(m_path).entryList({"*.prj"}).isEmpty());
    EXPECT_FALSE(QDir(m_path).entryList({"*.gpkg"}).isEmpty());
}

TEST_F(OutputsTest, TheWindowItselfReadsNothingOfTheDatabaseForThem) {
    context().setOutputFolder(m_folder.filePath("results"));
    const StatementTrace trace;
    context().GetStationWindow()->OutPutShap();
    EXPECT_EQ(trace.statements(), QStringList());
    ASSERT_TRUE(ended());
    EXPECT_TRUE(m_ok);
    m_kind.clear();
    context().GetStationWindow()->OutPutReport();
    EXPECT_EQ(trace.statements(), QStringList());
    ASSERT_TRUE(ended());
    EXPECT_TRUE(m_ok);
}

TEST_F(OutputsTest, WhileTheyAreWrittenAnomaliesCanBeJudged) {
    context().setOutputFolder(m_folder.filePath("results"));
    tree().setCurrentItem(tree().topLevelItem(0));
    ASSERT_GT(table().model()->rowCount(), 0);
    table().selectRow(0);
    context().GetStationWindow()->OutPutReport();
    ASSERT_TRUE(context().isWorking());
    QTest::keyClick(&table(), Qt::Key_1);
    EXPECT_TRUE(context().GetEditHistory()->CanUndo());
    ASSERT_TRUE(ended());
    EXPECT_TRUE(m_ok);
}

TEST_F(OutputsTest, WithoutAnOutputFolderTheUserIsAskedAndHasNoBoxToCloseAfterwards) {
    MessageWatch messages;
    const QString file = m_folder.filePath("mine.pdf");
    QTimer::singleShot(0, m_window.get(), [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->findChild<QLineEdit*>("fileNameEdit")->setText(file);
        static_cast<QDialog*>(dialog)->accept();
    });
    context().GetStationWindow()->OutPutReport();
    ASSERT_TRUE(ended());
    EXPECT_TRUE(m_ok);
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_EQ(m_path, file);
    EXPECT_TRUE(messages.texts().isEmpty());
}

TEST_F(OutputsTest, GivingUpInTheFileDialogDoesNothing) {
    MessageWatch messages;
    QTimer::singleShot(0, m_window.get(), [] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->reject();
    });
    context().GetStationWindow()->OutPutReport();
    EXPECT_FALSE(context().isWorking());
    EXPECT_TRUE(m_kind.isEmpty());
    EXPECT_TRUE(messages.texts().isEmpty());
}

TEST_F(OutputsTest, AFolderThatCannotBeMadeGivesOneMessage) {
    const QString occupied = m_folder.filePath("occupied");
    QFile file(occupied);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    context().setOutputFolder(occupied);
    MessageWatch messages;
    context().GetStationWindow()->OutPutReport();
    ASSERT_TRUE(ended());
    EXPECT_FALSE(m_ok);
    ASSERT_EQ(messages.texts().size(), 1);
    EXPECT_FALSE(messages.texts()[0].contains('\n'));
}

} // namespace
