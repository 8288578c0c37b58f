// Digitising a special area, by pointer and keys.

#include "tests/plugin/special/AreaFixture.h"

#include "host/Gbk.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

using osgEarth::Annotation::PlaceNode;

namespace {

TEST_F(AreaTool, VerticesComeOnThePressAndTheRubberBandFromTheSecondOne) {
    startTool();
    EXPECT_EQ(group()->getNumChildren(), 0U);
    moveTo(ground(60, 20));
    QTest::mousePress(m_host.globe, Qt::LeftButton, {}, ground(60, 20));
    draw();
    ASSERT_NE(area(), nullptr) << "before the release";
    EXPECT_EQ(area()->getName(), "ROIArea");
    QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, ground(60, 20));
    moveTo(ground(90, 30));
    EXPECT_EQ(group()->getNumChildren(), 1U) << "no band from one vertex";
    leftClick(ground(120, 20));
    moveTo(ground(100, 60));
    ASSERT_NE(rubberBand(), nullptr);
    const auto band = vertices(*rubberBand());
    ASSERT_EQ(band.size(), 3U);
    expectNear(band[0], lonLat(60, 20));
    expectNear(band[1], lonLat(100, 60));
    expectNear(band[2], lonLat(120, 20));
    moveTo(ground(110, 50));
    expectNear(vertices(*rubberBand())[1], lonLat(110, 50));
}

TEST_F(AreaTool, ARightClickAsTheVeryFirstMakesAnAreaOfOneVertex) {
    startTool();
    rightClick(ground(60, 20));
    ASSERT_NE(area(), nullptr);
    EXPECT_EQ(vertices(*area()).size(), 1U);
    EXPECT_FALSE(isToolOn());
    leftClick(ground(120, 20));
    EXPECT_EQ(vertices(*area()).size(), 1U) << "the digitising has ended";
    typeName("一点");
    confirm();
    EXPECT_EQ(storedAreas(), 1);
    reopen();
    m_host.settle();
    EXPECT_NE(group(), nullptr);
}

TEST_F(AreaTool, ARightReleaseMoreThanThreePixelsAsideDoesNotClose) {
    startTool();
    leftClick(ground(60, 20));
    leftClick(ground(120, 20));
    moveTo(ground(120, 60));
    for (const int aside : {-4, 4}) {
        QTest::mousePress(m_host.globe, Qt::RightButton, {}, ground(120, 60));
        QTest::mouseRelease(m_host.globe, Qt::RightButton, {}, ground(120, 60) + QPoint(aside, 0));
        draw();
        EXPECT_TRUE(isToolOn());
    }
    moveTo(ground(120, 60));
    QTest::mousePress(m_host.globe, Qt::RightButton, {}, ground(120, 60));
    QTest::mouseRelease(m_host.globe, Qt::RightButton, {}, ground(120, 60) - QPoint(0, 4));
    draw();
    EXPECT_TRUE(isToolOn()) << "four pixels above";
    moveTo(ground(120, 60)); // the last position is what counts
    QTest::mousePress(m_host.globe, Qt::RightButton, {}, ground(120, 60));
    QTest::mouseRelease(m_host.globe, Qt::RightButton, {}, ground(120, 60) + QPoint(0, 30));
    draw();
    EXPECT_FALSE(isToolOn()) << "far below closes";
    EXPECT_EQ(vertices(*area()).size(), 3U);
}

TEST_F(AreaTool, AConfirmedAreaIsInTheTreeOnTheGlobeInTheDatabaseAndItsWordInTheHistory) {
    startTool();
    drawRectangle();
    EXPECT_FALSE(isToolOn());
    typeName("第一小学");
    type(field<QComboBox>("comboBox_attri"), "学校");
    QTest::keyClick(field<QSpinBox>("spinBoxBorderWidth"), Qt::Key_Up);
    confirm();

    EXPECT_EQ(dialog(), nullptr);
    EXPECT_EQ(tree().currentItem()->text(0), "第一小学");
    ASSERT_EQ(group()->getNumChildren(), 2U);
    ASSERT_NE(child<PlaceNode>(1), nullptr);
    EXPECT_EQ(child<PlaceNode>(1)->getText(), "第一小学");
    expectNear(child<PlaceNode>(1)->getPosition().vec3d(), lonLat(90, 40));
    EXPECT_EQ(readStored("select name from special_area"), QVariantList{"第一小学"});
    EXPECT_EQ(readStored("select attribute from special_area"), QVariantList{"学校"});
    EXPECT_EQ(readStored("select border_width_px from special_area").value(0).toInt(), 4);
    EXPECT_NEAR(readStored("select opacity from special_area").value(0).toDouble(), 0.6, 1e-6);
    EXPECT_EQ(m_directory.history(),
              "startPolygon\n\xD1\xA7\xD0\xA3\nendPolygon\nstartArea\nendArea\nstartPoint\nendPoint\n");

    reopen();
    m_host.settle();
    ASSERT_NE(area(), nullptr);
    EXPECT_EQ(vertices(*area()).size(), 4U);
    expectNear(vertices(*area())[2], lonLat(120, 60));
    EXPECT_EQ(child<PlaceNode>(1)->getText(), "第一小学");
}

TEST_F(AreaTool, WithoutARubberBandConfirmingLeavesAreaAndLabel) {
    startTool();
    // Presses without any movement between them.
    for (const QPoint& place : {ground(60, 20), ground(120, 20)}) {
        QTest::mousePress(m_host.globe, Qt::LeftButton, {}, place);
        QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, place);
        draw();
    }
    EXPECT_EQ(group()->getNumChildren(), 1U);
    typeName("甲");
    confirm();
    ASSERT_EQ(group()->getNumChildren(), 2U);
    EXPECT_NE(child<PlaceNode>(1), nullptr);
}

TEST_F(AreaTool, WhatIsMissingIsAskedFor) {
    startTool();
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        EXPECT_EQ(boxes.titles, QStringList{"提示"});
        EXPECT_EQ(boxes.texts, QStringList{"请先绘制特殊面！"});
    }
    drawRectangle();
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        EXPECT_EQ(boxes.texts, QStringList{"请输入特殊面名称！"});
    }
    EXPECT_EQ(storedAreas(), 0);
    typeName("甲");
    confirm();
    EXPECT_EQ(storedAreas(), 1);
}

TEST_F(AreaTool, AnActivationAfterACancelOnlySwitchesItOff) {
    const std::size_t before = m_host.groupsNamed("ROIArea").size();
    startTool();
    // The dialog says twice that it closes: the second time the button is unchecked already, which reads as
    // running.
    QTest::mouseClick(field<QPushButton>("pushButtonCancel"), Qt::LeftButton);
    draw();
    auto& tool = static_cast<zeo::ITool&>(m_host.command(m_tool));
    m_host.button(m_tool).setChecked(true);
    tool.OnActivate();
    draw();
    EXPECT_FALSE(isToolOn());
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_EQ(m_host.groupsNamed("ROIArea").size(), before);
    m_engine.deactivateTool(); // the host does so before it starts a tool
    startTool();
    EXPECT_TRUE(isToolOn());
}

TEST_F(AreaTool, AnActivationWhileItDigitisesBeginsAnew) {
    startTool();
    leftClick(ground(60, 20));
    const QPointer<QWidget> before = dialog();
    static_cast<zeo::ITool&>(m_host.command(m_tool)).OnActivate();
    draw();
    EXPECT_EQ(before, nullptr);
    ASSERT_NE(dialog(), nullptr);
    EXPECT_EQ(dialog()->parentWidget(), &m_host.window);
    EXPECT_TRUE(isToolOn());
    EXPECT_EQ(group()->getNumChildren(), 0U);
    leftClick(ground(120, 20));
    EXPECT_EQ(vertices(*area()).size(), 1U);
}

TEST_F(AreaTool, ConfirmingAnAreaThatIsNotClosedEndsTheDigitising) {
    startTool();
    leftClick(ground(60, 20));
    leftClick(ground(120, 20));
    typeName("甲");
    group()->setStateSet(nullptr);
    confirm();
    ASSERT_EQ(group()->getNumChildren(), 2U);
    ASSERT_NE(group()->getStateSet(), nullptr);
    EXPECT_NE(group()->getStateSet()->getAttribute(osg::StateAttribute::LINEWIDTH), nullptr);
    leftClick(ground(120, 60));
    EXPECT_EQ(group()->getNumChildren(), 2U);
    EXPECT_EQ(vertices(*area()).size(), 2U);
}

TEST_F(AreaTool, ATakenNameIsRefusedSilently) {
    startTool();
    drawRectangle();
    typeName("甲");
    confirm();
    startTool();
    drawRectangle();
    typeName("甲");
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    confirm();
    EXPECT_TRUE(boxes.texts.isEmpty());
    EXPECT_NE(dialog(), nullptr);
    EXPECT_EQ(storedAreas(), 1);
}

TEST_F(AreaTool, CancelTakesTheDrawingAway) {
    const std::size_t before = m_host.groupsNamed("ROIArea").size();
    startTool();
    leftClick(ground(60, 20));
    leftClick(ground(120, 20));
    QTest::mouseClick(field<QPushButton>("pushButtonCancel"), Qt::LeftButton);
    draw();
    EXPECT_EQ(m_host.groupsNamed("ROIArea").size(), before);
    EXPECT_FALSE(isToolOn());
    EXPECT_EQ(storedAreas(), 0);
}

TEST_F(AreaTool, ARightClickOfTheEditingToolSelectsTheObjectInTheTree) {
    const std::vector<std::pair<QString, double>> areas = {{"西", 20}, {"东", 120}};
    for (const auto& [name, east] : areas) {
        startTool();
        leftClick(ground(east, 20));
        leftClick(ground(east + 50, 20));
        leftClick(ground(east + 50, 60));
        rightClick(ground(east, 60));
        typeName(name);
        confirm();
    }
    m_host.settle();
    EXPECT_EQ(tree().currentItem()->text(0), "东");
    m_host.click("编辑特殊区域");
    draw();
    const MenuChooser menus;
    for (const auto& [name, east] : areas) {
        rightClick(ground(east + 40, 30));
        EXPECT_EQ(tree().currentItem()->text(0), name);
    }
    ASSERT_EQ(menus.menus.size(), 2U);
    EXPECT_EQ(menus.menus[0], QStringList({"删除", "编辑"}));
}

TEST_F(AreaTool, AConfirmedAreaKeepsItsRingWhenTheToolIsStartedWithoutADatabase) {
    startTool();
    drawRectangle();
    typeName("甲");
    confirm();
    const osg::ref_ptr<FeatureNode> confirmed = area();
    const auto ring = vertices(*confirmed);
    ASSERT_EQ(ring.size(), 4U);
    ForeignConnection(m_folder + "/inspection.db").run("alter table pipe_node rename to lost_node");
    m_host.click(m_tool);
    leftClick(ground(30, 20));
    leftClick(ground(40, 60));
    EXPECT_EQ(vertices(*confirmed), ring);
}

TEST_F(AreaTool, ARefusedAreaKeepsItsRingWhenTheDigitisingGoesOn) {
    startTool();
    for (const QPoint& place : {ground(60, 20), ground(120, 20), ground(120, 60)}) {
        leftClick(place);
    }
    typeName("甲");
    refuseInserts("special_area");
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        ASSERT_EQ(boxes.texts.size(), 1);
    }
    ASSERT_EQ(storedAreas(), 0);
    const osg::ref_ptr<FeatureNode> refused = area();
    const auto ring = vertices(*refused);
    ASSERT_EQ(ring.size(), 3U);
    leftClick(ground(90, 70));
    EXPECT_EQ(vertices(*refused), ring);
}

TEST_F(AreaTool, TheLabelTakesThePlaceOfWhateverStandsBehindTheArea) {
    startTool();
    leftClick(ground(60, 20));
    ASSERT_EQ(group()->getNumChildren(), 1U);
    const osg::ref_ptr<osg::Node> other = new osg::Node;
    group()->addChild(other);
    typeName("甲");
    confirm();
    ASSERT_EQ(group()->getNumChildren(), 2U);
    EXPECT_FALSE(group()->containsNode(other));
    EXPECT_NE(child<PlaceNode>(1), nullptr);
}

} // namespace
