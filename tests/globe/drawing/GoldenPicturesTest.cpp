// Whole pictures against ones that a person has looked at. With CORRIDOR_RENEW_GOLDENS set in the environment
// the pictures are written instead; look at them before they are committed.
#include "Pictures.h"
#include "TestGlobe.h"

#include <gtest/gtest.h>
#include <osgDB/ReadFile>
#include <osgDB/WriteFile>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/TextSymbol>

#include <cstdlib>

using namespace drawingtest;
using namespace osgEarth;
using namespace osgEarth::Symbology;
using osgEarth::Annotation::FeatureNode;
using osgEarth::Annotation::ImageOverlay;
using osgEarth::Annotation::PlaceNode;

namespace {

/// Pixels that do not count: letters look different with every font.
struct Mask {
    int left, bottom, right, top;
    bool covers(int x, int y) const { return x >= left && x < right && y >= bottom && y < top; }
};

constexpr int kBlock = 4;            // pixels that are averaged: renderers differ along edges
constexpr double kMostPerBlock = 48; // of 255
constexpr double kMostOnAverage = 3.0;

osg::Vec3d meanOf(const osg::Image& image, int left, int bottom) {
    osg::Vec3d sum;
    for (int y = bottom; y < bottom + kBlock; ++y) {
        for (int x = left; x < left + kBlock; ++x) {
            const osg::Vec3i p = pixel(image, x, y);
            sum += osg::Vec3d(p.x(), p.y(), p.z());
        }
    }
    return sum / (kBlock * kBlock);
}

void expectLooksLike(const osg::Image& image, const std::string& name, const std::vector<Mask>& masks = {}) {
    keep(image, "golden-" + name);
    const std::string file = std::string(CORRIDOR_GOLDEN_FOLDER) + "/" + name + ".png";
    if (std::getenv("CORRIDOR_RENEW_GOLDENS")) {
        ASSERT_TRUE(osgDB::writeImageFile(image, file));
    }
    const osg::ref_ptr<osg::Image> golden = osgDB::readRefImageFile(file);
    ASSERT_TRUE(golden.valid()) << file;
    ASSERT_EQ(golden->getPixelFormat(), static_cast<GLenum>(GL_RGB));
    ASSERT_TRUE(golden->s() == image.s() && golden->t() == image.t());
    double sum = 0.0;
    double worst = 0.0;
    int blocks = 0;
    for (int y = 0; y + kBlock <= image.t(); y += kBlock) {
        for (int x = 0; x + kBlock <= image.s(); x += kBlock) {
            if (std::any_of(masks.begin(), masks.end(),
                            [&](const Mask& mask) { return mask.covers(x, y); })) {
                continue;
            }
            const osg::Vec3d difference = meanOf(image, x, y) - meanOf(*golden, x, y);
            const double most =
                std::max({std::abs(difference.x()), std::abs(difference.y()), std::abs(difference.z())});
            worst = std::max(worst, most);
            sum += most;
            ++blocks;
        }
    }
    EXPECT_LT(worst, kMostPerBlock) << name;
    EXPECT_LT(sum / blocks, kMostOnAverage) << name;
}

osg::ref_ptr<osg::Image> disc() {
    const osg::ref_ptr<osg::Image> image = plainImage(osg::Vec4(0.0f, 0.0f, 0.0f, 0.0f), 64);
    for (unsigned y = 0; y < 64; ++y) {
        for (unsigned x = 0; x < 64; ++x) {
            const double distance = std::hypot(x - 31.5, y - 31.5);
            if (distance < 30.0) {
                image->setColor(osg::Vec4(1.0f, static_cast<float>(distance / 30.0), 0.2f, 0.9f), x, y);
            }
        }
    }
    return image;
}

void addOverlays(TestGlobe& globe) {
    for (int i = 0; i < 6; ++i) {
        const double half = i < 3 ? 0.0004 : 0.00008; // large ones, and some that are drawn together
        const double lon = kLon + (i % 3 - 1) * 0.0011;
        const double lat = kLat + (i < 3 ? -0.0004 : 0.0006);
        osg::ref_ptr<ImageOverlay> overlay = new ImageOverlay(globe.mapNode(), disc());
        overlay->setBounds(Bounds(lon - half, lat - half, lon + half, lat + half));
        globe.mapNode()->addChild(overlay);
    }
}

void addArea(TestGlobe& globe) {
    Style style;
    style.getOrCreate<PolygonSymbol>()->fill()->color() = Color(0.1f, 0.4f, 1.0f, 0.4f);
    style.getOrCreate<LineSymbol>()->stroke()->color() = Color::Yellow;
    style.getOrCreate<LineSymbol>()->stroke()->width() = 3.0f;
    style.getOrCreate<AltitudeSymbol>()->clamping() = AltitudeSymbol::CLAMP_TO_TERRAIN;
    style.getOrCreate<AltitudeSymbol>()->technique() = AltitudeSymbol::TECHNIQUE_DRAPE;
    osg::ref_ptr<Polygon> outline = new Polygon;
    for (const osg::Vec2d& corner :
         {osg::Vec2d(-0.0012, -0.001), osg::Vec2d(0.0012, -0.001), osg::Vec2d(0.0, 0.0),
          osg::Vec2d(0.0012, 0.001), osg::Vec2d(-0.0012, 0.001)}) {
        outline->push_back(kLon + corner.x(), kLat + corner.y());
    }
    osg::ref_ptr<Ring> hole = new Ring;
    for (const osg::Vec2d& corner : {osg::Vec2d(-0.0009, -0.0003), osg::Vec2d(-0.0009, 0.0003),
                                     osg::Vec2d(-0.0004, 0.0003), osg::Vec2d(-0.0004, -0.0003)}) {
        hole->push_back(kLon + corner.x(), kLat + corner.y());
    }
    outline->getHoles().push_back(hole);
    globe.mapNode()->addChild(
        new FeatureNode(new Features::Feature(outline, globe.mapNode()->getMapSRS()), style));
}

} // namespace

TEST(GoldenPictures, OverlaysFromAbove) {
    TestGlobe globe;
    addOverlays(globe);
    globe.look(900.0);
    globe.settle();
    expectLooksLike(*globe.picture(), "overlays-from-above");
}

TEST(GoldenPictures, AnAreaWithAHoleFromTheSide) {
    TestGlobe globe;
    addArea(globe);
    globe.look(700.0, -30.0);
    globe.settle();
    expectLooksLike(*globe.picture(), "area-from-the-side");
}

TEST(GoldenPictures, TheHillyPlaceAndTheHorizon) {
    TestGlobe globe;
    addOverlays(globe);
    addArea(globe);
    globe.look(1500.0, -6.0);
    globe.settle();
    expectLooksLike(*globe.picture(), "horizon");
}

TEST(GoldenPictures, LabelsWithTheirIcons) {
    TestGlobe globe;
    Style style;
    style.getOrCreate<TextSymbol>()->size() = 18.0;
    std::vector<Mask> letters;
    globe.look(900.0, -50.0);
    globe.settle();
    for (int i = 0; i < 5; ++i) {
        const double lon = kLon + (i - 2) * 0.0005;
        const double lat = kLat + (i % 2) * 0.0006;
        globe.mapNode()->addChild(new PlaceNode(
            GeoPoint(globe.mapNode()->getMapSRS(), lon, lat, groundHeight(lon, lat), ALTMODE_ABSOLUTE), "W",
            style, disc()));
        const osg::Vec2d foot = globe.windowPosition(lon, lat);
        letters.push_back({static_cast<int>(foot.x()) + 28, static_cast<int>(foot.y()) + 12,
                           static_cast<int>(foot.x()) + 64, static_cast<int>(foot.y()) + 52});
    }
    globe.frame();
    expectLooksLike(*globe.picture(), "labels", letters);
}
