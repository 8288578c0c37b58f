#include "Pictures.h"
#include "TestGlobe.h"

#include <gtest/gtest.h>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthSymbology/TextSymbol>

using namespace drawingtest;
using namespace osgEarth;
using namespace osgEarth::Symbology;
using osgEarth::Annotation::PlaceNode;

namespace {

Style labelStyle(double size = 24.0) {
    Style style;
    TextSymbol* text = style.getOrCreate<TextSymbol>();
    text->size() = size;
    text->font() = "simhei.ttf"; // usually not installed: the default font has the characters
    text->encoding() = TextSymbol::ENCODING_UTF8;
    text->fill()->color() = Color::Red;
    return style;
}

GeoPoint place(TestGlobe& globe, double metresAbove = 0.0) {
    return GeoPoint(globe.mapNode()->getMapSRS(), Lon, Lat, groundHeight(Lon, Lat) + metresAbove,
                    ALTMODE_ABSOLUTE);
}

osg::ref_ptr<PlaceNode> label(TestGlobe& globe, const std::string& text, osg::Image* image = nullptr) {
    osg::ref_ptr<PlaceNode> node = new PlaceNode(place(globe), text, labelStyle(), image);
    globe.mapNode()->addChild(node);
    return node;
}

bool isReddish(const osg::Vec3i& p) {
    return p.x() > 120 && p.x() > p.y() + 60 && p.x() > p.z() + 60;
}
bool isBlue(const osg::Vec3i& p) {
    return p.x() < 20 && p.y() < 20 && p.z() > 230;
}

struct Box {
    int xMin = 1 << 20, yMin = 1 << 20, xMax = -1, yMax = -1;
};

template<typename Condition>
Box boxOf(const osg::Image& image, Condition condition) {
    Box box;
    for (int y = 0; y < image.t(); ++y)
        for (int x = 0; x < image.s(); ++x)
            if (condition(pixel(image, x, y))) {
                box.xMin = std::min(box.xMin, x);
                box.yMin = std::min(box.yMin, y);
                box.xMax = std::max(box.xMax, x);
                box.yMax = std::max(box.yMax, y);
            }
    return box;
}

} // namespace

TEST(PlaceNode, BoundIsCentredOnThePosition) {
    TestGlobe globe;
    const osg::ref_ptr<PlaceNode> node = label(globe, "");
    osg::Vec3d world;
    ASSERT_TRUE(place(globe).toWorld(world));
    EXPECT_LT((osg::Vec3d(node->getBound().center()) - world).length(), 1.0);
}

TEST(PlaceNode, IconStandsOnThePositionAtItsPixelSizeFromAnyDistance) {
    TestGlobe globe;
    label(globe, "", plainImage(osg::Vec4(0.0f, 0.0f, 1.0f, 1.0f), 32));
    for (const double range : {300.0, 5000.0}) {
        globe.look(range, -40.0);
        globe.settle();
        const osg::ref_ptr<osg::Image> image = globe.picture();
        const Box box = boxOf(*image, isBlue);
        const osg::Vec2d position = globe.windowPosition(Lon, Lat);
        EXPECT_EQ(box.xMax - box.xMin + 1, 32);
        EXPECT_EQ(box.yMax - box.yMin + 1, 32);
        EXPECT_NEAR(box.yMin, position.y(), 1.5);
        EXPECT_NEAR((box.xMin + box.xMax + 1) / 2.0, position.x(), 1.5);
    }
}

TEST(PlaceNode, TextStandsToTheRightOfTheIconAndCentredOnIt) {
    TestGlobe globe;
    label(globe, "\xE6\xB7\xB1\xE6\x8C\x96", plainImage(osg::Vec4(0.0f, 0.0f, 1.0f, 1.0f), 32)); // 深挖
    globe.look(1000.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> image = globe.picture();
    keep(*image, "place-icon-text");
    const Box icon = boxOf(*image, isBlue);
    const Box text = boxOf(*image, isReddish);
    EXPECT_GT(text.xMin, icon.xMax);
    EXPECT_LT(text.xMin, icon.xMax + 12);
    EXPECT_NEAR((text.yMin + text.yMax) / 2.0, (icon.yMin + icon.yMax) / 2.0, 4.0);
}

TEST(PlaceNode, ChineseCharactersAreDrawnAndNotBoxes) {
    TestGlobe globe;
    const osg::ref_ptr<PlaceNode> node = label(globe, "\xE5\xA1\x8C"); // 塌
    globe.look(1000.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> first = globe.picture();
    keep(*first, "place-chinese");
    node->setText("\xE9\x99\xB7"); // 陷
    const osg::ref_ptr<osg::Image> second = globe.picture();
    node->setText("\xF3\xB0\x80\x80"); // a private-use character, which no font here has
    const osg::ref_ptr<osg::Image> missing = globe.picture();
    EXPECT_GT(count(*first, isReddish), 60);
    EXPECT_GT(count(*second, isReddish), 60);
    EXPECT_GT(differences(*first, *second), 40);
    EXPECT_GT(differences(*first, *missing), 40);
    EXPECT_EQ(node->getText(), "\xF3\xB0\x80\x80");
}

TEST(PlaceNode, SetTextAndSetStyleShowInTheNextFrame) {
    TestGlobe globe;
    const osg::ref_ptr<PlaceNode> node = label(globe, "A");
    node->setDynamic(true);
    globe.look(1000.0);
    globe.settle();
    const int one = count(*globe.picture(), isReddish);
    node->setText("AAAA");
    EXPECT_NEAR(count(*globe.picture(), isReddish), 4 * one, one);
    node->setStyle(labelStyle(48.0));
    EXPECT_GT(count(*globe.picture(), isReddish), 8 * one);
    node->setText("");
    EXPECT_EQ(count(*globe.picture(), isReddish), 0);
}

TEST(PlaceNode, IsDrawnOverTheTerrainInFrontButNotBeyondTheHorizon) {
    TestGlobe globe;
    const osg::ref_ptr<PlaceNode> node = label(globe, "", plainImage(osg::Vec4(0.0f, 0.0f, 1.0f, 1.0f), 32));
    node->setPosition(place(globe, -30.0)); // below the ground
    globe.look(1000.0);
    globe.settle();
    EXPECT_EQ(count(*globe.picture(), isBlue), 32 * 32);
    node->setPosition(
        GeoPoint(globe.mapNode()->getMapSRS(), Lon + 180.0, -Lat, 0.0, ALTMODE_ABSOLUTE)); // antipode
    EXPECT_EQ(count(*globe.picture(), isBlue), 0);
    node->setHorizonCulling(false);
    EXPECT_EQ(count(*globe.picture(), isBlue), 32 * 32);
}

TEST(PlaceNode, RelativePositionsStandOnTheGround) {
    TestGlobe globe;
    const osg::ref_ptr<PlaceNode> node = label(globe, "");
    node->setPosition(GeoPoint(globe.mapNode()->getMapSRS(), Lon, Lat, 5.0, ALTMODE_RELATIVE));
    globe.look(600.0);
    globe.settle();
    osg::Vec3d world;
    ASSERT_TRUE(place(globe, 5.0).toWorld(world));
    EXPECT_LT((osg::Vec3d(node->getBound().center()) - world).length(), 3.0);
}
