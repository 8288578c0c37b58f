#include "Pictures.h"
#include "TestGlobe.h"

#include <gtest/gtest.h>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthSymbology/TextSymbol>

#include <set>
#include <vector>

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
    return GeoPoint(globe.mapNode()->getMapSRS(), kLon, kLat, groundHeight(kLon, kLat) + metresAbove,
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

bool isFadedBlue(const osg::Vec3i& p) {
    return p.z() > p.x() + 60 && p.x() > 40;
}

struct Box {
    int xMin = 1 << 20, yMin = 1 << 20, xMax = -1, yMax = -1;
};

template<typename Condition>
Box boxOf(const osg::Image& image, Condition condition) {
    Box box;
    for (int y = 0; y < image.t(); ++y) {
        for (int x = 0; x < image.s(); ++x) {
            if (condition(pixel(image, x, y))) {
                box.xMin = std::min(box.xMin, x);
                box.yMin = std::min(box.yMin, y);
                box.xMax = std::max(box.xMax, x);
                box.yMax = std::max(box.yMax, y);
            }
        }
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

/// Notes the state of everything at and below nodes.
class States : public osg::NodeVisitor {
public:
    States() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}
    void apply(osg::Node& node) override {
        if (osg::StateSet* stateSet = node.getStateSet()) {
            all.insert(stateSet);
            mostParents = std::max(mostParents, stateSet->getNumParents());
        }
        traverse(node);
    }
    void apply(osg::Drawable& drawable) override { apply(static_cast<osg::Node&>(drawable)); }
    std::set<osg::StateSet*> all;
    unsigned mostParents = 0;
};

TEST(PlaceNode, SharesItsStateWithHundredsAndNotWithAllWhichEachThatGoesWouldLookThrough) {
    TestGlobe globe;
    Style style = labelStyle();
    style.get<TextSymbol>()->halo() = Stroke(Color::White);
    const osg::ref_ptr<osg::Image> icon = plainImage(Color::Blue);
    constexpr std::size_t kPlaces = 1000;
    std::vector<osg::ref_ptr<PlaceNode>> nodes;
    States states;
    for (std::size_t i = 0; i < kPlaces; ++i) {
        nodes.push_back(new PlaceNode(place(globe), "label", style, icon));
    }
    for (const auto& node : nodes) {
        node->getChild(0)->accept(states); // its own state is everybody's to change
    }
    EXPECT_LE(states.mostParents, kPlaces / 2);
    EXPECT_LE(states.all.size(), kPlaces / 20);
    nodes.clear();
    EXPECT_EQ(icon->referenceCount(), 1) << "nothing is kept for those that are no more";
}

TEST(PlaceNode, AHaloIsAPixelWideOnEverySideAndBehindTheText) {
    TestGlobe globe;
    Style style = labelStyle();
    const osg::ref_ptr<PlaceNode> node = label(globe, "\xE5\xA1\x8C"); // 塌
    globe.look(1000.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> plain = globe.picture();
    style.get<TextSymbol>()->halo() = Stroke(Color::Blue);
    node->setStyle(style);
    const osg::ref_ptr<osg::Image> haloed = globe.picture();
    keep(*haloed, "place-halo");
    // The ground is bright in all colours; the finest edges of letters are as good as none.
    const auto isInk = [](const osg::Vec3i& p) { return p.y() < 180; };
    const Box text = boxOf(*plain, isInk);
    const Box rim = boxOf(*haloed, isInk);
    EXPECT_NEAR(text.xMin - rim.xMin, 1.5, 0.5);
    EXPECT_NEAR(rim.xMax - text.xMax, 1.5, 0.5);
    EXPECT_NEAR(text.yMin - rim.yMin, 1.5, 0.5);
    EXPECT_NEAR(rim.yMax - text.yMax, 1.5, 0.5);
    const auto isRed = [](const osg::Vec3i& p) { return p.x() > 200 && p.y() < 12 && p.z() < 12; };
    EXPECT_GT(count(*plain, isRed), 20);
    EXPECT_NEAR(count(*haloed, isRed), count(*plain, isRed), 5) << "the text covers it";
}

TEST(PlaceNode, IconStandsOnThePositionAtItsPixelSizeFromAnyDistance) {
    TestGlobe globe;
    label(globe, "", plainImage(osg::Vec4(0.0f, 0.0f, 1.0f, 1.0f), 32));
    for (const double range : {300.0, 5000.0}) {
        globe.look(range, -40.0);
        globe.settle();
        const osg::ref_ptr<osg::Image> image = globe.picture();
        const Box box = boxOf(*image, isBlue);
        const osg::Vec2d position = globe.windowPosition(kLon, kLat);
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
        GeoPoint(globe.mapNode()->getMapSRS(), kLon + 180.0, -kLat, 0.0, ALTMODE_ABSOLUTE)); // antipode
    EXPECT_EQ(count(*globe.picture(), isBlue), 0);
    node->setHorizonCulling(false);
    EXPECT_EQ(count(*globe.picture(), isBlue), 32 * 32);
}

TEST(PlaceNode, IsHiddenBehindAHillUnlessItsStyleSaysNo) {
    TestGlobe globe;
    const auto* srs = globe.mapNode()->getMapSRS();
    osg::ref_ptr<PlaceNode> node =
        new PlaceNode(GeoPoint(srs, kLon - 0.004, kLat, groundHeight(kLon - 0.004, kLat), ALTMODE_ABSOLUTE),
                      "", labelStyle(), plainImage(osg::Vec4(0.0f, 0.0f, 1.0f, 1.0f), 32));
    globe.mapNode()->addChild(node);
    // The ground rises from west to east in the middle of the place; look along it from the east, low.
    osg::Matrixd frame;
    srs->createLocalToWorld(osg::Vec3d(kLon + 0.004, kLat, groundHeight(kLon + 0.004, kLat)), frame);
    globe.viewer().getCamera()->setViewMatrix(osg::Matrixd::inverse(frame) *
                                              osg::Matrixd::lookAt(osg::Vec3d(200.0, 0.0, 4.0),
                                                                   osg::Vec3d(0.0, 0.0, 0.0),
                                                                   osg::Vec3d(0.0, 0.0, 1.0)));
    globe.settle();
    EXPECT_EQ(count(*globe.picture(), isBlue), 0);
    Style seenThrough = labelStyle();
    seenThrough.get<TextSymbol>()->occlusionCull() = false;
    node->setStyle(seenThrough);
    EXPECT_EQ(count(*globe.picture(), isBlue), 32 * 32);
    node->setStyle(labelStyle());
    globe.look(1000.0, -60.0, kLon - 0.004);
    globe.settle();
    EXPECT_EQ(count(*globe.picture(), isBlue), 32 * 32);
}

namespace {

/// Two labels with their icons, close together on the screen; the second one is farther, by degrees.
struct Pair {
    explicit Pair(TestGlobe& globe, bool declutter = true, double farther = 0.0001) {
        Style style = labelStyle();
        style.get<TextSymbol>()->declutter() = declutter;
        for (const double north : {0.0, farther}) {
            const double height = groundHeight(kLon, kLat + north);
            nodes.push_back(new PlaceNode(
                GeoPoint(globe.mapNode()->getMapSRS(), kLon, kLat + north, height, ALTMODE_ABSOLUTE), "A",
                style, plainImage(osg::Vec4(0.0f, 0.0f, 1.0f, 1.0f), 32)));
            globe.mapNode()->addChild(nodes.back());
        }
    }
    std::vector<osg::ref_ptr<PlaceNode>> nodes;
};

} // namespace

TEST(PlaceNode, OfLabelsThatWouldOverlapTheFartherKeepsASmallFadedIconOnly) {
    TestGlobe globe;
    const Pair pair(globe, true, 0.0005);
    globe.look(1000.0, -45.0);
    globe.settle();
    const osg::ref_ptr<osg::Image> image = globe.picture();
    keep(*image, "place-declutter");
    const Box whole = boxOf(*image, isBlue);
    EXPECT_EQ(whole.yMax - whole.yMin + 1, 32);
    const Box faded = boxOf(*image, isFadedBlue);
    EXPECT_EQ(faded.xMax - faded.xMin + 1, 16);
    EXPECT_NEAR(faded.yMax - globe.windowPosition(kLon, kLat + 0.0005).y(), 16.0, 1.5);
    const int letters = count(*image, isReddish);
    EXPECT_GT(letters, 20);
    pair.nodes[1]->setText("");
    EXPECT_EQ(count(*globe.picture(), isReddish), letters) << "the farther text was not drawn";
    pair.nodes[0]->setNodeMask(0u);
    EXPECT_EQ(count(*globe.picture(), isBlue), 32 * 32) << "alone it has its whole icon again";
    pair.nodes[0]->setNodeMask(~0u);
}

TEST(PlaceNode, LabelsKeepTheirTextWhileTheViewMovesUnlessOneOfHigherPriorityComes) {
    TestGlobe globe;
    const Pair pair(globe);
    pair.nodes[0]->setNodeMask(0u);
    globe.look(1000.0, -45.0);
    globe.settle();
    globe.frame();
    pair.nodes[0]->setNodeMask(~0u); // nearer, but the farther one has its text already
    pair.nodes[1]->setText("AAAA");
    for (const double range : {1000.0, 980.0, 1010.0, 1030.0}) {
        globe.look(range, -45.0);
        globe.frame();
        EXPECT_GT(count(*globe.picture(), isReddish), 150) << range;
    }
    pair.nodes[0]->setPriority(1.0f);
    const int one = count(*globe.picture(), isReddish);
    EXPECT_LT(one, 150);
    EXPECT_GT(one, 5);
}

TEST(PlaceNode, WithoutDeclutteringAllTextsAreDrawn) {
    TestGlobe globe;
    const Pair pair(globe, false);
    globe.look(1000.0, -45.0);
    globe.settle();
    const int both = count(*globe.picture(), isReddish);
    pair.nodes[1]->setText("");
    EXPECT_GT(both, count(*globe.picture(), isReddish));
}

TEST(PlaceNode, RelativePositionsStandOnTheGround) {
    TestGlobe globe;
    const osg::ref_ptr<PlaceNode> node = label(globe, "");
    node->setPosition(GeoPoint(globe.mapNode()->getMapSRS(), kLon, kLat, 5.0, ALTMODE_RELATIVE));
    globe.look(600.0);
    globe.settle();
    osg::Vec3d world;
    ASSERT_TRUE(place(globe, 5.0).toWorld(world));
    EXPECT_LT((osg::Vec3d(node->getBound().center()) - world).length(), 3.0);
}
