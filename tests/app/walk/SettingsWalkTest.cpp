#include "tests/app/SampleProject.h"
#include "tests/app/walk/Walk.h"
#include "tests/support/FileDialogAnswer.h"
#include "tests/support/MenuEntry.h"
#include "tests/support/TheChild.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QDir>
#include <QDoubleSpinBox>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QTest>
#include <QTimer>
#include <QToolButton>

namespace {

/// A computed and judged project gets other stations.
class SettingsWalk : public WalkTest {
protected:
    QWidget* dialog() { return window().findChild<QWidget*>("projectSettingsDialog"); }
    void openSettings() {
        auto& button = theChild<QToolButton>(&window(), "openProject");
        QMenu& menu = *button.menu();
        menu.popup(button.mapToGlobal(QPoint(0, button.height())));
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&menu));
        for (QAction* action : menu.actions()) {
            if (action->text() == "项目设置…") {
                clickEntry(menu, *action);
                break;
            }
        }
        ASSERT_NE(dialog(), nullptr);
    }
    void goOn(const QString& picture) {
        auto& next = theChild<QPushButton>(dialog(), "next");
        auto& problem = theChild<QLabel>(dialog(), "pageProblem");
        ASSERT_TRUE(waitUntil([&] { return next.isEnabled() && problem.text().isEmpty(); }))
            << problem.text().toStdString();
        if (!picture.isEmpty()) {
            keepPicture(picture);
        }
        QTest::mouseClick(&next, Qt::LeftButton);
    }

    void enterMetres(const char* name, const char* metres) {
        auto& box = theChild<QDoubleSpinBox>(dialog(), name);
        box.setFocus();
        box.selectAll();
        QTest::keyClicks(&box, metres);
        QTest::keyClick(&box, Qt::Key_Tab);
    }

    const SampleProject m_sample{2048};
};

TEST_F(SettingsWalk, OtherStationsHoldTheVerdictsThatWereThere) {
    open(m_sample.folder());
    tickAllStations();
    computeAnomalies();
    const auto computed = stored();
    const int stations = stationCount();
    openSettings();
    goOn({});
    goOn({});
    enterMetres("stationLength", "150");
    enterMetres("halfWidth", "120");
    goOn("settings-stations");
    ASSERT_TRUE(waitUntil(
        [this] { return theChild<QLabel>(dialog(), "settingsChanges").text().contains("归入其他站段"); }));
    goOn("settings-confirm");
    ASSERT_TRUE(waitUntil([this] { return dialog() == nullptr; }));
    ASSERT_NE(InspectionContext::instance().project(), nullptr);
    EXPECT_GT(stationCount(), stations);
    EXPECT_EQ(stored(), computed);
    tickAllStations();
    clickStation(0);
    waitForGlobe();
}

TEST_F(SettingsWalk, FilesThatWereMovedAreFoundByOneOfThem) {
    openStartPage();
    const QString moved = QFileInfo(m_sample.folder()).absolutePath() + "/航测数据";
    ASSERT_TRUE(QDir().rename(m_sample.file("epochs"), moved));
    const FileDialogAnswer answer({moved + "/2024-05-18/dsm.tif"});
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &window(), [&] {
        QWidget* asking = QApplication::activeModalWidget();
        if (asking && asking->objectName() == "missingFilesDialog" && asking->isVisible()) {
            watch.stop();
            keepPicture("missing-files");
            QTest::mouseClick(&theChild<QPushButton>(asking, "locate"), Qt::LeftButton);
        }
    });
    watch.start(200);
    window().desk().open(m_sample.folder());
    EXPECT_TRUE(answer.isAnswered());
    ASSERT_NE(InspectionContext::instance().project(), nullptr);
    EXPECT_EQ(InspectionContext::instance().project()->description().epochs[1].dom,
              moved + "/2025-05-20/dom.tif");
    waitForGlobe();
}

} // namespace
