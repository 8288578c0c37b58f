// Where the user was in a project, when he comes back to it.

#include "tests/support/SmallProject.h"
#include "tests/support/WaitUntil.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/project/Project.h"
#include "workbench/viewer/GlobeWidget.h"

#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

#include <gtest/gtest.h>

#include <QComboBox>
#include <QTableView>
#include <QTest>
#include <QTreeWidget>

namespace {

class ProjectStayTest : public testing::Test {
protected:
    ProjectStayTest() {
        const auto project = inspection::Project::open(m_files.folder());
        EXPECT_TRUE(project);
        inspection::ComputationRequest request;
        request.project = project->description();
        EXPECT_TRUE(
            inspection::PipelineDatabase::open(request.project, inspection::Project::Access::Exclusive));
        EXPECT_TRUE(inspection::computeAnomalies(request));
        start();
    }
    void start() {
        m_window.reset(); // the libraries know one window at a time
        m_window = std::make_unique<MainWindow>();
        m_window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(m_window.get()));
    }
    void open() {
        m_window->desk().open(m_files.folder());
        QCoreApplication::processEvents();
    }
    QTreeWidget& tree() const { return *m_window->findChild<QTreeWidget*>("stationTree"); }
    QTreeWidgetItem* station(int index) const { return tree().topLevelItem(0)->child(index); }
    QTableView& table() const { return *m_window->findChild<QTableView*>("anomalyTable"); }
    QComboBox& epochs() const { return *m_window->findChild<QComboBox*>("epochs"); }
    osgEarth::Viewpoint view() const { return m_window->globe().getManipulator()->getViewpoint(); }

    SmallProject m_files;
    std::unique_ptr<MainWindow> m_window;
};

TEST_F(ProjectStayTest, WhoeverWasNeverThereSeesAllThatWasComputed) {
    open();
    EXPECT_EQ(station(0)->checkState(0), Qt::Checked);
    EXPECT_EQ(station(1)->checkState(0), Qt::Checked);
    EXPECT_TRUE(tree().topLevelItem(0)->isSelected());
    EXPECT_EQ(table().model()->rowCount(), 3);
}

TEST_F(ProjectStayTest, StationsEpochAndViewAreAsTheyWereLeft) {
    open();
    station(0)->setCheckState(0, Qt::Unchecked);
    tree().setCurrentItem(station(1));
    ASSERT_EQ(table().model()->rowCount(), 2);
    const QString latest = epochs().currentText();
    m_window->showEpoch(epochs().itemText(0));
    ASSERT_NE(epochs().currentText(), latest);
    osgEarth::Viewpoint near = view();
    near.setRange(77.0);
    near.setHeading(30.0);
    m_window->globe().getManipulator()->setViewpoint(near, 0.0);
    start();
    open();
    EXPECT_EQ(station(0)->checkState(0), Qt::Unchecked);
    EXPECT_EQ(station(1)->checkState(0), Qt::Checked);
    EXPECT_EQ(tree().selectedItems(), QList<QTreeWidgetItem*>{station(1)});
    EXPECT_EQ(table().model()->rowCount(), 2);
    EXPECT_NE(epochs().currentText(), latest);
    EXPECT_NEAR(view().getRange(), 77.0, 0.1);
    EXPECT_NEAR(view().getHeading(), 30.0, 0.1);
    EXPECT_NEAR(view().focalPoint()->x(), near.focalPoint()->x(), 1e-6);
}

TEST_F(ProjectStayTest, WhatAProgramOpensByItselfIsNeitherKeptNorTakenUp) {
    ASSERT_FALSE(m_window->openProject(m_files.folder()));
    EXPECT_EQ(station(0)->checkState(0), Qt::Unchecked);
    station(1)->setCheckState(0, Qt::Checked);
    start();
    open();
    EXPECT_EQ(station(0)->checkState(0), Qt::Checked) << "nobody has been there";
}

} // namespace
