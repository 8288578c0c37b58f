#include "Pictures.h"
#include "TestGlobe.h"

#include <gtest/gtest.h>
#include <osg/Stats>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarth/VirtualProgram>
#include <osgEarthAnnotation/ImageOverlay>

using namespace drawingtest;
using namespace osgEarth;
using osgEarth::Annotation::ImageOverlay;

namespace {

const osg::Vec4 kBlue(0.0f, 0.0f, 1.0f, 1.0f);
constexpr double kHalf = 0.0005; // degrees; about 50 m

osg::ref_ptr<ImageOverlay> overlayAt(TestGlobe& globe, double lon, double lat, osg::Image* image) {
    osg::ref_ptr<ImageOverlay> overlay = new ImageOverlay(globe.mapNode(), image);
    overlay->setBounds(Bounds(lon - kHalf, lat - kHalf, lon + kHalf, lat + kHalf));
    globe.mapNode()->addChild(overlay);
    return overlay;
}

/// The highlight that the anomaly tools put on overlays.
void highlight(osg::Node* node, const osg::Vec4& color) {
    osg::StateSet* stateSet = node->getOrCreateStateSet();
    VirtualProgram::getOrCreate(stateSet)->setFunction(
        "oe_anno_highlight_frag",
        "uniform vec4 oe_anno_highlight_color; \nvoid oe_anno_highlight_frag(inout vec4 color) {\n"
        "    color.rgb = mix(color.rgb, oe_anno_highlight_color.rgb, oe_anno_highlight_color.a); \n}\n",
        static_cast<ShaderComp::FunctionLocation>(7), 0.6f);
    stateSet->addUniform(new osg::Uniform("oe_anno_highlight_color", color));
}

bool isBlue(const osg::Vec3i& p) {
    return p.x() < 20 && p.y() < 20 && p.z() > 230;
}
bool isYellow(const osg::Vec3i& p) {
    return p.x() > 230 && p.y() > 230 && p.z() < 20;
}

osg::Vec3i pixelAt(const osg::Image& image, const osg::Vec2d& position) {
    return pixel(image, static_cast<int>(position.x()), static_cast<int>(position.y()));
}

} // namespace

TEST(ImageOverlay, StartsBetweenTenAndTwentyDegrees) {
    osg::ref_ptr<ImageOverlay> overlay = new ImageOverlay(nullptr);
    EXPECT_EQ(overlay->getLowerLeft(), osg::Vec2d(10.0, 10.0));
    EXPECT_EQ(overlay->getUpperRight(), osg::Vec2d(20.0, 20.0));
    EXPECT_EQ(overlay->getCenter(), osg::Vec2d(15.0, 15.0));
    EXPECT_TRUE(overlay->getDraped());
    EXPECT_FLOAT_EQ(overlay->getAlpha(), 1.0f);
}

TEST(ImageOverlay, CenterIsTheMeanAndBoundsTheBoxOfTheCorners) {
    osg::ref_ptr<ImageOverlay> overlay = new ImageOverlay(nullptr);
    overlay->setCorners({0.0, 0.0}, {4.0, 1.0}, {-1.0, 3.0}, {2.0, 5.0});
    EXPECT_EQ(overlay->getCenter(), osg::Vec2d(1.25, 2.25));
    const Bounds bounds = overlay->getBounds();
    EXPECT_DOUBLE_EQ(bounds.xMin(), -1.0);
    EXPECT_DOUBLE_EQ(bounds.yMin(), 0.0);
    EXPECT_DOUBLE_EQ(bounds.xMax(), 4.0);
    EXPECT_DOUBLE_EQ(bounds.yMax(), 5.0);
    EXPECT_DOUBLE_EQ(bounds.zMin(), 0.0);
    EXPECT_DOUBLE_EQ(bounds.zMax(), 0.0);
    EXPECT_TRUE(bounds.contains(4.0, 5.0));
}

TEST(ImageOverlay, RotatedPictureHasALargerBox) {
    osg::ref_ptr<ImageOverlay> overlay = new ImageOverlay(nullptr);
    overlay->setBoundsAndRotation(Bounds(-1.0, -1.0, 1.0, 1.0), Angular(45.0, Units::DEGREES));
    EXPECT_NEAR(overlay->getCenter().length(), 0.0, 1e-12);
    EXPECT_NEAR(overlay->getBounds().width(), 2.0 * std::sqrt(2.0), 1e-9);
    EXPECT_NEAR(overlay->getLowerRight().x(), std::sqrt(2.0), 1e-9); // turned counter-clockwise
    EXPECT_NEAR(overlay->getLowerRight().y(), 0.0, 1e-9);
}

TEST(ImageOverlay, EdgesAndCenterMoveCornersAndLatitudesAreClamped) {
    osg::ref_ptr<ImageOverlay> overlay = new ImageOverlay(nullptr);
    overlay->setNorth(95.0);
    overlay->setWest(0.0);
    EXPECT_EQ(overlay->getUpperLeft(), osg::Vec2d(0.0, 90.0));
    overlay->setBounds(Bounds(0.0, 0.0, 2.0, 2.0));
    overlay->setCenter(11.0, 21.0);
    EXPECT_EQ(overlay->getLowerLeft(), osg::Vec2d(10.0, 20.0));
    EXPECT_EQ(overlay->getUpperRight(), osg::Vec2d(12.0, 22.0));
}

TEST(ImageOverlay, LiesOnTheTerrainWithItsPictureUpright) {
    TestGlobe globe;
    globe.settle();
    // Left half red, lower half dark.
    osg::ref_ptr<osg::Image> image = plainImage(kBlue, 2);
    image->setColor(osg::Vec4(1.0f, 0.0f, 0.0f, 1.0f), 0u, 1u);
    image->setColor(osg::Vec4(0.0f, 1.0f, 0.0f, 1.0f), 0u, 0u);
    overlayAt(globe, kLon, kLat, image);
    globe.look(600.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> picture = globe.picture();
    keep(*picture, "overlay-upright");
    const double inside = kHalf * 0.9;
    EXPECT_GT(pixelAt(*picture, globe.windowPosition(kLon - inside, kLat + inside)).x(),
              230); // red, upper left
    EXPECT_GT(pixelAt(*picture, globe.windowPosition(kLon - inside, kLat - inside)).y(),
              230); // green, lower left
    EXPECT_TRUE(isBlue(pixelAt(*picture, globe.windowPosition(kLon + inside, kLat))));
    EXPECT_FALSE(isBlue(pixelAt(*picture, globe.windowPosition(kLon + kHalf * 1.2, kLat))));
}

TEST(ImageOverlay, IsNotSwallowedByTheTerrainAtAnyDistance) {
    TestGlobe globe;
    globe.settle();
    overlayAt(globe, kLon + 0.002, kLat, plainImage(kBlue)); // on a slope
    for (const double range : {150.0, 600.0, 3000.0}) {
        for (const double pitch : {-90.0, -35.0}) {
            globe.look(range, pitch, kLon + 0.002, kLat);
            globe.settle();
            const osg::ref_ptr<osg::Image> picture = globe.picture();
            keep(*picture, "overlay-slope-" + std::to_string(static_cast<int>(range)) +
                               (pitch < -80.0 ? "-down" : "-slant"));
            for (const double part : {-0.8, -0.4, 0.0, 0.4, 0.8}) {
                const osg::Vec2d position =
                    globe.windowPosition(kLon + 0.002 + part * kHalf, kLat + part * kHalf);
                if (position.x() < 2.0 || position.y() < 2.0 || position.x() > 398.0 ||
                    position.y() > 298.0) {
                    continue;
                }
                EXPECT_TRUE(isBlue(pixelAt(*picture, position)))
                    << range << " m, pitch " << pitch << ", part " << part;
            }
        }
    }
}

TEST(ImageOverlay, HighlightTurnsItYellowAndBack) {
    TestGlobe globe;
    globe.settle();
    const osg::ref_ptr<ImageOverlay> overlay = overlayAt(globe, kLon, kLat, plainImage(kBlue));
    const osg::ref_ptr<ImageOverlay> other = overlayAt(globe, kLon + 0.0015, kLat, plainImage(kBlue));
    globe.look(1000.0);
    globe.settle();
    const osg::Vec2d here = globe.windowPosition(kLon, kLat);
    const osg::Vec2d there = globe.windowPosition(kLon + 0.0015, kLat);
    highlight(overlay, osg::Vec4(255.0f, 255.0f, 0.0f, 1.0f));
    osg::ref_ptr<osg::Image> picture = globe.picture();
    keep(*picture, "overlay-highlight");
    EXPECT_TRUE(isYellow(pixelAt(*picture, here)));
    EXPECT_TRUE(isBlue(pixelAt(*picture, there)));
    highlight(overlay, osg::Vec4(255.0f, 255.0f, 0.0f, 1.0f));
    EXPECT_EQ(differences(*picture, *globe.picture()), 0); // twice gives the same picture as once
    highlight(overlay, osg::Vec4(1.0f, 1.0f, 1.0f, 0.0f));
    highlight(other, osg::Vec4(1.0f, 1.0f, 1.0f, 0.0f)); // never highlighted before
    picture = globe.picture();
    EXPECT_TRUE(isBlue(pixelAt(*picture, here)));
    EXPECT_TRUE(isBlue(pixelAt(*picture, there)));
}

TEST(ImageOverlay, AlphaLetsTheTerrainThrough) {
    TestGlobe globe;
    globe.settle();
    globe.look(600.0);
    globe.settle();
    const osg::Vec2d here = globe.windowPosition(kLon, kLat);
    const osg::Vec3i bare = pixelAt(*globe.picture(), here);
    const osg::ref_ptr<ImageOverlay> overlay = overlayAt(globe, kLon, kLat, plainImage(kBlue));
    overlay->setAlpha(0.5f);
    globe.frame();
    const osg::Vec3i mixed = pixelAt(*globe.picture(), here);
    EXPECT_NEAR(mixed.x(), bare.x() / 2, 3);
    EXPECT_NEAR(mixed.z(), (bare.z() + 255) / 2, 3);
}

TEST(ImageOverlay, SettersShowInTheNextFrame) {
    TestGlobe globe;
    globe.settle();
    const osg::ref_ptr<ImageOverlay> overlay = overlayAt(globe, kLon, kLat, plainImage(kBlue));
    globe.look(600.0);
    globe.settle();
    overlay->setImage(plainImage(osg::Vec4(1.0f, 0.0f, 0.0f, 1.0f)));
    EXPECT_GT(pixelAt(*globe.picture(), globe.windowPosition(kLon, kLat)).x(), 230);
    overlay->setCenter(kLon + 3.0 * kHalf, kLat);
    EXPECT_LT(pixelAt(*globe.picture(), globe.windowPosition(kLon, kLat)).x(), 230);
}

namespace {

/// A group of small overlays, 10 m wide and 30 m apart, with ids; the left half of each is red, the right one
/// blue.
struct SmallOverlays {
    explicit SmallOverlays(TestGlobe& globe) : group(new osg::Group) {
        const osg::ref_ptr<osg::Image> image = plainImage(kBlue, 64);
        for (unsigned y = 0; y < 64; ++y) {
            for (unsigned x = 0; x < 32; ++x) {
                image->setColor(osg::Vec4(1.0f, 0.0f, 0.0f, 1.0f), x, y);
            }
        }
        for (int i = 0; i < 25; ++i) {
            const double lon = kLon + (i % 5 - 2) * kStep;
            const double lat = kLat + (i / 5 - 2) * kStep;
            osg::ref_ptr<ImageOverlay> overlay = new ImageOverlay(globe.mapNode(), image);
            overlay->setBounds(Bounds(lon - kHalf, lat - kHalf, lon + kHalf, lat + kHalf));
            group->addChild(overlay);
            ids.push_back(Registry::objectIndex()->tagNode(overlay, overlay));
        }
        globe.mapNode()->addChild(group);
    }
    ImageOverlay& at(unsigned i) { return static_cast<ImageOverlay&>(*group->getChild(i)); }

    /// Any state of its own has an overlay drawn by itself.
    void separate() {
        for (unsigned i = 0; i < group->getNumChildren(); ++i) {
            at(i).getOrCreateStateSet()->addUniform(new osg::Uniform("nothing", 0.0f));
        }
    }

    static constexpr double kHalf = 0.00005;
    static constexpr double kStep = 0.0003;
    osg::ref_ptr<osg::Group> group;
    std::vector<ObjectID> ids;
};

double visibleDrawables(TestGlobe& globe) {
    osg::Stats* stats = globe.viewer().getCamera()->getStats();
    stats->collectStats("scene", true);
    globe.frame();
    double number = 0.0;
    stats->getAttribute(globe.viewer().getFrameStamp()->getFrameNumber(), "Visible number of drawables",
                        number);
    stats->collectStats("scene", false);
    return number;
}

} // namespace

TEST(ImageOverlay, SmallOverlaysAreDrawnTogetherAndLookAsTheyWouldAlone) {
    TestGlobe globe;
    globe.settle();
    globe.look(700.0); // ten pixels each
    globe.settle();
    const double without = visibleDrawables(globe);
    SmallOverlays small(globe);
    globe.frame();
    EXPECT_EQ(visibleDrawables(globe), without + 1.0);
    const osg::ref_ptr<osg::Image> together = globe.picture();
    keep(*together, "overlay-together");
    small.separate();
    EXPECT_EQ(visibleDrawables(globe), without + 25.0);
    const osg::ref_ptr<osg::Image> alone = globe.picture();
    keep(*alone, "overlay-alone");
    EXPECT_GT(count(*together, isBlue), 25 * 25);
    EXPECT_NEAR(count(*together, isBlue), count(*alone, isBlue), 25 * 10);
    EXPECT_LT(differences(*together, *alone, 120), 25 * 8); // along the edges
}

TEST(ImageOverlay, SmallOverlaysStayVisibleInTheDistance) {
    TestGlobe globe;
    SmallOverlays small(globe);
    small.group->removeChildren(1, 24);
    globe.look(50000.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> with = globe.picture();
    small.group->setNodeMask(0u);
    EXPECT_GE(differences(*with, *globe.picture()), 6);
}

TEST(ImageOverlay, ASmallOverlayIsHighlightedLikeALargeOne) {
    TestGlobe globe;
    SmallOverlays small(globe);
    globe.look(1000.0);
    globe.settle();
    highlight(&small.at(12), osg::Vec4(255.0f, 255.0f, 0.0f, 1.0f));
    const osg::ref_ptr<osg::Image> picture = globe.picture();
    EXPECT_TRUE(isYellow(pixelAt(*picture, globe.windowPosition(kLon, kLat))));
    EXPECT_LT(count(*picture, isYellow), 80);
}

TEST(ImageOverlay, AGroupsStateHoldsForSmallOverlaysToo) {
    TestGlobe globe;
    SmallOverlays small(globe);
    globe.look(700.0);
    globe.settle();
    highlight(small.group, osg::Vec4(255.0f, 255.0f, 0.0f, 1.0f));
    EXPECT_GT(count(*globe.picture(), isYellow), 25 * 50);
    small.group->setNodeMask(0u);
    EXPECT_EQ(count(*globe.picture(), isYellow), 0);
}

TEST(ImageOverlay, OverlaysOfOneSizeShareStateAndGrid) {
    TestGlobe globe;
    std::vector<osg::ref_ptr<ImageOverlay>> overlays;
    for (int i = 0; i < 3; ++i) {
        overlays.push_back(overlayAt(globe, kLon + i * 0.002, kLat, plainImage(kBlue)));
    }
    globe.frame();
    const auto geometryOf = [](ImageOverlay& overlay) {
        return overlay.getChild(0)->asGroup()->getChild(0)->asGeometry();
    };
    const osg::Geometry* first = geometryOf(*overlays[0]);
    for (const osg::ref_ptr<ImageOverlay>& overlay : overlays) {
        EXPECT_EQ(geometryOf(*overlay)->getStateSet(), first->getStateSet());
        EXPECT_EQ(geometryOf(*overlay)->getPrimitiveSet(0), first->getPrimitiveSet(0));
        EXPECT_EQ(geometryOf(*overlay)->getTexCoordArray(0), first->getTexCoordArray(0));
        EXPECT_LE(geometryOf(*overlay)->getVertexArray()->getNumElements(), 33u * 33u);
        EXPECT_EQ(overlay->getNumChildrenRequiringUpdateTraversal(),
                  0u); // costs nothing while nothing changes
    }
}
