// Reference systems and points, against PROJ's and GDAL's own answers.
#include <osgEarth/GeoData>
#include <osgEarth/SpatialReference>
#include <osgEarth/Terrain>

#include <gtest/gtest.h>
#include <ogr_spatialref.h>

#include <atomic>
#include <thread>

using namespace osgEarth;

namespace {

// The answer of GDAL itself, with x east and y north.
osg::Vec3d askGdal(const std::string& from, const std::string& to, const osg::Vec3d& point) {
    OGRSpatialReference source;
    OGRSpatialReference target;
    source.SetFromUserInput(from.c_str());
    target.SetFromUserInput(to.c_str());
    source.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    target.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    const std::unique_ptr<OGRCoordinateTransformation> transformation(
        OGRCreateCoordinateTransformation(&source, &target));
    osg::Vec3d out = point;
    EXPECT_TRUE(transformation->Transform(1, &out.x(), &out.y(), &out.z()));
    return out;
}

class FlatGround : public TerrainResolver {
public:
    bool getHeight(const SpatialReference*, double x, double, double* msl, double* hae) const override {
        if (x > 170.0) {
            return false;
        }
        for (double* out : {msl, hae}) {
            if (out) {
                *out = 400.0;
            }
        }
        return true;
    }
};

} // namespace

TEST(SpatialReference, SharesOneObjectPerDefinition) {
    EXPECT_EQ(SpatialReference::create("epsg:4545"), SpatialReference::get("epsg:4545"));
    EXPECT_NE(SpatialReference::create("EPSG:4326"), nullptr);
    EXPECT_TRUE(SpatialReference::create("WGS84")->isEquivalentTo(SpatialReference::create("epsg:4326")));
    EXPECT_TRUE(SpatialReference::get("spherical-mercator")
                    ->isHorizEquivalentTo(SpatialReference::get("epsg:900913")));
}

TEST(SpatialReference, RefusesUnusableDefinitions) {
    EXPECT_EQ(SpatialReference::create(""), nullptr);
    EXPECT_EQ(SpatialReference::create("nonsense"), nullptr);
    EXPECT_EQ(SpatialReference::create("epsg:999999"), nullptr);
}

TEST(SpatialReference, AcceptsEveryKindOfDefinition) {
    for (const char* name : {"wgs84", "spherical-mercator", "world-mercator", "plate-carre", "plate-carree",
                             "+proj=utm +zone=49 +datum=WGS84", "epsg:3785", "epsg:102113",
                             "urn:ogc:def:crs:EPSG::4545", "EPSG:4545"}) {
        EXPECT_NE(SpatialReference::create(name), nullptr) << name;
    }
    const std::string wkt = SpatialReference::get("epsg:4545")->getWKT();
    EXPECT_NE(SpatialReference::create(wkt), nullptr);
}

TEST(SpatialReference, KnowsItsKind) {
    const SpatialReference* wgs84 = SpatialReference::get("wgs84");
    EXPECT_TRUE(wgs84->isGeographic());
    EXPECT_FALSE(wgs84->isProjected());
    EXPECT_TRUE(wgs84->getUnits() == Units::DEGREES);
    const SpatialReference* gauss = SpatialReference::get("epsg:4545");
    EXPECT_TRUE(gauss->isProjected());
    EXPECT_TRUE(gauss->getUnits() == Units::METERS);
    EXPECT_TRUE(gauss->getGeographicSRS()->isGeographic());
    EXPECT_TRUE(wgs84->getGeocentricSRS()->isGeocentric());
    EXPECT_EQ(wgs84->getGeographicSRS(), wgs84);
}

TEST(SpatialReference, PutsEastFirstEvenWhereTheAuthorityDoesNot) {
    // EPSG:4545 is north-east by its authority.
    osg::Vec3d out;
    ASSERT_TRUE(SpatialReference::get("wgs84")->transform(osg::Vec3d(108.9, 34.3, 0.0),
                                                          SpatialReference::get("epsg:4545"), out));
    EXPECT_NEAR(out.x(), 582800.0, 2000.0);
    EXPECT_NEAR(out.y(), 3797000.0, 2000.0);
    const SpatialReference* fromWkt = SpatialReference::create(SpatialReference::get("epsg:4545")->getWKT());
    osg::Vec3d again;
    ASSERT_TRUE(SpatialReference::get("wgs84")->transform(osg::Vec3d(108.9, 34.3, 0.0), fromWkt, again));
    EXPECT_EQ(out, again);
}

TEST(SpatialReference, AgreesWithGdalOnEveryPair) {
    const char* systems[] = {"EPSG:4326", "EPSG:4490", "EPSG:4545", "EPSG:32649", "EPSG:3857", "EPSG:4547"};
    for (const char* from : systems) {
        for (const char* to : systems) {
            const osg::Vec3d start = askGdal("EPSG:4326", from, osg::Vec3d(109.35, 33.71, 0.0));
            osg::Vec3d out;
            ASSERT_TRUE(SpatialReference::get(from)->transform(start, SpatialReference::get(to), out))
                << from << to;
            const osg::Vec3d expected = askGdal(from, to, start);
            EXPECT_NEAR((out - expected).length(), 0.0, 1e-9 * std::max(1.0, expected.length()))
                << from << to;
        }
    }
}

TEST(SpatialReference, ConvertsToGeocentricAsProjDoes) {
    const SpatialReference* wgs84 = SpatialReference::get("wgs84");
    const osg::Vec3d places[] = {
        {108.9, 34.3, 450.0}, {0.0, 0.0, 0.0}, {-179.9, -89.5, 12000.0}, {10.0, 80.0, -300.0}};
    for (const osg::Vec3d& place : places) {
        const osg::Vec3d expected = askGdal("EPSG:4979", "EPSG:4978", place);
        osg::Vec3d world;
        ASSERT_TRUE(wgs84->transformToWorld(place, world));
        EXPECT_NEAR((world - expected).length(), 0.0, 1e-6);
        osg::Vec3d back;
        double height = 0.0;
        ASSERT_TRUE(wgs84->transformFromWorld(world, back, &height));
        EXPECT_NEAR(back.x(), place.x(), 1e-11);
        EXPECT_NEAR(back.y(), place.y(), 1e-11);
        EXPECT_NEAR(height, place.z(), 1e-6);
        osg::Vec3d viaTransform;
        ASSERT_TRUE(wgs84->transform(place, wgs84->getGeocentricSRS(), viaTransform));
        EXPECT_NEAR((viaTransform - expected).length(), 0.0, 1e-6);
        ASSERT_TRUE(
            wgs84->getGeocentricSRS()->transform(viaTransform, SpatialReference::get("epsg:4326"), back));
        EXPECT_NEAR(back.y(), place.y(), 1e-10);
    }
}

TEST(SpatialReference, TakesAnyWorldPoint) {
    osg::Vec3d out;
    EXPECT_TRUE(
        SpatialReference::get("wgs84")->transformFromWorld(osg::Vec3d(-9999999, -9999999, -9999999), out));
    EXPECT_NEAR(out.x(), -135.0, 1e-6);
    EXPECT_TRUE(std::isfinite(out.y()) && std::isfinite(out.z()));
    EXPECT_TRUE(SpatialReference::get("wgs84")->transformFromWorld(osg::Vec3d(), out));
    EXPECT_TRUE(std::isfinite(out.x()) && std::isfinite(out.y()) && std::isfinite(out.z()));
}

TEST(SpatialReference, LeavesTheOutputAloneOnFailure) {
    osg::Vec3d out(1.0, 2.0, 3.0);
    EXPECT_FALSE(SpatialReference::get("wgs84")->transform(osg::Vec3d(), nullptr, out));
    EXPECT_EQ(out, osg::Vec3d(1.0, 2.0, 3.0));
    // The antipode of a transverse Mercator zone has no coordinates in it.
    EXPECT_FALSE(SpatialReference::get("wgs84")->transform(osg::Vec3d(-1.0, 0.0, 0.0),
                                                           SpatialReference::get("epsg:32646"), out));
    EXPECT_EQ(out, osg::Vec3d(1.0, 2.0, 3.0));
    std::vector<osg::Vec3d> points = {osg::Vec3d(93.0, 10.0, 0.0), osg::Vec3d(-87.0, 0.0, 0.0)};
    const auto before = points;
    if (!SpatialReference::get("wgs84")->transform(points, SpatialReference::get("epsg:32646"))) {
        EXPECT_EQ(points, before);
    }
}

TEST(SpatialReference, ConvertsInBulkAsOneByOne) {
    const SpatialReference* wgs84 = SpatialReference::get("wgs84");
    const SpatialReference* gauss = SpatialReference::get("epsg:4545");
    std::vector<osg::Vec3d> points;
    for (int i = 0; i < 1000; ++i) {
        points.emplace_back(107.0 + i * 0.003, 33.0 + i * 0.002, i);
    }
    auto bulk = points;
    ASSERT_TRUE(wgs84->transform(bulk, gauss));
    for (std::size_t i = 0; i < points.size(); ++i) {
        osg::Vec3d single;
        ASSERT_TRUE(wgs84->transform(points[i], gauss, single));
        EXPECT_EQ(single, bulk[i]);
    }
}

TEST(SpatialReference, AnswersManyThreadsAtOnce) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    const osg::Vec3d expected = askGdal("EPSG:4326", "EPSG:4545", osg::Vec3d(108.9, 34.3, 0.0));
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                osg::Vec3d out;
                const bool done = SpatialReference::get("wgs84")->transform(
                    osg::Vec3d(108.9, 34.3, 0.0), SpatialReference::get("epsg:4545"), out);
                wrong += !done || (out - expected).length() > 1e-6 ? 1 : 0;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST(SpatialReference, GivesAnEastNorthUpFrame) {
    const SpatialReference* wgs84 = SpatialReference::get("wgs84");
    osg::Matrixd frame;
    ASSERT_TRUE(wgs84->createLocalToWorld(osg::Vec3d(108.9, 34.3, 100.0), frame));
    osg::Vec3d local;
    ASSERT_TRUE(wgs84->transformFromWorld(osg::Vec3d(0.0, 10.0, 5.0) * frame, local));
    EXPECT_NEAR(local.x(), 108.9, 1e-9);
    EXPECT_GT(local.y(), 34.3);
    EXPECT_NEAR(local.z(), 105.0, 1e-4);
    osg::Matrixd back;
    ASSERT_TRUE(wgs84->createWorldToLocal(osg::Vec3d(108.9, 34.3, 100.0), back));
    EXPECT_NEAR((osg::Vec3d(1.0, 2.0, 3.0) * frame * back - osg::Vec3d(1.0, 2.0, 3.0)).length(), 0.0, 1e-7);
}

TEST(GeoPoint, DefaultsToTheModeItsConstructorImplies) {
    const SpatialReference* wgs84 = SpatialReference::get("wgs84");
    EXPECT_FALSE(GeoPoint().isValid());
    EXPECT_TRUE(GeoPoint(wgs84, 1.0, 2.0).isRelative());
    EXPECT_TRUE(GeoPoint(wgs84, 1.0, 2.0, 3.0).isAbsolute());
    EXPECT_TRUE(GeoPoint(wgs84, osg::Vec3d(1.0, 2.0, 3.0)).isAbsolute());
    EXPECT_FALSE(GeoPoint() == GeoPoint());
    EXPECT_TRUE(GeoPoint(wgs84, 1.0, 2.0, 3.0) ==
                GeoPoint(SpatialReference::get("epsg:4326"), 1.0, 2.0, 3.0));
    EXPECT_TRUE(GeoPoint(wgs84, 1.0, 2.0, 0.0) != GeoPoint(wgs84, 1.0, 2.0));
}

TEST(GeoPoint, NeedsTheTerrainForARelativeHeight) {
    const FlatGround ground;
    GeoPoint point(SpatialReference::get("wgs84"), 108.9, 34.3, 5.0, ALTMODE_RELATIVE);
    osg::Vec3d world(1.0, 1.0, 1.0);
    EXPECT_FALSE(point.toWorld(world));
    EXPECT_EQ(world, osg::Vec3d(1.0, 1.0, 1.0));
    ASSERT_TRUE(point.toWorld(world, &ground));
    GeoPoint back;
    ASSERT_TRUE(back.fromWorld(SpatialReference::get("wgs84"), world));
    EXPECT_NEAR(back.z(), 405.0, 1e-6);
    EXPECT_TRUE(back.isAbsolute());
    ASSERT_TRUE(back.makeRelative(&ground));
    EXPECT_NEAR(back.z(), 5.0, 1e-6);
    GeoPoint unknown(SpatialReference::get("wgs84"), 175.0, 0.0);
    EXPECT_FALSE(unknown.makeAbsolute(&ground));
    EXPECT_TRUE(unknown.isRelative());
}

TEST(GeoPoint, StaysAsItWasWhenAConversionFails) {
    GeoPoint point(SpatialReference::get("wgs84"), 1.0, 2.0, 3.0);
    EXPECT_FALSE(point.fromWorld(nullptr, osg::Vec3d()));
    EXPECT_EQ(point.vec3d(), osg::Vec3d(1.0, 2.0, 3.0));
    EXPECT_FALSE(point.transform(nullptr).isValid());
    EXPECT_FALSE(point.transformInPlace(nullptr));
    EXPECT_TRUE(point.isValid());
}

TEST(GeoPoint, MeasuresDistancesInMetres) {
    const SpatialReference* wgs84 = SpatialReference::get("wgs84");
    EXPECT_NEAR(GeoPoint(wgs84, 0.0, 0.0, 0.0).distanceTo(GeoPoint(wgs84, 0.0, 1.0, 0.0)), 111195.0, 200.0);
    const SpatialReference* gauss = SpatialReference::get("epsg:4545");
    EXPECT_DOUBLE_EQ(GeoPoint(gauss, 500000.0, 0.0, 0.0).distanceTo(GeoPoint(gauss, 500003.0, 4.0, 0.0)),
                     5.0);
}

TEST(GeoExtent, ConvertsItsOutline) {
    const GeoExtent extent(SpatialReference::get("epsg:4545"), 582400.0, 3796800.0, 584448.0, 3797312.0);
    const GeoExtent geographic = extent.transform(SpatialReference::get("wgs84"));
    ASSERT_TRUE(geographic.isValid());
    EXPECT_NEAR(geographic.west(), 108.895, 1e-3);
    EXPECT_TRUE(extent.contains(108.905, 34.2975, SpatialReference::get("wgs84")));
    EXPECT_FALSE(extent.contains(108.8, 34.2975, SpatialReference::get("wgs84")));
    EXPECT_FALSE(GeoExtent(SpatialReference::get("wgs84"), Bounds()).isValid());
    EXPECT_TRUE(geographic.intersects(extent));
}
