#include "tests/app/DropFiles.h"
#include "tests/app/SampleProject.h"
#include "tests/app/walk/Walk.h"
#include "tests/support/FileDialogAnswer.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/app/RecentProjects.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace {

/// From the files of a survey to the anomalies.
class OwnDataWalk : public WalkTest {
protected:
    QWidget* dialog() { return window().findChild<QWidget*>("newProjectDialog"); }
    static void press(QWidget* button) {
        ASSERT_NE(button, nullptr);
        QTest::mouseClick(button, Qt::LeftButton);
    }
    static void pressAndChoose(QWidget* button, const QString& path) {
        const FileDialogAnswer answer({path});
        press(button);
        EXPECT_TRUE(answer.isAnswered());
    }
    /// Presses "next" when the page is read and without problem.
    void goOn(const QString& picture) {
        auto* next = dialog()->findChild<QPushButton*>("next");
        auto* problem = dialog()->findChild<QLabel*>("pageProblem");
        ASSERT_TRUE(waitUntil([&] { return next->isEnabled() && problem->text().isEmpty(); }))
            << problem->text().toStdString();
        keepPicture(picture);
        press(next);
    }

    /// Answers what becomes of dropped files, by mouse.
    void chooseForDropped(const char* answer) {
        QTimer::singleShot(10, &window(), [this, answer] {
            QWidget* question = QApplication::activeModalWidget();
            if (question && question->objectName() == "dropQuestion") {
                keepPicture("drop-question");
                press(question->findChild<QPushButton*>(answer));
            } else {
                chooseForDropped(answer);
            }
        });
    }

    const SampleProject m_sample{4096};
};

TEST_F(OwnDataWalk, TheNextFlightIsDroppedOnTheWindowAndCompared) {
    const QTemporaryDir flight;
    const QString raster = flight.filePath("20260525_dsm.tif"); // everything is as it was at first
    ASSERT_TRUE(QFile::copy(m_sample.file("epochs/2024-05-18/dsm.tif"), raster));
    open(m_sample.folder());
    waitForGlobe();
    tickAllStations();
    chooseForDropped("addAsEpoch");
    ASSERT_TRUE(dropFiles(window(), {raster}));
    const auto form = [this] { return window().findChild<QWidget*>("addEpochDialog"); };
    ASSERT_TRUE(waitUntil([&] { return form() != nullptr; }));
    auto* add = form()->findChild<QPushButton*>("addEpoch");
    auto* problem = form()->findChild<QLabel*>("epochProblem");
    ASSERT_TRUE(waitUntil([&] { return add->isEnabled() && problem->text().isEmpty(); }));
    keepPicture("add-epoch");
    press(add);
    const auto& project = InspectionContext::instance().project()->description();
    ASSERT_TRUE(waitUntil([&] { return project.epochs.size() == 3U && !form(); }));
    EXPECT_EQ(project.pair(), (inspection::EpochPair{"2025-05-20", "2026-05-25"}));
    computeAnomalies();
    EXPECT_GE(stored().size(), 20) << "ticked stations stayed ticked";
}

TEST_F(OwnDataWalk, TheFilesOfASurveyBecomeAProjectWithAnomaliesByMouse) {
    open(m_sample.folder());
    window().desk().welcome();
    ASSERT_TRUE(waitUntil([this] { return QFileInfo::exists(thumbnailFile(m_sample.folder())); }));
    close();
    openStartPage();
    keepPicture("start");

    press(window().findChild<QPushButton*>("newProject"));
    ASSERT_NE(dialog(), nullptr);
    pressAndChoose(dialog()->findChild<QPushButton*>("addEpochFolder"), m_sample.file("epochs"));
    goOn("new-epochs");
    pressAndChoose(dialog()->findChild<QWidget*>("centerlineFile")->findChild<QPushButton*>(),
                   m_sample.file("centerline.gpkg"));
    auto* summary = dialog()->findChild<QLabel*>("pipelineSummary");
    ASSERT_TRUE(waitUntil([&] { return summary->text().contains("km"); }));
    goOn("new-pipeline");
    goOn("new-stations");
    m_folder = dialog()->findChild<QWidget*>("projectFolder")->findChild<QLineEdit*>()->text();
    goOn("new-confirm");
    ASSERT_TRUE(waitUntil([] { return InspectionContext::instance().project() != nullptr; }));
    EXPECT_EQ(InspectionContext::instance().project()->description().folder, m_folder);
    waitForGlobe();

    tickAllStations();
    computeAnomalies();
    EXPECT_GE(stored().size(), 20);
    waitForGlobe();
    keepPicture("new-computed");
}

} // namespace
