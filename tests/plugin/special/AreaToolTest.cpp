// Digitising a special area, by pointer and keys.

#include "tests/plugin/special/SpecialFixture.h"

#include "host/Gbk.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"

#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

#include <osgEarth/Viewpoint>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthUtil/EarthManipulator>

#include <cmath>

using osgEarth::Annotation::FeatureNode;
using osgEarth::Annotation::PlaceNode;
using osgEarth::Symbology::AltitudeSymbol;
using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::PolygonSymbol;

namespace {

class AreaTool : public SpecialTest {
protected:
    AreaTool() : SpecialTest("添加特殊面", "CdrawPolygonDlg", "ROIArea") {}

    FeatureNode* area() const { return child<FeatureNode>(0); }
    FeatureNode* rubberBand() const { return child<FeatureNode>(1); }
    static std::vector<osg::Vec3d> vertices(FeatureNode& node) {
        const auto* geometry = node.getFeature()->getGeometry();
        return {geometry->begin(), geometry->end()};
    }
    static Color fillOf(FeatureNode& node) { return node.getStyle().get<PolygonSymbol>()->fill()->color(); }
    static void expectNear(const osg::Vec3d& vertex, const osg::Vec2d& place) {
        EXPECT_NEAR(vertex.x(), place.x(), 1e-5);
        EXPECT_NEAR(vertex.y(), place.y(), 1e-5);
    }
    /// The drawing of a rectangle whose last corner closes it.
    void drawRectangle() {
        leftClick(ground(60, 20));
        leftClick(ground(120, 20));
        leftClick(ground(120, 60));
        rightClick(ground(60, 60));
    }
    int storedAreas() const { return readStored("select count(*) from special_area").value(0).toInt(); }
};

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

TEST_F(AreaTool, TheBandAndTheFillFollowTheTerrain) {
    startTool();
    leftClick(ground(60, 20));
    leftClick(ground(120, 20));
    moveTo(ground(100, 60));
    const auto* filling = area()->getStyle().get<AltitudeSymbol>();
    EXPECT_EQ(filling->clamping().get(), AltitudeSymbol::CLAMP_TO_TERRAIN);
    EXPECT_EQ(filling->technique().get(), AltitudeSymbol::TECHNIQUE_GPU);
    const auto* band = rubberBand()->getStyle().get<AltitudeSymbol>();
    EXPECT_EQ(band->clamping().get(), AltitudeSymbol::CLAMP_TO_TERRAIN);
    EXPECT_EQ(band->technique().get(), AltitudeSymbol::TECHNIQUE_DRAPE);
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
    moveTo(ground(120, 60)); // the last position is what counts
    QTest::mousePress(m_host.globe, Qt::RightButton, {}, ground(120, 60));
    QTest::mouseRelease(m_host.globe, Qt::RightButton, {}, ground(120, 60) + QPoint(0, 30));
    draw();
    EXPECT_FALSE(isToolOn()) << "far below closes";
    EXPECT_EQ(vertices(*area()).size(), 3U);
}

TEST_F(AreaTool, AColourChosenBetweenTwoClicksShowsFromTheNextVertexOn) {
    startTool();
    leftClick(ground(60, 20));
    EXPECT_EQ(fillOf(*area()), Color(1, 1, 0, 0.6F));
    field<QDoubleSpinBox>("doubleSpinBox")->setFocus();
    QTest::keyClick(field<QDoubleSpinBox>("doubleSpinBox"), Qt::Key_Up);
    EXPECT_EQ(fillOf(*area()), Color(1, 1, 0, 0.6F));
    leftClick(ground(120, 20));
    EXPECT_EQ(fillOf(*area()), Color(1, 1, 0, 0.65F));
    EXPECT_FLOAT_EQ(area()->getStyle().get<LineSymbol>()->stroke()->color().a(), 0.65F);
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

TEST_F(AreaTool, ARefusedInsertIsOneMessageAndThePolygonStaysWithoutLabel) {
    startTool();
    drawRectangle();
    refuseInserts("special_area");
    typeName("甲");
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    confirm();
    ASSERT_EQ(boxes.texts.size(), 1);
    EXPECT_TRUE(boxes.texts[0].contains("the server has gone")) << boxes.texts[0].toStdString();
    EXPECT_EQ(storedAreas(), 0);
    EXPECT_FALSE(IORVAContext::Instance()->GetStationWindow()->isReiterated_node("甲"));
    EXPECT_EQ(dialog(), nullptr);
    ASSERT_NE(area(), nullptr);
    EXPECT_EQ(child<PlaceNode>(1), nullptr);
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

TEST_F(AreaTool, OddRingsAreStoredAsTheyWereDrawnAndShownAgain) {
    const std::vector<std::pair<QString, std::vector<QPoint>>> rings = {
        {"自相交", {{60, 20}, {120, 60}, {120, 20}, {60, 60}}},
        {"两点", {{60, 20}, {120, 20}}},
        {"重复点", {{60, 20}, {60, 20}, {120, 20}, {120, 20}, {90, 60}}},
        {"一条线", {{60, 40}, {90, 40}, {120, 40}, {60, 40}}}};
    for (const auto& [name, places] : rings) {
        startTool();
        for (std::size_t i = 0; i + 1 < places.size(); ++i)
            leftClick(ground(places[i].x(), places[i].y()));
        rightClick(ground(places.back().x(), places.back().y()));
        typeName(name);
        confirm();
        EXPECT_EQ(vertices(*area()).size(), places.size()) << name.toStdString();
    }
    m_host.settle();
    EXPECT_EQ(storedAreas(), static_cast<int>(rings.size()));
    reopen();
    m_host.settle();
    const auto& scene =
        dynamic_cast<OsgDataSet&>(*InspectionContext::instance().GetDataSet(OsgDataSet::kIndex));
    EXPECT_EQ(scene.getPipeAreas().size(), rings.size());
    for (const auto& [group, record] : scene.getPipeAreas())
        EXPECT_EQ(group->getNumChildren(), 2U) << gbkToUtf8(record.GetName());
}

TEST_F(AreaTool, APressBesideTheGlobeAddsNoVertex) {
    startTool();
    leftClick(ground(60, 20));
    m_host.globe->getManipulator()->setViewpoint(osgEarth::Viewpoint("", 114, 30, 0, 0, -89.9, 6.0e7));
    m_host.settle();
    leftClick(QPoint(3, 3));
    EXPECT_EQ(vertices(*area()).size(), 1U);
    rightClick(QPoint(3, 3));
    EXPECT_EQ(vertices(*area()).size(), 1U);
    EXPECT_FALSE(isToolOn()) << "it closes all the same";
}

TEST_F(AreaTool, ARingAcrossTheAntimeridianGoesTheShortWay) {
    m_host.globe->getManipulator()->setViewpoint(osgEarth::Viewpoint("", 180, 10, 0, 0, -89.9, 1.0e6));
    m_host.settle();
    startTool();
    const QPoint centre = m_host.globe->rect().center();
    for (const QPoint& corner : {QPoint(-60, -40), QPoint(60, -40), QPoint(60, 40), QPoint(-60, 40)})
        leftClick(centre + corner);
    const auto ring = vertices(*area());
    ASSERT_EQ(ring.size(), 4U);
    for (const osg::Vec3d& vertex : ring)
        EXPECT_LT(std::abs(vertex.x() - ring.front().x()), 30.0);
    typeName("日界线");
    confirm();
    const double longitude = readStored("select lon_deg from special_area").value(0).toDouble();
    EXPECT_NEAR(std::abs(longitude), 180.0, 1.0);
    m_host.settle();
    const QColor inside = m_host.globe->grabFramebuffer().pixelColor(centre + QPoint(30, 20));
    EXPECT_GT(inside.red(), inside.blue() + 40) << "yellow";
    const QColor outside = m_host.globe->grabFramebuffer().pixelColor(centre + QPoint(120, 20));
    EXPECT_LT(outside.red(), outside.blue() + 40);
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

} // namespace
