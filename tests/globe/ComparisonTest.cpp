// A second picture of the ground beside the terrain's own.
#include "OffscreenGlobe.h"
#include "TestRaster.h"

#include <osg/Geometry>
#include <osg/Texture>
#include <osg/observer_ptr>
#include <osgEarth/ImageLayer>
#include <osgEarth/TerrainEngineNode>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using namespace osgEarth;
using namespace globetest;

namespace {

constexpr int kPixels = 64;

std::array<std::uint8_t, 4> red(double, double) {
    return {230, 20, 20, 255};
}

std::array<std::uint8_t, 4> green(double, double) {
    return {20, 230, 20, 255};
}

GeoPoint at(double x, double y) {
    return GeoPoint(SpatialReference::get("epsg:4545"), x, y, 0.0).transform(SpatialReference::get("wgs84"));
}

/// Pictures on other texture units than the first.
class SecondPictures : public osg::NodeVisitor {
public:
    SecondPictures() : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) {}
    void apply(osg::Geometry& geometry) override {
        const osg::StateSet* state = geometry.getStateSet();
        for (unsigned unit = 1; state && unit < state->getTextureAttributeList().size(); ++unit) {
            const auto* attribute = state->getTextureAttribute(unit, osg::StateAttribute::TEXTURE);
            if (attribute) {
                found.emplace_back(const_cast<osg::StateAttribute*>(attribute));
            }
        }
    }
    std::vector<osg::observer_ptr<osg::StateAttribute>> found;
};

/// Red ground that is shown, green ground that is not, and half of the green ground's place.
class Comparison : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_globe.isUsable()) << "these tests need a display (xvfb-run will do)";
        RasterPlace west;
        west.columns /= 2;
        m_globe.addImage("red", writeColours("comparison_red.tif", {}, red));
        m_globe.addImage("green", writeColours("comparison_green.tif", west, green));
        layer("green").setVisible(false);
        lookAt(at(582528.0, 3797056.0));
    }
    ImageLayer& layer(const char* name) {
        return dynamic_cast<ImageLayer&>(*m_globe.map()->getLayerByName(name));
    }
    void lookAt(const GeoPoint& point) {
        m_globe.mapNode();
        m_globe.manipulator()->setViewpoint(Viewpoint("", point.x(), point.y(), 0.0, 0.0, -89.9, 100.0));
        ASSERT_TRUE(m_globe.settle());
    }
    void compare(bool isCompared) {
        layer("red").setVisibleInComparison(isCompared ? std::optional(false) : std::nullopt);
        layer("green").setVisibleInComparison(isCompared ? std::optional(true) : std::nullopt);
    }
    void show(float share, float dividerPixels) {
        m_globe.mapNode()->getTerrainEngine()->setComparison(share, dividerPixels);
        ASSERT_TRUE(m_globe.settle());
    }
    osg::Vec4 colour(unsigned x) { return m_globe.picture()->getColor(x, unsigned{kPixels / 2}); }
    std::vector<osg::observer_ptr<osg::StateAttribute>> secondPictures() {
        SecondPictures visitor;
        m_globe.mapNode()->getTerrainEngine()->accept(visitor);
        return visitor.found;
    }

    OffscreenGlobe m_globe{kPixels, kPixels};
};

} // namespace

TEST_F(Comparison, IsMixedInAsFarAsTheDivider) {
    compare(true);
    show(0.0F, kPixels);
    EXPECT_LT(colour(10).g(), 0.3F);
    show(1.0F, kPixels / 2.0F);
    EXPECT_GT(colour(10).g(), 0.5F);
    EXPECT_LT(colour(10).r(), 0.3F);
    EXPECT_GT(colour(54).r(), 0.5F);
    EXPECT_LT(colour(54).g(), 0.3F);
    const float full = colour(10).g();
    show(0.5F, kPixels);
    EXPECT_NEAR(colour(10).g(), full / 2.0F, 0.1F);
    EXPECT_NEAR(colour(54).r(), full / 2.0F, 0.1F);
}

TEST_F(Comparison, HasNothingOfWhatItStandsInPlaceOf) {
    lookAt(at(582656.0, 3797056.0)); // the rim of the green ground is in the middle
    compare(true);
    show(1.0F, kPixels);
    EXPECT_GT(colour(10).g(), 0.5F);
    EXPECT_LT(colour(10).r(), 0.3F);
    const osg::Vec4 beyond = colour(54);
    EXPECT_GT(beyond.b(), 0.4F) << "ground without a picture, not the red one";
    layer("green").setOpacity(0.0F);
    ASSERT_TRUE(m_globe.settle());
    EXPECT_NEAR(colour(10).r(), beyond.r(), 0.05F);
    EXPECT_NEAR(colour(10).g(), beyond.g(), 0.05F);
}

TEST_F(Comparison, HoldsNothingWhileNothingIsCompared) {
    EXPECT_TRUE(secondPictures().empty());
    compare(true);
    show(1.0F, kPixels);
    const auto held = secondPictures();
    EXPECT_FALSE(held.empty());
    lookAt(GeoPoint(SpatialReference::get("wgs84"), -60.0, -20.0, 0.0)); // the other side of the Earth
    ASSERT_TRUE(std::any_of(held.begin(), held.end(), [](const auto& picture) { return picture.valid(); }));
    compare(false);
    m_globe.frame();
    EXPECT_TRUE(secondPictures().empty());
    EXPECT_TRUE(std::none_of(held.begin(), held.end(), [](const auto& picture) { return picture.valid(); }));
    lookAt(at(582528.0, 3797056.0));
    EXPECT_TRUE(secondPictures().empty());
    EXPECT_GT(colour(10).r(), 0.5F);

    // Nor are they kept for later.
    compare(true);
    ASSERT_TRUE(m_globe.settle());
    const auto heldAgain = secondPictures();
    EXPECT_FALSE(heldAgain.empty());
    compare(false);
    ASSERT_TRUE(m_globe.settle());
    m_globe.frame();
    EXPECT_TRUE(std::none_of(heldAgain.begin(), heldAgain.end(),
                             [](const auto& picture) { return picture.valid(); }));
}
