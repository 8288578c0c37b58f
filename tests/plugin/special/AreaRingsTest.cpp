// Special areas of odd outlines and at odd places.

#include "tests/plugin/special/AreaFixture.h"

#include "host/Gbk.h"
#include "host/inspection/DataSet.h"
#include "special/NearestTurn.h"

#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

#include <cmath>

namespace {

using AreaRings = AreaTool;

TEST(NearestTurn, IsTakenOnlyWhereTheReferenceSystemGoesRound) {
    const auto eastOf = [](const char* srs, double reference, double place) {
        return onTurnOf({reference, 10.0, 1.0}, {place, 20.0, 2.0}, osgEarth::SpatialReference::get(srs));
    };
    EXPECT_EQ(eastOf("EPSG:4326", 179.0, -179.0), osg::Vec3d(181.0, 20.0, 2.0));
    EXPECT_EQ(eastOf("EPSG:4326", -179.0, 179.0), osg::Vec3d(-181.0, 20.0, 2.0));
    EXPECT_EQ(eastOf("EPSG:4326", 114.0, 115.0), osg::Vec3d(115.0, 20.0, 2.0));
    EXPECT_EQ(eastOf("EPSG:4547", 500000.0, 500400.0), osg::Vec3d(500400.0, 20.0, 2.0));
    EXPECT_EQ(onTurnOf({179.0, 0.0, 0.0}, {-179.0, 0.0, 0.0}, nullptr), osg::Vec3d(-179.0, 0.0, 0.0));
}

TEST_F(AreaRings, OddRingsAreStoredAsTheyWereDrawnAndShownAgain) {
    const std::vector<std::pair<QString, std::vector<QPoint>>> rings = {
        {"自相交", {{60, 20}, {120, 60}, {120, 20}, {60, 60}}},
        {"两点", {{60, 20}, {120, 20}}},
        {"重复点", {{60, 20}, {60, 20}, {120, 20}, {120, 20}, {90, 60}}},
        {"一条线", {{60, 40}, {90, 40}, {120, 40}, {60, 40}}}};
    for (const auto& [name, places] : rings) {
        startTool();
        for (std::size_t i = 0; i + 1 < places.size(); ++i) {
            leftClick(ground(places[i].x(), places[i].y()));
        }
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
    for (const auto& [group, record] : scene.getPipeAreas()) {
        EXPECT_EQ(group->getNumChildren(), 2U) << gbkToUtf8(record.GetName());
    }
}

TEST_F(AreaRings, APressBesideTheGlobeAddsNoVertexAndARightClickThereClosesAllTheSame) {
    startTool();
    leftClick(ground(60, 20));
    leftClick(ground(120, 20));
    moveTo(ground(100, 60));
    m_host.globe->getManipulator()->setViewpoint(osgEarth::Viewpoint("", 114, 30, 0, 0, -89.9, 6.0e7));
    m_host.settle();
    leftClick(QPoint(3, 3));
    EXPECT_EQ(vertices(*area()).size(), 2U);
    EXPECT_EQ(vertices(*rubberBand()).size(), 3U) << "it stays where it was last";
    rightClick(QPoint(3, 3));
    EXPECT_EQ(vertices(*area()).size(), 2U);
    EXPECT_TRUE(vertices(*rubberBand()).empty());
    EXPECT_FALSE(isToolOn());
}

TEST_F(AreaRings, ARingAcrossTheAntimeridianGoesTheShortWay) {
    m_host.globe->getManipulator()->setViewpoint(osgEarth::Viewpoint("", 180, 10, 0, 0, -89.9, 1.0e6));
    m_host.settle();
    startTool();
    const QPoint centre = m_host.globe->rect().center();
    for (const QPoint& corner : {QPoint(-60, -40), QPoint(60, -40), QPoint(60, 40), QPoint(-60, 40)}) {
        leftClick(centre + corner);
    }
    const auto ring = vertices(*area());
    ASSERT_EQ(ring.size(), 4U);
    for (const osg::Vec3d& vertex : ring) {
        EXPECT_LT(std::abs(vertex.x() - ring.front().x()), 30.0);
    }
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

} // namespace
