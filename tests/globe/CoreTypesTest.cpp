// Values: optional, units, bounds, viewpoints, tile keys and profiles.
#include <osgEarth/Bounds>
#include <osgEarth/Profile>
#include <osgEarth/Registry>
#include <osgEarth/TileKey>
#include <osgEarth/Units>
#include <osgEarth/Version>
#include <osgEarth/Viewpoint>
#include <osgEarth/optional>

#include <gtest/gtest.h>

using namespace osgEarth;

TEST(Optional, AnswersWithItsDefaultUntilSet) {
    optional<float> value(3.0F);
    EXPECT_FALSE(value.isSet());
    EXPECT_EQ(value.get(), 3.0F);
    value = 5.0F;
    EXPECT_TRUE(value.isSetTo(5.0F));
    value.unset();
    EXPECT_FALSE(value.isSet());
    EXPECT_EQ(value.get(), 3.0F);
    EXPECT_EQ(value.getOrUse(7.0F), 7.0F);
}

TEST(Optional, WritingAccessCountsAsSetting) {
    optional<std::string> value;
    value->append("x");
    EXPECT_TRUE(value.isSet());
    optional<Distance> distance(Distance(1.0, Units::METERS));
    distance.mutable_value();
    EXPECT_TRUE(distance.isSet());
}

TEST(Optional, TakesOneImplicitConversion) {
    optional<Distance> bias;
    bias = 100.0;
    EXPECT_DOUBLE_EQ(bias->as(Units::KILOMETERS), 0.1);
}

TEST(Units, ConvertWithinATypeOnly) {
    EXPECT_DOUBLE_EQ(Units::convert(Units::KILOMETERS, Units::METERS, 1.5), 1500.0);
    EXPECT_NEAR(Units::convert(Units::DEGREES, Units::RADIANS, 180.0), osg::PI, 1e-12);
    EXPECT_FALSE(Units::METERS.canConvert(Units::DEGREES));
    const Distance sum = Distance(1.0, Units::KILOMETERS) + Distance(1.0, Units::METERS);
    EXPECT_DOUBLE_EQ(sum.as(Units::METERS), 1001.0);
    EXPECT_TRUE(Distance(1000.0, Units::METERS) == Distance(1.0, Units::KILOMETERS));
}

TEST(Bounds, AreInvalidWhenEmptyAndInclusiveOtherwise) {
    Bounds box;
    EXPECT_FALSE(box.isValid());
    EXPECT_FALSE(box.contains(0.0, 0.0));
    box.expandBy(1.0, 2.0);
    box.expandBy(3.0, 6.0);
    EXPECT_TRUE(box.isValid());
    EXPECT_TRUE(box.contains(1.0, 2.0));
    EXPECT_TRUE(box.contains(3.0, 6.0));
    EXPECT_FALSE(box.contains(3.1, 6.0));
    EXPECT_DOUBLE_EQ(box.width(), 2.0);
    EXPECT_DOUBLE_EQ(box.height(), 4.0);
    EXPECT_EQ(box.center(), osg::Vec3d(2.0, 4.0, 0.0));
}

TEST(Bounds, OfFourNumbersReachThroughAllHeights) {
    const Bounds box(1.0, 2.0, 3.0, 4.0);
    EXPECT_EQ(box.zMin(), -DBL_MAX);
    EXPECT_EQ(box.zMax(), DBL_MAX);
    EXPECT_TRUE(box.contains(Bounds(1.5, 2.5, 2.0, 3.0)));
    EXPECT_FALSE(box.contains(Bounds(1.5, 2.5, 3.5, 3.0)));
}

TEST(Viewpoint, IsUnsetAtFirstAndHasDefaults) {
    Viewpoint viewpoint;
    EXPECT_FALSE(viewpoint.isValid());
    EXPECT_FALSE(viewpoint.pitch().isSet());
    EXPECT_EQ(viewpoint.getHeading(), 0.0);
    EXPECT_EQ(viewpoint.getPitch(), -30.0);
    EXPECT_EQ(viewpoint.getRange(), 10000.0);
    viewpoint.setPitch(-90.0);
    EXPECT_TRUE(viewpoint.pitch().isSet());
    const Viewpoint place("a", 108.0, 34.0, 450.0, 10.0, -45.0, 1500.0);
    EXPECT_TRUE(place.isValid());
    EXPECT_TRUE(place.focalPoint()->isAbsolute());
}

TEST(Profile, GlobalGeodeticHasTwoTilesAtLevelZero) {
    const Profile* profile = Registry::instance()->getGlobalGeodeticProfile();
    unsigned wide = 0;
    unsigned high = 0;
    profile->getNumTiles(3, wide, high);
    EXPECT_EQ(wide, 16U);
    EXPECT_EQ(high, 8U);
    EXPECT_EQ(profile->getLevelOfDetailForHorizResolution(0.0, 256), 23U);
    EXPECT_EQ(profile->getLevelOfDetailForHorizResolution(180.0 / 256.0, 256), 0U);
    EXPECT_EQ(profile->getLevelOfDetailForHorizResolution(180.0 / 256.0 / 8.0, 256), 3U);
}

TEST(TileKey, SharesItsEdgesWithItsNeighbours) {
    const Profile* profile = Registry::instance()->getGlobalGeodeticProfile();
    const GeoExtent here = TileKey(17, 210000, 40000, profile).getExtent();
    EXPECT_EQ(here.east(), TileKey(17, 210001, 40000, profile).getExtent().west());
    EXPECT_EQ(here.south(), TileKey(17, 210000, 40001, profile).getExtent().north());
    EXPECT_EQ(here.north(), TileKey(16, 105000, 20000, profile).getExtent().north());
    EXPECT_EQ(TileKey(16, 105000, 20000, profile).createChildKey(3).str(), "17/210001/40001");
}

TEST(Version, ReportsTheInterfaceItOffers) {
    EXPECT_TRUE(OSGEARTH_MIN_VERSION_REQUIRED(2, 10, 0));
    EXPECT_FALSE(OSGEARTH_MIN_VERSION_REQUIRED(3, 0, 0));
}
