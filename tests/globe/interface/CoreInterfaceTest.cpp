#include "Offers.h"

#include <gtest/gtest.h>

#include <osgEarth/Bounds>
#include <osgEarth/DepthOffset>
#include <osgEarth/ElevationQuery>
#include <osgEarth/GeoCommon>
#include <osgEarth/GeoData>
#include <osgEarth/Profile>
#include <osgEarth/SpatialReference>
#include <osgEarth/Terrain>
#include <osgEarth/Units>
#include <osgEarth/Viewpoint>

#include <cfloat>

namespace globetest {
namespace {

using namespace osgEarth;

TEST(CoreInterface, Optional) {
    using Text = optional<std::string>;
    static_assert(kMakes<Text> && kMakes<Text, std::string> && kMakes<Text, std::string, std::string>);
    offers<const std::string& (Text::*)(const std::string&)>(&Text::operator=);
    offers<bool (Text::*)() const>(&Text::isSet);
    offers<bool (Text::*)(const std::string&) const>(&Text::isSetTo);
    offers<void (Text::*)()>(&Text::unset);
    offers<void (Text::*)(std::string)>(&Text::init);
    offers<const std::string& (Text::*)() const>(&Text::get);
    offers<const std::string& (Text::*)() const>(&Text::value);
    offers<const std::string& (Text::*)() const>(&Text::defaultValue);
    offers<const std::string& (Text::*)(const std::string&) const>(&Text::getOrUse);
    offers<std::string& (Text::*)()>(&Text::mutable_value);
    offers<std::string* (Text::*)()>(&Text::operator->);
    offers<const std::string* (Text::*)() const>(&Text::operator->);
    const optional<int> two(2);
    EXPECT_TRUE(two == 2 && two != 3 && two < 3 && two <= 2 && two > 1 && two >= 2);
}

TEST(CoreInterface, Units) {
    for (const Units* unit : {&Units::METERS, &Units::KILOMETERS, &Units::CENTIMETERS, &Units::FEET,
                              &Units::MILES, &Units::NAUTICAL_MILES, &Units::DEGREES, &Units::RADIANS,
                              &Units::SECONDS, &Units::MINUTES, &Units::HOURS, &Units::MILLISECONDS,
                              &Units::METERS_PER_SECOND, &Units::KILOMETERS_PER_HOUR, &Units::PIXELS}) {
        offers<const Units*>(unit);
    }
    offers<double (*)(const Units&, const Units&, double)>(&Units::convert);
    offers<bool (Units::*)(const Units&) const>(&Units::canConvert);
    offers<const std::string& (Units::*)() const>(&Units::getName);
    offers<const std::string& (Units::*)() const>(&Units::getAbbr);
    offers<bool (Units::*)(const Units&) const>(&Units::operator==);
    offers<bool (Units::*)(const Units&) const>(&Units::operator!=);
    static_assert(Units::TYPE_LINEAR < Units::TYPE_ANGULAR && Units::TYPE_ANGULAR < Units::TYPE_TEMPORAL &&
                  Units::TYPE_TEMPORAL < Units::TYPE_SPEED && Units::TYPE_SPEED < Units::TYPE_SCREEN_SIZE &&
                  Units::TYPE_SCREEN_SIZE < Units::TYPE_INVALID);
}

template<typename Quantity>
void offersQuantity() {
    static_assert(kMakes<Quantity> && kMakes<Quantity, double> && kMakes<Quantity, double, const Units&>);
    offers<void (Quantity::*)(double, const Units&)>(&Quantity::set);
    offers<double (Quantity::*)() const>(&Quantity::getValue);
    offers<const Units& (Quantity::*)() const>(&Quantity::getUnits);
    offers<double (Quantity::*)(const Units&) const>(&Quantity::as);
    offers<Quantity (Quantity::*)(const Units&) const>(&Quantity::to);
    const Quantity one(1.0);
    const Quantity two = (one + one) * 2.0 / 2.0 - Quantity(0.0);
    EXPECT_TRUE(one == one && one != two && one < two && one <= two && two > one && two >= one);
}

TEST(CoreInterface, Quantities) {
    offersQuantity<Distance>();
    offersQuantity<Angle>();
    offersQuantity<Duration>();
    static_assert(std::is_same_v<Linear, Distance> && std::is_same_v<Angular, Angle> &&
                  std::is_same_v<Temporal, Duration>);
}

TEST(CoreInterface, CommonNames) {
    static_assert(ALTMODE_ABSOLUTE == 0 && ALTMODE_RELATIVE == 1);
    static_assert(GEOINTERP_GREAT_CIRCLE == 0 && GEOINTERP_RHUMB_LINE == 1);
    static_assert(INTERP_AVERAGE < INTERP_NEAREST && INTERP_NEAREST < INTERP_BILINEAR &&
                  INTERP_BILINEAR < INTERP_TRIANGULATE && INTERP_TRIANGULATE < INTERP_CUBIC &&
                  INTERP_CUBIC < INTERP_CUBICSPLINE);
    EXPECT_EQ(NO_DATA_VALUE, -FLT_MAX);
}

TEST(CoreInterface, Bounds) {
    static_assert(std::is_base_of_v<osg::BoundingBoxImpl<osg::Vec3d>, Bounds>);
    static_assert(kMakes<Bounds> && kMakes<Bounds, double, double, double, double>);
    offers<bool (Bounds::*)() const>(&Bounds::isValid);
    offers<bool (Bounds::*)(double, double) const>(&Bounds::contains);
    offers<bool (Bounds::*)(const Bounds&) const>(&Bounds::contains);
    offers<void (Bounds::*)(double, double)>(&Bounds::expandBy);
    offers<void (Bounds::*)(double, double, double)>(&Bounds::expandBy);
    offers<void (Bounds::*)(const Bounds&)>(&Bounds::expandBy);
    offers<double (Bounds::*)() const>(&Bounds::width);
    offers<double (Bounds::*)() const>(&Bounds::height);
    offers<double (Bounds::*)() const>(&Bounds::depth);
    offers<osg::Vec2d (Bounds::*)() const>(&Bounds::center2d);
    static_assert(std::is_same_v<std::decay_t<decltype(Bounds().center())>, osg::Vec3d>);
}

TEST(CoreInterface, SpatialReference) {
    using SRS = SpatialReference;
    static_assert(std::is_base_of_v<osg::Referenced, SRS>);
    static_assert(std::is_same_v<decltype(SRS::create("wgs84")), SRS*>);
    static_assert(std::is_same_v<decltype(SRS::get("wgs84")), SRS*>);
    offers<SRS* (*)(const std::string&, const std::string&)>(&SRS::create);
    offers<SRS* (*)(const std::string&, const std::string&)>(&SRS::get);
    offers<bool (SRS::*)(const osg::Vec3d&, const SRS*, osg::Vec3d&) const>(&SRS::transform);
    offers<bool (SRS::*)(std::vector<osg::Vec3d>&, const SRS*) const>(&SRS::transform);
    offers<bool (SRS::*)(double, double, const SRS*, double&, double&) const>(&SRS::transform2D);
    offers<bool (SRS::*)(const osg::Vec3d&, osg::Vec3d&) const>(&SRS::transformToWorld);
    offers<bool (SRS::*)(const osg::Vec3d&, osg::Vec3d&, double*) const>(&SRS::transformFromWorld);
    for (bool (SRS::* const question)() const : {&SRS::isGeographic, &SRS::isProjected, &SRS::isGeocentric}) {
        offers(question);
    }
    for (const std::string& (SRS::* const text)() const :
         {&SRS::getName, &SRS::getWKT, &SRS::getHorizInitString, &SRS::getVertInitString}) {
        offers(text);
    }
    offers<const osg::EllipsoidModel* (SRS::*)() const>(&SRS::getEllipsoid);
    offers<const Units& (SRS::*)() const>(&SRS::getUnits);
    offers<bool (SRS::*)(const SRS*) const>(&SRS::isEquivalentTo);
    offers<bool (SRS::*)(const SRS*) const>(&SRS::isHorizEquivalentTo);
    for (const SRS* (SRS::* const other)() const :
         {&SRS::getGeographicSRS, &SRS::getGeodeticSRS, &SRS::getGeocentricSRS}) {
        offers(other);
    }
    offers<bool (SRS::*)(const osg::Vec3d&, osg::Matrixd&) const>(&SRS::createLocalToWorld);
    offers<bool (SRS::*)(const osg::Vec3d&, osg::Matrixd&) const>(&SRS::createWorldToLocal);
}

TEST(CoreInterface, GeoPoint) {
    using SRS = const SpatialReference*;
    static_assert(kMakes<GeoPoint> && kMakes<GeoPoint, SRS, double, double> &&
                  kMakes<GeoPoint, SRS, double, double, double> &&
                  kMakes<GeoPoint, SRS, double, double, double, const AltitudeMode&> &&
                  kMakes<GeoPoint, SRS, const osg::Vec3d&> &&
                  kMakes<GeoPoint, SRS, const osg::Vec3d&, const AltitudeMode&>);
    offers<void (GeoPoint::*)(SRS, double, double, double, const AltitudeMode&)>(&GeoPoint::set);
    for (double& (GeoPoint::* const coordinate)() : {static_cast<double& (GeoPoint::*)()>(&GeoPoint::x),
                                                     static_cast<double& (GeoPoint::*)()>(&GeoPoint::y),
                                                     static_cast<double& (GeoPoint::*)()>(&GeoPoint::z),
                                                     static_cast<double& (GeoPoint::*)()>(&GeoPoint::alt)}) {
        offers(coordinate);
    }
    offers<double (GeoPoint::*)() const>(&GeoPoint::x);
    offers<double (GeoPoint::*)() const>(&GeoPoint::y);
    offers<double (GeoPoint::*)() const>(&GeoPoint::z);
    offers<double (GeoPoint::*)() const>(&GeoPoint::alt);
    offers<const osg::Vec3d& (GeoPoint::*)() const>(&GeoPoint::vec3d);
    offers<osg::Vec3d& (GeoPoint::*)()>(&GeoPoint::vec3d);
    offers<SRS (GeoPoint::*)() const>(&GeoPoint::getSRS);
    offers<AltitudeMode& (GeoPoint::*)()>(&GeoPoint::altitudeMode);
    offers<bool (GeoPoint::*)() const>(&GeoPoint::isAbsolute);
    offers<bool (GeoPoint::*)() const>(&GeoPoint::isRelative);
    offers<bool (GeoPoint::*)() const>(&GeoPoint::isValid);
    offers<GeoPoint (GeoPoint::*)(SRS) const>(&GeoPoint::transform);
    offers<bool (GeoPoint::*)(SRS)>(&GeoPoint::transformInPlace);
    offers<bool (GeoPoint::*)()>(&GeoPoint::makeGeographic);
    offers<bool (GeoPoint::*)(const TerrainResolver*)>(&GeoPoint::makeAbsolute);
    offers<bool (GeoPoint::*)(const TerrainResolver*)>(&GeoPoint::makeRelative);
    offers<bool (GeoPoint::*)(osg::Vec3d&) const>(&GeoPoint::toWorld);
    offers<bool (GeoPoint::*)(osg::Vec3d&, const TerrainResolver*) const>(&GeoPoint::toWorld);
    offers<bool (GeoPoint::*)(SRS, const osg::Vec3d&)>(&GeoPoint::fromWorld);
    offers<bool (GeoPoint::*)(osg::Matrixd&) const>(&GeoPoint::createLocalToWorld);
    offers<bool (GeoPoint::*)(osg::Vec3d&) const>(&GeoPoint::createWorldUpVector);
    offers<double (GeoPoint::*)(const GeoPoint&) const>(&GeoPoint::distanceTo);
    offers<bool (GeoPoint::*)(const GeoPoint&) const>(&GeoPoint::operator==);
    offers<bool (GeoPoint::*)(const GeoPoint&) const>(&GeoPoint::operator!=);
}

TEST(CoreInterface, GeoExtent) {
    using SRS = const SpatialReference*;
    static_assert(kMakes<GeoExtent> && kMakes<GeoExtent, SRS, double, double, double, double> &&
                  kMakes<GeoExtent, SRS, const Bounds&>);
    for (double (GeoExtent::* const figure)() const :
         {&GeoExtent::west, &GeoExtent::south, &GeoExtent::east, &GeoExtent::north, &GeoExtent::xMin,
          &GeoExtent::xMax, &GeoExtent::yMin, &GeoExtent::yMax, &GeoExtent::width, &GeoExtent::height}) {
        offers(figure);
    }
    offers<bool (GeoExtent::*)() const>(&GeoExtent::isValid);
    offers<SRS (GeoExtent::*)() const>(&GeoExtent::getSRS);
    offers<bool (GeoExtent::*)(double, double, SRS) const>(&GeoExtent::contains);
    static_assert(std::is_same_v<decltype(std::declval<const GeoExtent&>().contains(0.0, 0.0)), bool>);
    offers<bool (GeoExtent::*)(const GeoPoint&) const>(&GeoExtent::contains);
    offers<Bounds (GeoExtent::*)() const>(&GeoExtent::bounds);
    offers<GeoExtent (GeoExtent::*)(SRS) const>(&GeoExtent::transform);
    offers<void (GeoExtent::*)(double, double)>(&GeoExtent::expandToInclude);
    offers<bool (GeoExtent::*)(const GeoExtent&)>(&GeoExtent::expandToInclude);
}

TEST(CoreInterface, Profile) {
    static_assert(std::is_base_of_v<ConfigOptions, ProfileOptions>);
    static_assert(kMakes<ProfileOptions, const std::string&>);
    offersOption<ProfileOptions, std::string>(&ProfileOptions::namedProfile);
    offersOption<ProfileOptions, std::string>(&ProfileOptions::srsString);
    offersOption<ProfileOptions, Bounds>(&ProfileOptions::bounds);
    using Text = const std::string&;
    offers<const Profile* (*)(Text, double, double, double, double, Text, unsigned, unsigned)>(
        &Profile::create);
    offers<const Profile* (*)(Text, Text, unsigned, unsigned)>(&Profile::create);
    offers<const Profile* (*)(const ProfileOptions&)>(&Profile::create);
    static_assert(std::is_same_v<decltype(Profile::create("wgs84", 0.0, 0.0, 1.0, 1.0)), const Profile*>);
    static_assert(std::is_same_v<decltype(Profile::create("global-geodetic")), const Profile*>);
    offers<const SpatialReference* (Profile::*)() const>(&Profile::getSRS);
    offers<const GeoExtent& (Profile::*)() const>(&Profile::getExtent);
    offers<void (Profile::*)(unsigned, unsigned&, unsigned&) const>(&Profile::getNumTiles);
    offers<unsigned (Profile::*)(double, int) const>(&Profile::getLevelOfDetailForHorizResolution);
}

TEST(CoreInterface, ElevationQuery) {
    static_assert(!std::is_base_of_v<osg::Referenced, ElevationQuery>);
    static_assert(kMakes<ElevationQuery> && kMakes<ElevationQuery, const Map*>);
    using Points = std::vector<osg::Vec3d>&;
    offers<void (ElevationQuery::*)(const Map*)>(&ElevationQuery::setMap);
    offers<float (ElevationQuery::*)(const GeoPoint&, double, double*)>(&ElevationQuery::getElevation);
    offers<bool (ElevationQuery::*)(Points, const SpatialReference*, bool, double)>(
        &ElevationQuery::getElevations);
    std::vector<osg::Vec3d> none;
    ElevationQuery query;
    EXPECT_EQ(query.getElevation(GeoPoint()), NO_DATA_VALUE);
    EXPECT_FALSE(query.getElevations(none, nullptr));
}

TEST(CoreInterface, DepthOffsetOptions) {
    using Options = DepthOffsetOptions;
    offersOption<Options, bool>(&Options::enabled);
    offersOption<Options, Distance>(&Options::minBias);
    offersOption<Options, Distance>(&Options::maxBias);
    offersOption<Options, Distance>(&Options::minRange);
    offersOption<Options, Distance>(&Options::maxRange);
    offersOption<Options, bool>(&Options::automatic);
}

TEST(CoreInterface, Viewpoint) {
    static_assert(kMakes<Viewpoint> &&
                  kMakes<Viewpoint, const char*, double, double, double, double, double, double>);
    offers<bool (Viewpoint::*)() const>(&Viewpoint::isValid);
    offersOption<Viewpoint, std::string>(&Viewpoint::name);
    offersOption<Viewpoint, GeoPoint>(&Viewpoint::focalPoint);
    offersOption<Viewpoint, Angle>(&Viewpoint::heading);
    offersOption<Viewpoint, Angle>(&Viewpoint::pitch);
    offersOption<Viewpoint, Distance>(&Viewpoint::range);
    offersOption<Viewpoint, osg::Vec3d>(&Viewpoint::positionOffset);
    offers<void (Viewpoint::*)(osg::Node*)>(&Viewpoint::setNode);
    offers<bool (Viewpoint::*)(osg::ref_ptr<osg::Node>&) const>(&Viewpoint::getNode);
    offers<bool (Viewpoint::*)() const>(&Viewpoint::nodeIsSet);
    offersProperty<Viewpoint, double>(&Viewpoint::getHeading, &Viewpoint::setHeading);
    offersProperty<Viewpoint, double>(&Viewpoint::getPitch, &Viewpoint::setPitch);
    offersProperty<Viewpoint, double>(&Viewpoint::getRange, &Viewpoint::setRange);
}

} // namespace
} // namespace globetest
