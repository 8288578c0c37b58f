#include "tests/app/SampleProject.h"
#include "tests/support/OverlaysOnGlobe.h"
#include "tests/support/Pointer.h"
#include "tests/support/SamplePair.h"
#include "tests/support/ThirdFlight.h"
#include "tests/support/WaitUntil.h"

#include "host/Gbk.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"
#include "workbench/app/MainWindow.h"
#include "workbench/app/ToolArea.h"
#include "workbench/engine/EngineContext.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/viewer/GlobeWidget.h"
#include "workbench/viewmanager/HandlerRegistry.h"

#include <gtest/gtest.h>

#include <osgEarthAnnotation/ImageOverlay>
#include <osgEarthUtil/EarthManipulator>

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QLabel>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>

namespace {

constexpr int kLongMilliseconds = 120000;

// Closes message boxes as a user would and keeps what they said.
class MessageReader {
public:
    MessageReader() {
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!dialog) {
                return;
            }
            QStringList texts;
            for (const QLabel* label : dialog->findChildren<QLabel*>()) {
                texts << label->text();
            }
            messages << texts.join(' ');
            QTest::keyClick(dialog, Qt::Key_Escape);
        });
        m_timer.start(20);
    }
    QStringList messages;

private:
    QTimer m_timer;
};

class MainWindowTest : public ::testing::Test {
protected:
    MainWindowTest() {
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
    }

    QToolButton* button(const char* utf8Name) const {
        return m_window.findChild<QToolButton*>(QString::fromUtf8(utf8Name));
    }

    void click(const char* utf8Name) const {
        QToolButton* tool = button(utf8Name);
        ASSERT_NE(tool, nullptr) << utf8Name;
        QTest::mouseClick(tool, Qt::LeftButton);
    }

    bool waitForPicture() {
        return waitUntil([this] { return m_window.globe().isPictureComplete(); }, kLongMilliseconds);
    }

    int overlayCount() {
        int count = 0;
        osgEarth::MapNode* mapNode = m_window.globe().getMapNode();
        for (unsigned child = 0; child < mapNode->getNumChildren(); ++child) {
            osg::Group* group = mapNode->getChild(child)->asGroup();
            if (!group || group->getName() != "diffImageOverlay") {
                continue;
            }
            for (unsigned overlay = 0; overlay < group->getNumChildren(); ++overlay) {
                if (dynamic_cast<osgEarth::Annotation::ImageOverlay*>(group->getChild(overlay))) {
                    ++count;
                }
            }
        }
        return count;
    }

    MessageReader m_reader;
    MainWindow m_window;
};

TEST_F(MainWindowTest, ShowsOneGroupWithElevenButtonsInTheOrderOfCreate) {
    m_window.loadPlugin(TOOL_PLUGIN);
    const QStringList expected = {QString::fromUtf8("计算异常"),     QString::fromUtf8("查看\\编辑异常"),
                                  QString::fromUtf8("编辑特殊区域"), QString::fromUtf8("添加特殊点"),
                                  QString::fromUtf8("输出报告"),     QString::fromUtf8("输出shape"),
                                  QString::fromUtf8("参数设置"),     QString::fromUtf8("正北视图"),
                                  QString::fromUtf8("撤销"),         QString::fromUtf8("重做"),
                                  QString::fromUtf8("添加特殊面")};
    QApplication::processEvents(); // the new buttons get their places
    QStringList texts;
    int previousLeft = -1;
    for (const QToolButton* tool : m_window.toolArea().findChildren<QToolButton*>()) {
        texts << tool->text();
        EXPECT_FALSE(tool->icon().isNull()) << tool->text().toStdString();
        EXPECT_GT(tool->mapToGlobal(QPoint()).x(), previousLeft);
        previousLeft = tool->mapToGlobal(QPoint()).x();
    }
    EXPECT_EQ(texts, expected);
    const auto* caption = m_window.findChild<QLabel*>("toolGroupCaption");
    ASSERT_NE(caption, nullptr);
    EXPECT_EQ(caption->text(), QString::fromUtf8("巡检工具"));
    QStringList beforeLines;
    for (const QWidget* line : m_window.toolArea().findChildren<QWidget*>("taskLine")) {
        const auto* before =
            qobject_cast<QToolButton*>(line->parentWidget()->childAt(line->pos() + QPoint(-10, 20)));
        beforeLines << (before ? before->text() : "no button");
    }
    EXPECT_EQ(beforeLines, QStringList({"查看\\编辑异常", "添加特殊点", "输出shape", "正北视图", "重做"}));
    EXPECT_TRUE(m_reader.messages.isEmpty());
}

TEST(TaskOf, IsTheSameForNumbersThatLieTogether) {
    EXPECT_EQ(taskOf("303 comput diff "), taskOf("307 edit diff "));
    EXPECT_EQ(taskOf("309 edit polygon"), taskOf("3081 draw special area"));
    EXPECT_NE(taskOf("307 edit diff "), taskOf("309 edit polygon"));
    EXPECT_NE(taskOf("312 output shape"), taskOf("315 set para"));
    EXPECT_EQ(taskOf(""), taskOf("measure"));
    EXPECT_NE(taskOf("measure"), taskOf("303 comput diff "));
}

TEST_F(MainWindowTest, ABadPluginIsOneMessageAndARunningWindow) {
    m_window.loadPlugin("/nowhere/libMissing.so");
    EXPECT_EQ(m_reader.messages.size(), 1);
    EXPECT_TRUE(m_reader.messages.value(0).contains("/nowhere/libMissing.so"));
    EXPECT_TRUE(m_window.isVisible());
    EXPECT_TRUE(waitForPicture());
}

TEST(MainWindowTools, AreGoneWithTheirWindowAndTheNextOneHasItsOwn) {
    for (int window = 0; window < 2; ++window) {
        {
            MainWindow shown;
            EXPECT_TRUE(zeo::EngineContext::instance().commands().empty()) << window;
            shown.loadPlugin(TOOL_PLUGIN);
            EXPECT_EQ(zeo::EngineContext::instance().commands().size(), 11U) << window;
            EXPECT_EQ(HandlerRegistry::instance().names().size(), 11U) << window;
        }
        EXPECT_TRUE(zeo::EngineContext::instance().commands().empty()) << window;
        EXPECT_TRUE(HandlerRegistry::instance().names().empty()) << window;
    }
}

TEST_F(MainWindowTest, NorthUpLooksStraightDownAtTheSamePlaceAndIsStableWhenRepeated) {
    m_window.loadPlugin(TOOL_PLUGIN);
    osgEarth::Util::EarthManipulator* manipulator = m_window.globe().getManipulator();
    manipulator->setViewpoint(osgEarth::Viewpoint("", 109.0, 34.0, 300.0, 37.0, -35.0, 5000.0));
    m_window.globe().requestRedraw();
    ASSERT_TRUE(waitForPicture());
    const osgEarth::Viewpoint before = manipulator->getViewpoint();

    click("正北视图");
    const osgEarth::Viewpoint after = manipulator->getViewpoint();
    EXPECT_NEAR(after.getHeading(), 0.0, 1e-6);
    EXPECT_NEAR(after.getPitch(), -90.0, 1e-6);
    EXPECT_NEAR(after.getRange(), before.getRange(), 1.0);
    EXPECT_NEAR(const_cast<osgEarth::Viewpoint&>(after).focalPoint()->x(),
                const_cast<osgEarth::Viewpoint&>(before).focalPoint()->x(), 1e-6);
    EXPECT_FALSE(button("正北视图")->isChecked());

    click("正北视图");
    EXPECT_NEAR(manipulator->getViewpoint().getHeading(), after.getHeading(), 1e-6);
    EXPECT_NEAR(manipulator->getViewpoint().getPitch(), after.getPitch(), 1e-6);
    EXPECT_NEAR(manipulator->getViewpoint().getRange(), after.getRange(), 1e-3);
}

TEST_F(MainWindowTest, OneToolIsActiveAtATimeAndASecondClickSwitchesItOff) {
    m_window.loadPlugin(TOOL_PLUGIN);
    const char* view = "查看\\编辑异常";
    const char* region = "编辑特殊区域";
    click(view);
    EXPECT_TRUE(button(view)->isChecked());
    EXPECT_EQ(m_window.findChild<QLabel*>("statusTip")->text(),
              QString::fromUtf8("查看\\编辑当前显示区域的异常信息"));
    click(region);
    EXPECT_FALSE(button(view)->isChecked());
    EXPECT_TRUE(button(region)->isChecked());
    click(view);
    EXPECT_TRUE(button(view)->isChecked());
    EXPECT_FALSE(button(region)->isChecked());
    click(view);
    EXPECT_FALSE(button(view)->isChecked());
    click(view);
    EXPECT_TRUE(button(view)->isChecked());
    EXPECT_TRUE(waitForPicture());
}

TEST_F(MainWindowTest, ComputesTheTickedStationsTwiceAndKeepsTheActiveTool) {
    const SampleProject project;
    ASSERT_FALSE(m_window.openProject(project.folder()).has_value());
    m_window.loadPlugin(TOOL_PLUGIN);
    auto* tree = m_window.findChild<QTreeWidget*>("stationTree");
    ASSERT_NE(tree, nullptr);
    tree->topLevelItem(0)->setCheckState(0, Qt::Checked);
    click("查看\\编辑异常");

    QSignalSpy finished(&InspectionContext::instance(), &InspectionContext::computeFinished);
    int overlays = 0;
    for (int run = 1; run <= 2; ++run) {
        click("计算异常");
        EXPECT_FALSE(button("计算异常")->isChecked());
        ASSERT_TRUE(waitUntil([&] { return finished.size() == run; }, kLongMilliseconds));
        EXPECT_TRUE(finished.last().at(0).toBool()) << finished.last().at(1).toString().toStdString();
        EXPECT_GT(overlayCount(), 0);
        if (run == 2) {
            EXPECT_EQ(overlayCount(), overlays);
        }
        overlays = overlayCount();
    }
    EXPECT_TRUE(button("查看\\编辑异常")->isChecked());
}

/// The entries of 对比期次 for a sample of three flights, of which none was computed.
const QStringList kPairs = {"2025-05-20 → 2026-05-25", "2024-05-18 → 2026-05-25", "2024-05-18 → 2025-05-20"};

TEST_F(MainWindowTest, TellsTheElevationDifferenceUnderThePointer) {
    const SampleProject project;
    ASSERT_FALSE(m_window.openProject(project.folder()).has_value());
    m_window.loadPlugin(TOOL_PLUGIN);
    const auto* coordinates = m_window.findChild<QLabel*>("coordinates");
    auto* all = m_window.findChild<QTreeWidget*>("stationTree")->topLevelItem(0);
    all->setCheckState(0, Qt::Checked);
    ASSERT_TRUE(waitForPicture());
    const QPoint middle = m_window.globe().rect().center();
    const auto readOutAt = [&](const QPoint& place) {
        movePointer(m_window.globe(), middle + QPoint(9, 9));
        EXPECT_TRUE(waitForPicture());
        movePointer(m_window.globe(), place);
        EXPECT_TRUE(waitForPicture());
        return coordinates->text();
    };
    EXPECT_FALSE(readOutAt(middle).contains("dZ")) << "nothing is compared yet";
    QSignalSpy finished(&InspectionContext::instance(), &InspectionContext::computeFinished);
    click("计算异常");
    ASSERT_TRUE(waitUntil([&] { return !finished.isEmpty(); }, kLongMilliseconds));
    ASSERT_TRUE(waitForPicture());

    const KV_StationItem& station =
        *IORVAContext::Instance()->GetStationWindow()->GetSelectedStationItem().at(0);
    const SdiffData& anomaly = station.m_diffData.m_anomalies.at(0);
    inspection::flyTo(anomaly.lonDegrees, anomaly.latDegrees, 200.0, 0.0);
    ASSERT_TRUE(waitForPicture());
    const QPoint place = pixelOnGlobe(m_window.globe(), {anomaly.lonDegrees, anomaly.latDegrees});
    const QString text = readOutAt(place);
    const QRegularExpression difference(QString::fromUtf8("^dZ ([+−])(\\d+\\.\\d{3}) m "));
    const QRegularExpressionMatch match = difference.match(text);
    ASSERT_TRUE(match.hasMatch()) << text.toStdString();
    const double metres = match.captured(2).toDouble() * (match.captured(1) == "+" ? 1.0 : -1.0);
    EXPECT_GE(metres, anomaly.dzMinMetres - 0.05);
    EXPECT_LE(metres, anomaly.dzMaxMetres + 0.05);
    inspection::flyTo(anomaly.lonDegrees + 0.1, anomaly.latDegrees, 200.0, 0.0);
    ASSERT_TRUE(waitForPicture());
    EXPECT_FALSE(readOutAt(middle).contains("dZ")) << "beside the surveyed ground";
}

TEST_F(MainWindowTest, EditsAreUndoneAndRedoneByKeyWhereverTheFocusIs) {
    const SampleProject project(1024);
    m_window.loadPlugin(TOOL_PLUGIN);
    ASSERT_FALSE(m_window.openProject(project.folder()).has_value());
    m_window.activateWindow();
    ASSERT_TRUE(waitUntil([this] { return m_window.isActiveWindow(); }));
    StationWindow& stations = *IORVAContext::Instance()->GetStationWindow();
    ASSERT_TRUE(stations.AddPointNode(Special_Point(toGbk("阀室"), {108.9, 34.3, 400.0})));
    ASSERT_TRUE(waitUntil([this] { return button("撤销")->isEnabled(); }));

    for (QWidget* place : {static_cast<QWidget*>(m_window.findChild<QTableView*>()),
                           static_cast<QWidget*>(m_window.findChild<QTreeWidget*>("stationTree")),
                           static_cast<QWidget*>(&m_window.globe())}) {
        for (const QKeySequence& redo : {QKeySequence("Ctrl+Y"), QKeySequence("Ctrl+Shift+Z")}) {
            place->setFocus();
            QTest::keyClick(place, Qt::Key_Z, Qt::ControlModifier);
            EXPECT_FALSE(stations.isReiterated_node("阀室"));
            ASSERT_TRUE(waitUntil([this] { return button("重做")->isEnabled(); }));
            QTest::keyClick(place, Qt::Key(redo[0].key()), redo[0].keyboardModifiers());
            EXPECT_TRUE(stations.isReiterated_node("阀室")) << redo.toString().toStdString();
        }
    }
    EXPECT_TRUE(button("撤销")->toolTip().endsWith("（Ctrl+Z）")) << button("撤销")->toolTip().toStdString();
    EXPECT_TRUE(m_reader.messages.isEmpty());
}

TEST_F(MainWindowTest, OffersEveryPairOfEpochsTheNewestFirst) {
    const SampleProject project;
    auto* pairs = m_window.findChild<QComboBox*>("pairs");
    ASSERT_NE(pairs, nullptr);
    EXPECT_FALSE(pairs->isEnabled());
    ASSERT_FALSE(m_window.openProject(project.folder()).has_value());
    EXPECT_EQ(pairs->count(), 1);
    EXPECT_FALSE(pairs->isEnabled()) << "there is nothing to choose";
    InspectionContext::instance().closeProject();
    addThirdFlight(project.folder(), {});
    ASSERT_FALSE(m_window.openProject(project.folder()).has_value());
    QStringList entries;
    for (int entry = 0; entry < pairs->count(); ++entry) {
        entries << pairs->itemText(entry);
    }
    EXPECT_EQ(entries, kPairs);
    EXPECT_EQ(pairs->currentIndex(), 0);
    EXPECT_TRUE(pairs->isEnabled());
    EXPECT_FALSE(pairs->toolTip().isEmpty());
    EXPECT_EQ(m_window.findChild<QDockWidget*>("anomalyDock")->windowTitle(), "异常列表：" + kPairs[0]);
}

TEST_F(MainWindowTest, APairIsChosenByKeyComputedAndMarked) {
    const SampleProject project;
    ASSERT_FALSE(m_window.openProject(project.folder()).has_value());
    InspectionContext::instance().closeProject();
    addThirdFlight(project.folder(), {1});
    ASSERT_FALSE(m_window.openProject(project.folder()).has_value());
    m_window.loadPlugin(TOOL_PLUGIN);
    auto* pairs = m_window.findChild<QComboBox*>("pairs");
    auto* tree = m_window.findChild<QTreeWidget*>("stationTree");
    const auto* table = m_window.findChild<QTableView*>("anomalyTable");
    tree->topLevelItem(0)->child(0)->setCheckState(0, Qt::Checked);
    tree->setCurrentItem(tree->topLevelItem(0)->child(0));
    QSignalSpy finished(&InspectionContext::instance(), &InspectionContext::computeFinished);
    click("计算异常");
    const QString busy = pairs->currentText();
    QTest::keyClick(pairs, Qt::Key_Down);
    EXPECT_EQ(pairs->currentText(), busy) << "while anomalies are computed";
    EXPECT_TRUE(m_reader.messages.value(0).contains("正在进行")) << m_reader.messages.value(0).toStdString();
    ASSERT_TRUE(waitUntil([&] { return finished.size() == 1; }, kLongMilliseconds));
    EXPECT_EQ(pairs->itemText(0), kPairs[0] + " ✓");
    EXPECT_EQ(pairs->itemText(2), kPairs[2]);
    const int third = table->model()->rowCount();
    ASSERT_GT(third, 0);

    pairs->setFocus();
    QTest::keyClick(pairs, Qt::Key_End);
    EXPECT_EQ(pairs->currentIndex(), 2);
    EXPECT_EQ(InspectionContext::instance().project()->description().pair(), kSamplePair);
    EXPECT_EQ(m_window.findChild<QDockWidget*>("anomalyDock")->windowTitle(), "异常列表：" + kPairs[2]);
    EXPECT_EQ(table->model()->rowCount(), 0);
    EXPECT_EQ(overlayCount(), 0);
    click("计算异常");
    ASSERT_TRUE(waitUntil([&] { return finished.size() == 2; }, kLongMilliseconds));
    EXPECT_GT(table->model()->rowCount(), 0);
    EXPECT_EQ(overlayCount(), table->model()->rowCount());
    EXPECT_EQ(pairs->itemText(2), kPairs[2] + " ✓");
    QTest::keyClick(pairs, Qt::Key_Home);
    EXPECT_EQ(table->model()->rowCount(), third);
    EXPECT_EQ(overlayCount(), third);
}

TEST_F(MainWindowTest, EverythingOfTheToolBarFitsASmallScreen) {
    const SampleProject project;
    ASSERT_FALSE(m_window.openProject(project.folder()).has_value());
    InspectionContext::instance().closeProject();
    addThirdFlight(project.folder(), {1});
    computePair(project.folder(), kThirdPair, {1});
    ASSERT_FALSE(m_window.openProject(project.folder()).has_value());
    m_window.loadPlugin(TOOL_PLUGIN);
    m_window.resize(1280, 800);
    QApplication::processEvents();
    EXPECT_EQ(m_window.width(), 1280);
    const auto* bar = m_window.findChild<QToolBar*>("tools");
    QWidgetList shown;
    for (const char* name : {"openProject", "baseLayers", "epochs", "pairs"}) {
        shown << bar->findChild<QWidget*>(name);
    }
    for (const QToolButton* tool : m_window.toolArea().findChildren<QToolButton*>()) {
        shown << const_cast<QToolButton*>(tool);
    }
    for (const QWidget* widget : shown) {
        EXPECT_TRUE(widget->isVisible()) << widget->objectName().toStdString();
        EXPECT_LE(widget->mapTo(bar, QPoint(widget->width(), 0)).x(), bar->width());
        EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << widget->objectName().toStdString();
    }
    if (const QString folder = qEnvironmentVariable("CORRIDOR_TEST_PICTURES"); !folder.isEmpty()) {
        EXPECT_TRUE(waitForPicture());
        EXPECT_TRUE(m_window.grab().save(folder + "/small-screen.png"));
    }
}

TEST_F(MainWindowTest, AProjectThatCannotBeOpenedIsOneLine) {
    const std::optional<QString> problem = m_window.openProject("/nowhere/project");
    ASSERT_TRUE(problem.has_value());
    EXPECT_TRUE(problem->contains("/nowhere/project"));
    EXPECT_FALSE(problem->contains('\n'));
}

} // namespace
