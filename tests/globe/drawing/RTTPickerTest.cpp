#include "Pictures.h"
#include "TestGlobe.h"

#include "globe/src/util/PickRegion.h"

#include <gtest/gtest.h>
#include <osgEarth/Registry>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/TextSymbol>
#include <osgEarthUtil/RTTPicker>

using namespace drawingtest;
using namespace osgEarth;
using namespace osgEarth::Symbology;
using osgEarth::Annotation::FeatureNode;
using osgEarth::Annotation::ImageOverlay;
using osgEarth::Annotation::PlaceNode;
using osgEarth::Util::RTTPicker;

namespace {

constexpr ObjectID kMiss = 0;

/// Keeps all results in order; misses as 0.
class Results : public Picker::Callback {
public:
    void onHit(ObjectID id) override { ids.push_back(id); }
    void onMiss() override { ids.push_back(kMiss); }
    bool accept(const osgGA::GUIEventAdapter& ea, const osgGA::GUIActionAdapter&) override {
        return ea.getEventType() == osgGA::GUIEventAdapter::MOVE;
    }
    std::vector<ObjectID> ids;
};

/// A globe with a picker over its map node.
class Picking : public TestGlobe {
public:
    Picking() : picker(new RTTPicker(256)), results(new Results) {
        picker->addChild(mapNode());
        picker->setDefaultCallback(results);
        viewer().addEventHandler(picker);
    }

    /// Starts one pick and draws frames until it is answered.
    ObjectID pick(const osg::Vec2d& position) {
        const std::size_t before = results->ids.size();
        EXPECT_TRUE(
            picker->pick(&viewer(), static_cast<float>(position.x()), static_cast<float>(position.y())));
        for (int i = 0; i < 5 && results->ids.size() == before; ++i) {
            frame();
        }
        EXPECT_EQ(results->ids.size(), before + 1);
        return results->ids.empty() ? ~0u : results->ids.back();
    }
    ObjectID pick(double lon, double lat) { return pick(windowPosition(lon, lat)); }

    osg::ref_ptr<ImageOverlay> addOverlay(double lon, double lat, double half, float alpha = 1.0f) {
        osg::ref_ptr<ImageOverlay> overlay =
            new ImageOverlay(mapNode(), plainImage(osg::Vec4(0.0f, 0.0f, 1.0f, alpha)));
        overlay->setBounds(Bounds(lon - half, lat - half, lon + half, lat + half));
        mapNode()->addChild(overlay);
        return overlay;
    }

    osg::ref_ptr<FeatureNode> addFeature(Symbology::Geometry* geometry) {
        Style style;
        style.getOrCreate<PolygonSymbol>()->fill()->color() = Color(1.0f, 0.0f, 0.0f, 0.3f);
        style.getOrCreate<LineSymbol>()->stroke()->width() = 2.0f;
        style.getOrCreate<AltitudeSymbol>()->clamping() = AltitudeSymbol::CLAMP_TO_TERRAIN;
        style.getOrCreate<AltitudeSymbol>()->technique() = AltitudeSymbol::TECHNIQUE_DRAPE;
        osg::ref_ptr<FeatureNode> node =
            new FeatureNode(new Features::Feature(geometry, mapNode()->getMapSRS()), style);
        mapNode()->addChild(node);
        return node;
    }

    osg::ref_ptr<RTTPicker> picker;
    osg::ref_ptr<Results> results;
};

ObjectID tag(osg::Node* node) {
    return Registry::objectIndex()->tagNode(node, node);
}

osg::ref_ptr<Symbology::Polygon> polygonAt(double lon, double lat, double half) {
    osg::ref_ptr<Symbology::Polygon> polygon = new Symbology::Polygon;
    polygon->push_back(lon - half, lat - half);
    polygon->push_back(lon + half, lat - half);
    polygon->push_back(lon, lat + half);
    return polygon;
}

} // namespace

TEST(RTTPicker, FindsAnOverlayAndMissesTheTerrain) {
    Picking globe;
    const osg::ref_ptr<ImageOverlay> overlay = globe.addOverlay(kLon, kLat, 0.0005);
    const ObjectID id = tag(overlay);
    globe.look(1000.0);
    globe.settle();
    EXPECT_EQ(globe.pick(kLon, kLat), id);
    EXPECT_EQ(globe.pick(kLon + 0.00045, kLat - 0.00045), id);
    EXPECT_EQ(globe.pick(kLon + 0.001, kLat), kMiss);
    EXPECT_EQ(Registry::objectIndex()->get<ImageOverlay>(id), overlay);
}

TEST(RTTPicker, FindsSmallThingsExactly) {
    Picking globe;
    const ObjectID left = tag(globe.addOverlay(kLon - 0.0001, kLat, 0.00004));
    const ObjectID right = tag(globe.addOverlay(kLon + 0.0001, kLat, 0.00004));
    globe.look(1500.0); // four pixels each
    globe.settle();
    EXPECT_EQ(globe.pick(kLon - 0.0001, kLat), left);
    EXPECT_EQ(globe.pick(kLon + 0.0001, kLat), right);
}

TEST(RTTPicker, FindsASmallOverlayByTheMarksOfItsVertices) {
    Picking globe;
    const osg::ref_ptr<ImageOverlay> overlay = globe.addOverlay(kLon, kLat, 0.00004);
    globe.look(1500.0);
    globe.settle();
    const ObjectID id = Registry::objectIndex()->tagAllDrawables(overlay, overlay);
    EXPECT_EQ(globe.pick(kLon, kLat), id);
}

TEST(RTTPicker, TransparentAndUntaggedThings) {
    Picking globe;
    const ObjectID clear = tag(globe.addOverlay(kLon, kLat, 0.0005, 0.0f));
    globe.addOverlay(kLon + 0.002, kLat, 0.0005);
    globe.look(1200.0);
    globe.settle();
    EXPECT_EQ(globe.pick(kLon, kLat), clear);
    EXPECT_EQ(globe.pick(kLon + 0.002, kLat), kMiss);
}

TEST(RTTPicker, FindsFeaturesAndTheirOutlines) {
    Picking globe;
    const osg::ref_ptr<FeatureNode> feature = globe.addFeature(polygonAt(kLon, kLat, 0.001));
    const ObjectID id = tag(feature);
    osg::ref_ptr<LineString> line = new LineString;
    line->push_back(kLon + 0.002, kLat - 0.001);
    line->push_back(kLon + 0.002, kLat + 0.001);
    const ObjectID lineId = tag(globe.addFeature(line));
    globe.look(1200.0);
    globe.settle();
    EXPECT_EQ(globe.pick(kLon, kLat), id);
    EXPECT_EQ(globe.pick(kLon + 0.002, kLat), lineId);
    EXPECT_EQ(globe.pick(kLon - 0.001, kLat + 0.001), kMiss);
    feature->init(); // the mark is on the node and survives
    EXPECT_EQ(globe.pick(kLon, kLat), id);
}

TEST(RTTPicker, FindsLabelsByTheirIconAndTextOnTopOfOthers) {
    Picking globe;
    tag(globe.addOverlay(kLon, kLat, 0.001));
    Style style;
    style.getOrCreate<TextSymbol>()->size() = 24.0;
    style.getOrCreate<TextSymbol>()->encoding() = TextSymbol::ENCODING_UTF8;
    osg::ref_ptr<PlaceNode> place = new PlaceNode(
        GeoPoint(globe.mapNode()->getMapSRS(), kLon, kLat, groundHeight(kLon, kLat), ALTMODE_ABSOLUTE),
        "\xE5\x8D\xA0\xE5\x8E\x8B", style, plainImage(osg::Vec4(1.0f, 1.0f, 1.0f, 0.0f), 32)); // 占压
    globe.mapNode()->addChild(place);
    const ObjectID id = tag(place);
    globe.look(1000.0);
    globe.settle();
    const osg::Vec2d foot = globe.windowPosition(kLon, kLat);
    EXPECT_EQ(globe.pick(foot + osg::Vec2d(0.0, 16.0)), id);  // the middle of the icon
    EXPECT_EQ(globe.pick(foot + osg::Vec2d(12.0, 28.0)), id); // near its corner
    EXPECT_EQ(globe.pick(foot + osg::Vec2d(32.0, 16.0)), id); // the first character
    EXPECT_NE(globe.pick(foot + osg::Vec2d(0.0, 45.0)), id);  // above
    EXPECT_NE(globe.pick(foot - osg::Vec2d(0.0, 10.0)), id);  // below
}

TEST(RTTPicker, OfThingsThatOverlapTheOneThatIsSeenIsFound) {
    Picking globe;
    const osg::ref_ptr<ImageOverlay> first = globe.addOverlay(kLon - 0.0002, kLat, 0.0005);
    const osg::ref_ptr<ImageOverlay> second = globe.addOverlay(kLon + 0.0002, kLat, 0.0005);
    second->setImage(plainImage(osg::Vec4(1.0f, 0.0f, 0.0f, 1.0f)));
    const ObjectID blue = tag(first);
    const ObjectID red = tag(second);
    for (const double range : {1000.0, 14000.0}) { // alone, and drawn together
        for (const double pitch : {-90.0, -40.0}) {
            globe.look(range, pitch);
            globe.settle();
            const osg::Vec2d middle = globe.windowPosition(kLon, kLat);
            const osg::Vec3i seen =
                pixel(*globe.picture(), static_cast<int>(middle.x()), static_cast<int>(middle.y()));
            ASSERT_TRUE(seen.x() > 200 || seen.z() > 200) << range << " m, pitch " << pitch;
            EXPECT_EQ(globe.pick(middle), seen.x() > seen.z() ? red : blue) << range << " m, pitch " << pitch;
        }
    }
}

TEST(RTTPicker, NodeMarkWinsOverVertexMarkAndInnerOverOuter) {
    Picking globe;
    osg::ref_ptr<osg::Group> group = new osg::Group;
    const osg::ref_ptr<FeatureNode> feature = globe.addFeature(polygonAt(kLon, kLat, 0.001));
    group->addChild(feature);
    globe.mapNode()->removeChild(feature);
    globe.mapNode()->addChild(group);
    globe.look(1000.0);
    globe.settle();
    ObjectIndex* index = Registry::objectIndex();
    const ObjectID byVertex = index->tagAllDrawables(group, group);
    EXPECT_EQ(globe.pick(kLon, kLat), byVertex);
    const ObjectID byNode = index->tagNode(group, group);
    EXPECT_EQ(globe.pick(kLon, kLat), byNode);
    const ObjectID inner = index->tagNode(feature, feature);
    EXPECT_EQ(globe.pick(kLon, kLat), inner);
}

TEST(RTTPicker, HiddenBehindAHillIsNotFound) {
    Picking globe;
    // The ground rises from west to east in the middle of the place; look along it from the east, low.
    const ObjectID id = tag(globe.addOverlay(kLon - 0.004, kLat, 0.0003));
    osg::Matrixd frame;
    globe.mapNode()->getMapSRS()->createLocalToWorld(
        osg::Vec3d(kLon + 0.004, kLat, groundHeight(kLon + 0.004, kLat)), frame);
    globe.viewer().getCamera()->setViewMatrix(osg::Matrixd::inverse(frame) *
                                              osg::Matrixd::lookAt(osg::Vec3d(200.0, 0.0, 4.0),
                                                                   osg::Vec3d(0.0, 0.0, 0.0),
                                                                   osg::Vec3d(0.0, 0.0, 1.0)));
    globe.settle();
    const osg::ref_ptr<osg::Image> image = globe.picture();
    keep(*image, "pick-behind-hill");
    EXPECT_EQ(globe.pick(kLon - 0.004, kLat), kMiss);
    globe.look(1000.0, -90.0, kLon - 0.004);
    globe.settle();
    EXPECT_EQ(globe.pick(kLon - 0.004, kLat), id);
}

TEST(RTTPicker, EveryPickIsAnsweredOnceInOrderAndInTheNextFrame) {
    Picking globe;
    const ObjectID first = tag(globe.addOverlay(kLon, kLat, 0.0003));
    const ObjectID second = tag(globe.addOverlay(kLon + 0.001, kLat, 0.0003));
    globe.look(1000.0);
    globe.settle();
    for (const double east : {0.0, 0.0005, 0.001}) {
        const osg::Vec2d at = globe.windowPosition(kLon + east, kLat);
        EXPECT_TRUE(
            globe.picker->pick(&globe.viewer(), static_cast<float>(at.x()), static_cast<float>(at.y())));
    }
    globe.frame(); // draws the pick picture
    EXPECT_TRUE(globe.results->ids.empty());
    globe.frame(); // reports
    EXPECT_EQ(globe.results->ids, (std::vector<ObjectID>{first, kMiss, second}));
    globe.frame();
    EXPECT_EQ(globe.results->ids.size(), 3u);
}

TEST(RTTPicker, MovesOfThePointerStartPicksAndTheCameraRestsBetween) {
    Picking globe;
    const ObjectID id = tag(globe.addOverlay(kLon, kLat, 0.0003));
    globe.look(1000.0);
    globe.settle();
    EXPECT_EQ(globe.viewer().getNumSlaves(), 0u);
    const osg::Vec2d at = globe.windowPosition(kLon, kLat);
    osgGA::EventQueue* queue = globe.viewer().getEventQueue();
    queue->getCurrentEventState()->setMouseYOrientation(osgGA::GUIEventAdapter::Y_INCREASING_UPWARDS);
    queue->mouseMotion(static_cast<float>(at.x()), static_cast<float>(at.y()));
    globe.frame();
    ASSERT_EQ(globe.viewer().getNumSlaves(), 1u);
    EXPECT_NE(globe.viewer().getSlave(0)._camera->getNodeMask(), 0u);
    globe.frame();
    EXPECT_EQ(globe.results->ids, std::vector<ObjectID>{id});
    EXPECT_EQ(globe.viewer().getSlave(0)._camera->getNodeMask(), 0u);
    queue->mouseButtonPress(static_cast<float>(at.x()), static_cast<float>(at.y()), 1);
    globe.frame();
    globe.frame();
    EXPECT_EQ(globe.results->ids.size(), 1u); // a click starts none
}

TEST(RTTPicker, OutsideTheViewportNothingStarts) {
    Picking globe;
    EXPECT_FALSE(globe.picker->pick(&globe.viewer(), -1.0f, 10.0f));
    EXPECT_FALSE(globe.picker->pick(&globe.viewer(), 10.0f, 300.0f));
    EXPECT_FALSE(globe.picker->pick(nullptr, 10.0f, 10.0f));
    EXPECT_FALSE(globe.picker->pick(&globe.viewer(), 10.0f, 10.0f, nullptr));
}

TEST(RTTPicker, DestructionRemovesTheSlaveCamera) {
    Picking globe;
    globe.look(1000.0);
    globe.settle();
    globe.pick(kLon, kLat);
    ASSERT_EQ(globe.viewer().getNumSlaves(), 1u);
    globe.viewer().removeEventHandler(globe.picker);
    globe.picker = nullptr;
    EXPECT_EQ(globe.viewer().getNumSlaves(), 0u);
    globe.frame();
}

TEST(RTTPicker, PickingLeavesTheWindowsPictureAlone) {
    Picking globe;
    tag(globe.addOverlay(kLon, kLat, 0.0005));
    globe.look(1000.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> before = globe.picture();
    const osg::Vec2d at = globe.windowPosition(kLon, kLat);
    globe.picker->pick(&globe.viewer(), static_cast<float>(at.x()), static_cast<float>(at.y()));
    EXPECT_EQ(differences(*before, *globe.picture()), 0);
    EXPECT_EQ(differences(*before, *globe.picture()), 0);
}

TEST(PickRegion, ShowsTheNeighbourhoodPixelByPixel) {
    const Util::PickRegion region({{100.4, 50.6}}, {1600.0, 1000.0}, 256, 2);
    EXPECT_EQ(region.scale(), osg::Vec2d(1.0, 1.0));
    EXPECT_LT(region.columns(), 40);
    const std::vector<osg::Vec2i> pixels = region.pixelsAround({100.4, 50.6});
    ASSERT_FALSE(pixels.empty());
    // The nearest pixel is the one under the pointer: its window position comes back through the projection.
    const osg::Vec3d ndc(2.0 * 100.5 / 1600.0 - 1.0, 2.0 * 50.5 / 1000.0 - 1.0, 0.0);
    const osg::Vec3d shown = ndc * region.projectionOffset();
    EXPECT_NEAR((shown.x() + 1.0) / 2.0 * region.columns(), pixels.front().x() + 0.5, 1e-9);
    EXPECT_NEAR((shown.y() + 1.0) / 2.0 * region.rows(), pixels.front().y() + 0.5, 1e-9);
}

TEST(PickRegion, FarApartPicksShareOneCoarserPicture) {
    const Util::PickRegion region({{5.0, 5.0}, {1590.0, 990.0}}, {1600.0, 1000.0}, 256, 2);
    EXPECT_EQ(region.columns(), 256);
    EXPECT_EQ(region.rows(), 256);
    EXPECT_LT(region.scale().x(), 0.17);
    EXPECT_FALSE(region.pixelsAround({1590.0, 990.0}).empty());
}
