// An open project is changed in the window, and one that misses files asks for them.

#include "tests/support/FileDialogAnswer.h"
#include "tests/support/ForeignConnection.h"
#include "tests/support/MenuEntry.h"
#include "tests/support/SmallProject.h"
#include "tests/support/TheChild.h"
#include "tests/support/Typing.h"
#include "tests/support/WaitUntil.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ProjectDesk.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/creation/PlanPreview.h"
#include "workbench/inspection/creation/ProjectSettingsDialog.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>

namespace {

using namespace inspection;

/// A small project with computed anomalies, one of them judged, and the window.
class ProjectSettingsTest : public testing::Test {
protected:
    ProjectSettingsTest() {
        {
            const auto project = Project::open(m_files.folder());
            const auto database = PipelineDatabase::open(project->description(), project->access());
            ComputationRequest request;
            request.project = project->description();
            EXPECT_TRUE(computeAnomalies(request).has_value());
        }
        database().run("update anomaly set attribute='塌陷' where name='S1-0001'");
        m_window.resize(1000, 680);
        m_window.showStartPage();
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
    }

    ForeignConnection database() const { return ForeignConnection(m_files.file("inspection.db")); }
    QTreeWidgetItem* stations() const {
        return theChild<QTreeWidget>(&m_window, "stationTree").topLevelItem(0);
    }
    QStringList stationNames() const {
        QStringList names;
        for (int i = 0; i < stations()->childCount(); ++i) {
            names << stations()->child(i)->text(0);
        }
        return names;
    }
    ProjectSettingsDialog* dialog() const {
        return m_window.findChild<ProjectSettingsDialog*>("projectSettingsDialog");
    }
    /// By the menu at the button, with the pointer.
    void openSettings() {
        QMenu* menu = theChild<QToolButton>(&m_window, "openProject").menu();
        menu->popup(m_window.mapToGlobal(QPoint(200, 80)));
        ASSERT_TRUE(QTest::qWaitForWindowExposed(menu));
        for (QAction* action : menu->actions()) {
            if (action->text() == "项目设置…") {
                ASSERT_TRUE(action->isEnabled());
                clickEntry(*menu, *action);
                break;
            }
        }
        ASSERT_NE(dialog(), nullptr);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog()));
    }
    void click(const char* button) const {
        auto& pressed = theChild<QAbstractButton>(dialog(), button);
        ASSERT_TRUE(pressed.isEnabled()) << button << ": " << problem().toStdString();
        QTest::mouseClick(&pressed, Qt::LeftButton);
    }
    QString problem() const { return theChild<QLabel>(dialog(), "pageProblem").text(); }
    QString changes() const { return theChild<QLabel>(dialog(), "settingsChanges").text(); }
    void goTo(int page) const {
        while (theChild<QStackedWidget>(dialog()).currentIndex() < page) {
            const int next = theChild<QStackedWidget>(dialog()).currentIndex() + 1;
            ASSERT_TRUE(waitUntil([&] { return theChild<QPushButton>(dialog(), "next").isEnabled(); }))
                << problem().toStdString();
            click("next");
            ASSERT_TRUE(waitUntil([&] { return theChild<QStackedWidget>(dialog()).currentIndex() == next; }))
                << problem().toStdString();
        }
    }
    void enterMetres(const char* box, const char* metres) const {
        auto& field = theChild<QDoubleSpinBox>(dialog(), box);
        field.setFocus();
        field.selectAll();
        QTest::keyClicks(&field, metres);
        QTest::keyClick(&field, Qt::Key_Tab);
    }
    /// Presses the last button when the page says that it can be pressed, and waits for the project.
    void apply() {
        ASSERT_TRUE(waitUntil([this] {
            return theChild<QPushButton>(dialog(), "next").text() == "应用" &&
                   theChild<QPushButton>(dialog(), "next").isEnabled();
        })) << problem().toStdString();
        click("next");
        ASSERT_TRUE(waitUntil([this] { return dialog() == nullptr; })) << problem().toStdString();
        ASSERT_NE(InspectionContext::instance().project(), nullptr);
    }
    void layOut(const char* length, const char* halfWidth) {
        openSettings();
        goTo(2);
        enterMetres("stationLength", length);
        enterMetres("halfWidth", halfWidth);
        goTo(3);
        apply();
    }

    SmallProject m_files;
    MainWindow m_window;
};

TEST_F(ProjectSettingsTest, StationsAreLaidOutAnewUnderTheVerdictsByMouse) {
    m_window.desk().open(m_files.folder());
    openSettings();
    EXPECT_EQ(theChild<QTreeWidget>(dialog(), "projectEpochs").topLevelItem(0)->text(0), "2024-05-18");
    goTo(2);
    EXPECT_DOUBLE_EQ(theChild<QDoubleSpinBox>(dialog(), "stationLength").value(), 100.0);
    EXPECT_TRUE(theChild<QLabel>(dialog(), "stationSummary").text().contains("现有的 2 个站段保持不变"));
    EXPECT_EQ(theChild<PlanPreview>(dialog(), "planPreview").sketch().stations.size(), 2U);
    enterMetres("stationLength", "50");
    ASSERT_TRUE(waitUntil(
        [this] { return theChild<PlanPreview>(dialog(), "planPreview").sketch().stations.size() == 4; }));
    goTo(3);
    ASSERT_TRUE(waitUntil([this] { return changes().contains("站段：2 个 → 4 个"); }));
    EXPECT_TRUE(changes().contains("3 处异常中 3 处归入其他站段"));
    apply();
    EXPECT_EQ(stationNames(),
              (QStringList{"K0+000—K0+050", "K0+050—K0+100", "K0+100—K0+150", "K0+150—K0+200"}));
    EXPECT_EQ(stations()->child(0)->text(1), "1");
    EXPECT_EQ(database().read("select s.name from anomaly a join station s on s.id=a.station_id where "
                              "a.attribute='塌陷'"),
              QVariantList{"K0+000—K0+050"});
}

TEST_F(ProjectSettingsTest, WhatWasTickedAndLookedAtStaysWhereItsNameDoes) {
    m_window.desk().open(m_files.folder());
    layOut("50", "40");
    stations()->child(0)->setCheckState(0, Qt::Checked);
    stations()->child(2)->setCheckState(0, Qt::Checked);
    theChild<QTreeWidget>(&m_window, "stationTree").setCurrentItem(stations()->child(2));
    layOut("50", "20");
    ASSERT_EQ(stationNames().size(), 4) << stationNames().join(' ').toStdString();
    EXPECT_EQ(stations()->child(0)->checkState(0), Qt::Checked);
    EXPECT_EQ(stations()->child(1)->checkState(0), Qt::Unchecked);
    EXPECT_EQ(stations()->child(2)->checkState(0), Qt::Checked);
    EXPECT_EQ(theChild<QTreeWidget>(&m_window, "stationTree").currentItem(), stations()->child(2));
}

TEST_F(ProjectSettingsTest, NothingIsAppliedWithoutAChangeAndProblemsStandOnTheirPage) {
    m_window.desk().open(m_files.folder());
    openSettings();
    goTo(1);
    QLineEdit& line = *theChild<QWidget>(dialog(), "centerlineFile").findChild<QLineEdit*>();
    const QString own = line.text();
    EXPECT_TRUE(own.endsWith("centerline.gpkg"));
    QTest::mouseClick(&line, Qt::LeftButton);
    line.selectAll();
    type(&line, m_files.beside("nowhere.kml"));
    QTest::keyClick(&line, Qt::Key_Tab);
    ASSERT_TRUE(waitUntil([this] { return problem().contains("nowhere.kml"); }));
    EXPECT_FALSE(theChild<QPushButton>(dialog(), "next").isEnabled());
    QTest::keyClick(dialog(), Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([this] { return dialog() == nullptr; }));
    openSettings();
    goTo(3);
    ASSERT_TRUE(waitUntil([this] { return problem() == "没有更改"; })) << problem().toStdString();
    EXPECT_FALSE(theChild<QPushButton>(dialog(), "next").isEnabled());
    auto& name = theChild<QLineEdit>(dialog(), "projectName");
    name.selectAll();
    type(&name, "西二线");
    apply();
    EXPECT_TRUE(m_window.windowTitle().startsWith("西二线"));
    EXPECT_EQ(stationNames(), (QStringList{"一号站", "二号站"}));
}

TEST_F(ProjectSettingsTest, MissingFilesAreAskedForOnceAndFoundTogether) {
    const QString away = m_files.beside("移走");
    ASSERT_TRUE(QDir().mkpath(away));
    for (const char* name : {"old", "new"}) {
        ASSERT_TRUE(QDir().rename(m_files.file(name), away + '/' + name));
    }
    int asked = 0;
    QStringList named;
    QTimer watch;
    const auto whenAsked = [&](const char* button) {
        watch.disconnect();
        QObject::connect(&watch, &QTimer::timeout, [&, button] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (!dialog || dialog->objectName() != "missingFilesDialog") {
                return;
            }
            watch.stop();
            ++asked;
            named.clear();
            auto& files = theChild<QTreeWidget>(dialog, "missingFiles");
            for (int i = 0; i < files.topLevelItemCount(); ++i) {
                named << files.topLevelItem(i)->text(1);
            }
            QTest::mouseClick(&theChild<QPushButton>(dialog, button), Qt::LeftButton);
        });
        watch.start(10);
    };
    whenAsked("skip");
    m_window.desk().open(m_files.folder());
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(named.size(), 4);
    ASSERT_NE(InspectionContext::instance().project(), nullptr) << "it opens all the same";
    EXPECT_EQ(stationNames().size(), 2);
    const FileDialogAnswer answer({away + "/old/dsm.tif"});
    whenAsked("locate");
    m_window.desk().open(m_files.folder());
    EXPECT_EQ(asked, 2);
    EXPECT_TRUE(answer.isAnswered());
    const auto& epochs = InspectionContext::instance().project()->description().epochs;
    EXPECT_EQ(epochs[0].dsm, away + "/old/dsm.tif");
    EXPECT_EQ(epochs[1].dom, away + "/new/dom.tif");
    m_window.desk().open(m_files.folder());
    EXPECT_EQ(asked, 2) << "nothing is missing any more";
}

} // namespace
