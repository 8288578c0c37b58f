#include "workbench/app/ProjectDesk.h"
#include "tests/app/DropFiles.h"
#include "tests/app/MessageBoxes.h"
#include "tests/app/SampleProject.h"
#include "tests/support/SmallProject.h"
#include "tests/support/VectorFile.h"
#include "tests/support/WaitUntil.h"
#include "workbench/app/DroppedFiles.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ProjectPicture.h"
#include "workbench/app/RecentCard.h"
#include "workbench/app/SampleMaker.h"
#include "workbench/app/ToolArea.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/creation/NewProjectDialog.h"
#include "workbench/inspectiondata/project/Project.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

namespace {

using inspection::NewProjectDialog;

QStringList recentFolders() {
    QStringList folders;
    for (const RecentProject& project : RecentProjects::all()) {
        folders << project.folder;
    }
    return folders;
}

void forgetAll() {
    for (const QString& folder : recentFolders()) {
        RecentProjects::remove(folder);
    }
}

TEST(RecentProjectsTest, WhatIsOpenedComesOnTopOnceAndTenAreKept) {
    forgetAll();
    for (int i = 0; i < RecentProjects::kMost + 3; ++i) {
        RecentProjects::add(QStringLiteral("/projects/%1").arg(i), "name");
    }
    EXPECT_EQ(recentFolders().size(), RecentProjects::kMost);
    EXPECT_EQ(recentFolders().front(), "/projects/12");
    RecentProjects::add("/projects/5/../6/", "again");
    EXPECT_EQ(recentFolders().size(), RecentProjects::kMost);
    EXPECT_EQ(recentFolders().front(), "/projects/6");
    EXPECT_EQ(recentFolders().count("/projects/6"), 1);
    EXPECT_EQ(RecentProjects::all().front().name, "again");
    RecentProjects::remove("/projects/6");
    EXPECT_EQ(recentFolders().size(), RecentProjects::kMost - 1);
    forgetAll();
    EXPECT_TRUE(recentFolders().isEmpty());
}

TEST(DroppedFilesTest, ProjectsRastersAndVectorsAreToldApart) {
    const SmallProject files;
    VectorLayer points;
    points.rows = {{"POINT (1 2)"}};
    const QString vector = files.beside("points.gpkg");
    writeVectorFile(vector, "GPKG", {points});
    const QString cloud = files.beside("cloud.las");
    writeBytes(cloud, "LASF");
    DroppedFiles dropped = sortDropped({files.file("old/dsm.tif"), vector, files.file("old"), cloud});
    EXPECT_EQ(dropped.project, QString());
    EXPECT_EQ(dropped.rasters, QStringList({files.file("old/dsm.tif"), files.file("old"), cloud}));
    EXPECT_EQ(dropped.vectors, QStringList{vector});
    EXPECT_EQ(sortDropped({files.folder()}).project, files.folder());
    EXPECT_EQ(sortDropped({files.file("project.json")}).project, files.folder());
}

TEST(ProjectPictureTest, ShowsTheNewestOrthophotoOrElseTheRelief) {
    const SmallProject files;
    const auto project = inspection::Project::open(files.folder(), inspection::Project::Access::ReadOnly);
    ASSERT_TRUE(project);
    inspection::ProjectDescription description = project->description();
    const QImage photo = projectPicture(description, QSize(60, 40));
    ASSERT_EQ(photo.size(), QSize(60, 40));
    EXPECT_FALSE(photo.isGrayscale());
    description.epochs.back().dom.clear();
    const QImage relief = projectPicture(description, QSize(60, 40));
    ASSERT_EQ(relief.size(), QSize(60, 40));
    EXPECT_TRUE(relief.isGrayscale());
    EXPECT_EQ(relief.pixelColor(30, 20).alpha(), 255);
    description.epochs.back().dsm = "/nowhere.tif";
    EXPECT_TRUE(projectPicture(description, QSize(60, 40)).isNull());
}

/// The main window on its start page.
class ProjectDeskTest : public testing::Test {
protected:
    ProjectDeskTest() {
        forgetAll();
        m_window.resize(1000, 680);
        m_window.showStartPage();
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
    }

    /// A small project of its own.
    QString project(const QString& name) {
        m_projects.push_back(std::make_unique<SmallProject>());
        const QString folder = m_projects.back()->beside(name);
        EXPECT_TRUE(QDir().rename(m_projects.back()->folder(), folder));
        return folder;
    }
    QList<RecentCard*> cards() const {
        QList<RecentCard*> shown;
        for (RecentCard* card : m_window.findChildren<RecentCard*>()) {
            if (card->isVisible()) {
                shown << card;
            }
        }
        return shown;
    }
    /// Shown, and where they belong.
    bool waitForCards(qsizetype count) const {
        return waitUntil([this, count] {
            const QList<RecentCard*> shown = cards();
            return shown.size() == count &&
                   std::all_of(shown.begin(), shown.end(), [](const RecentCard* card) {
                       return card->width() > RecentCard::kPicture.width();
                   });
        });
    }
    bool isStartShown() const { return m_window.findChild<QWidget*>("startPage")->isVisible(); }
    static QString openFolder() {
        const inspection::Project* project = InspectionContext::instance().project();
        return project ? project->description().folder : QString();
    }
    bool drop(const QStringList& paths) { return dropFiles(m_window, paths); }
    NewProjectDialog* dialog() const { return m_window.findChild<NewProjectDialog*>("newProjectDialog"); }

    std::vector<std::unique_ptr<SmallProject>> m_projects;
    MessageBoxes m_boxes;
    MainWindow m_window;
};

TEST_F(ProjectDeskTest, TheStartPageStandsAloneUntilAProjectIsOpen) {
    EXPECT_TRUE(isStartShown());
    EXPECT_FALSE(m_window.toolArea().isEnabled());
    for (const QDockWidget* dock : m_window.findChildren<QDockWidget*>()) {
        EXPECT_FALSE(dock->isVisible()) << dock->objectName().toStdString();
    }
    m_window.desk().open(project("甲"));
    EXPECT_FALSE(isStartShown());
    EXPECT_TRUE(m_window.toolArea().isEnabled());
    for (const QDockWidget* dock : m_window.findChildren<QDockWidget*>()) {
        EXPECT_FALSE(dock->isHidden()) << dock->objectName().toStdString();
    }
    EXPECT_TRUE(m_boxes.texts.isEmpty());
}

TEST_F(ProjectDeskTest, AProjectThatWasOpenedIsOpenedAgainByAClickOnItsPicture) {
    const QString first = project("甲");
    const QString second = project("乙");
    m_window.desk().open(first);
    m_window.desk().open(second);
    EXPECT_EQ(recentFolders(), QStringList({second, first}));
    ASSERT_TRUE(waitUntil([&] { return QFileInfo::exists(thumbnailFile(second)); }));
    m_window.showStartPage();
    ASSERT_TRUE(waitForCards(2));
    QTest::mouseClick(cards()[1], Qt::LeftButton, {}, QPoint(60, 40));
    EXPECT_EQ(openFolder(), first);
    EXPECT_EQ(recentFolders(), QStringList({first, second}));
}

TEST_F(ProjectDeskTest, CardsAreReachedAndOpenedByKeys) {
    const QString folder = project("甲");
    RecentProjects::add(folder, "甲");
    m_window.showStartPage();
    ASSERT_TRUE(waitForCards(1));
    m_window.activateWindow();
    for (int tab = 0; tab < 12 && m_window.focusWidget() != cards()[0]; ++tab) {
        QWidget* focus = m_window.focusWidget();
        QTest::keyClick(focus ? focus : &m_window, Qt::Key_Tab);
    }
    ASSERT_EQ(m_window.focusWidget(), cards()[0]);
    QTest::keyClick(cards()[0], Qt::Key_Return);
    EXPECT_EQ(openFolder(), folder);
}

TEST_F(ProjectDeskTest, AMissingProjectIsGreyedAndRemovedByMouseOrKey) {
    RecentProjects::add("/nowhere/甲", "甲");
    RecentProjects::add("/nowhere/乙", "乙");
    m_window.showStartPage();
    ASSERT_TRUE(waitForCards(2));
    ASSERT_TRUE(waitUntil([this] { return cards()[0]->isMissing() && cards()[1]->isMissing(); }));
    auto* remove = cards()[0]->findChild<QToolButton*>("removeRecent");
    ASSERT_TRUE(remove->isVisible()) << "without the pointer over it";
    QTest::mouseClick(remove, Qt::LeftButton);
    EXPECT_EQ(recentFolders(), QStringList{"/nowhere/甲"});
    ASSERT_TRUE(waitForCards(1));
    QTest::keyClick(cards()[0], Qt::Key_Delete);
    EXPECT_TRUE(recentFolders().isEmpty());
    EXPECT_TRUE(cards().isEmpty());
    EXPECT_TRUE(m_boxes.texts.isEmpty());
}

TEST_F(ProjectDeskTest, AMissingProjectThatIsClickedIsToldAndTheOpenOneStays) {
    const QString folder = project("甲");
    m_window.desk().open(folder);
    RecentProjects::add("/nowhere/乙", "乙");
    m_window.desk().open("/nowhere/乙");
    ASSERT_EQ(m_boxes.texts.size(), 1);
    EXPECT_TRUE(m_boxes.texts[0].contains("/nowhere/乙"));
    EXPECT_EQ(openFolder(), folder);
    EXPECT_FALSE(isStartShown());
    EXPECT_GT(m_window.findChild<QTreeWidget*>("stationTree")->topLevelItem(0)->childCount(), 0);
}

TEST_F(ProjectDeskTest, TheButtonOpensTheDialogOverTheWindow) {
    QTest::mouseClick(m_window.findChild<QPushButton*>("newProject"), Qt::LeftButton);
    ASSERT_NE(dialog(), nullptr);
    EXPECT_TRUE(dialog()->isVisible());
    EXPECT_EQ(dialog()->parentWidget(), &m_window);
    QTest::keyClick(dialog(), Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([this] { return dialog() == nullptr; }));
    EXPECT_TRUE(isStartShown());
}

TEST_F(ProjectDeskTest, AProjectFolderThatIsDroppedIsOpened) {
    const QString folder = project("甲");
    EXPECT_TRUE(drop({folder}));
    EXPECT_TRUE(waitUntil([&] { return openFolder() == folder; }));
}

TEST_F(ProjectDeskTest, RastersThatAreDroppedBeginAProjectWithTheVectorFileAsItsLine) {
    const SmallProject files;
    VectorLayer line;
    line.epsg = 4547;
    line.rows = {{"LINESTRING (499950 3400040,500250 3400040)"}};
    writeVectorFile(files.beside("line.gpkg"), "GPKG", {line});
    EXPECT_TRUE(drop({files.file("old/dsm.tif"), files.file("new/dsm.tif"), files.beside("line.gpkg")}));
    ASSERT_TRUE(waitUntil([this] { return dialog() != nullptr; }));
    auto* rows = dialog()->findChild<QTreeWidget*>("epochRows");
    EXPECT_EQ(rows->topLevelItemCount(), 2);
    EXPECT_EQ(dialog()->findChild<QWidget*>("centerlineFile")->findChild<QLineEdit*>()->text(),
              files.beside("line.gpkg"));
    dialog()->reject();
    EXPECT_TRUE(waitUntil([this] { return dialog() == nullptr; }));
}

TEST_F(ProjectDeskTest, WhatIsDroppedWhileAProjectIsBeingMadeIsAddedToIt) {
    m_window.desk().open(project("甲"));
    const SmallProject files;
    m_window.desk().makeNew({files.file("old/dsm.tif")});
    NewProjectDialog* making = dialog();
    EXPECT_TRUE(dropFiles(*making, {files.file("new/dsm.tif")}));
    EXPECT_TRUE(dropFiles(*making, {files.file("centerline.gpkg")}));
    EXPECT_EQ(m_window.findChildren<NewProjectDialog*>().size(), 1);
    EXPECT_EQ(making->findChild<QTreeWidget*>("epochRows")->topLevelItemCount(), 2);
    EXPECT_EQ(making->findChild<QWidget*>("centerlineFile")->findChild<QLineEdit*>()->text(),
              files.file("centerline.gpkg"));
    EXPECT_TRUE(m_boxes.texts.isEmpty());
    making->reject();
    EXPECT_TRUE(waitUntil([this] { return dialog() == nullptr; }));
}

TEST_F(ProjectDeskTest, WhatIsNoFileIsNotTaken) {
    EXPECT_FALSE(drop({}));
}

TEST_F(ProjectDeskTest, AProjectIsMadeFromDroppedRastersAndOpened) {
    const SmallProject files;
    SmallProject::writeHeights(files.beside("20240518.tif"), SmallProject::oldHeight);
    SmallProject::writeHeights(files.beside("20250520.tif"), SmallProject::newHeight);
    ASSERT_TRUE(drop({files.beside("20240518.tif"), files.beside("20250520.tif")}));
    ASSERT_TRUE(waitUntil([this] { return dialog() != nullptr; }));
    auto* next = dialog()->findChild<QPushButton*>("next");
    const auto isLast = [next] { return next->text() == QStringLiteral("创建") && next->isEnabled(); };
    ASSERT_TRUE(waitUntil([&] {
        if (!isLast() && next->isEnabled()) {
            QTest::mouseClick(next, Qt::LeftButton);
        }
        return isLast();
    }));
    const QString folder = dialog()->findChild<QWidget*>("projectFolder")->findChild<QLineEdit*>()->text();
    QTest::mouseClick(next, Qt::LeftButton);
    ASSERT_TRUE(waitUntil([this] { return !openFolder().isEmpty(); }));
    EXPECT_EQ(openFolder(), folder);
    EXPECT_TRUE(InspectionContext::instance().readOnlyReason().isEmpty());
    EXPECT_EQ(recentFolders(), QStringList{folder});
    EXPECT_FALSE(isStartShown());
}

TEST_F(ProjectDeskTest, AStopWhileTheSampleIsMadeLeavesNothing) {
    ASSERT_FALSE(SampleMaker::program().isEmpty()) << "the command lies beside the program";
    SampleMaker maker;
    QSignalSpy cancelled(&maker, &SampleMaker::cancelled);
    QSignalSpy finished(&maker, &SampleMaker::finished);
    maker.start();
    ASSERT_TRUE(waitUntil([&] { return maker.isRunning(); }));
    maker.cancel();
    ASSERT_TRUE(waitUntil([&] { return cancelled.size() == 1; }));
    EXPECT_EQ(finished.size(), 0);
    const QString documents = QFileInfo(SampleMaker::folder()).absolutePath();
    EXPECT_EQ(QDir(documents).entryList({".corridor*", "管道巡检示例"}, QDir::AllEntries | QDir::Hidden),
              QStringList());
}

} // namespace
