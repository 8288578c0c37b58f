#include "tests/app/SampleProject.h"
#include "tests/app/walk/Walk.h"
#include "tests/support/FileDialogAnswer.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/app/RecentProjects.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

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

    const SampleProject m_sample{4096};
};

TEST_F(OwnDataWalk, TheFilesOfASurveyBecomeAProjectWithAnomaliesByMouse) {
    open(m_sample.folder());
    window().desk().rememberOpenProject();
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
