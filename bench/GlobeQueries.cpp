// Points per second: reference systems against PROJ called directly, and heights from cached elevation
// layers.
//   bench_globe_queries DSM.tif
#include <osgEarth/ElevationLayer>
#include <osgEarth/ElevationQuery>
#include <osgEarth/GeoData>
#include <osgEarth/Map>
#include <osgEarthDrivers/gdal/GDALOptions>

#include <gdal_priv.h>
#include <proj.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kPoints = 200000;
constexpr int kRuns = 7;

/// Points per second of the fastest run: what disturbs a run only makes it slower.
double fastest(const std::function<void()>& run) {
    double best = 1e30;
    for (int i = 0; i < kRuns; ++i) {
        const auto start = std::chrono::steady_clock::now();
        run();
        best =
            std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return static_cast<double>(kPoints) / best;
}

std::vector<osg::Vec3d> somePoints() {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> lon(116.6, 119.4);
    std::uniform_real_distribution<double> lat(20.0, 45.0);
    std::vector<osg::Vec3d> points;
    for (std::size_t i = 0; i < kPoints; ++i) {
        points.emplace_back(lon(random), lat(random), 0.0);
    }
    return points;
}

double projDirectly(const char* from, const char* to, const std::vector<osg::Vec3d>& points) {
    PJ_CONTEXT* context = proj_context_create();
    PJ* raw = proj_create_crs_to_crs(context, from, to, nullptr);
    PJ* transform = proj_normalize_for_visualization(context, raw);
    const double result = fastest([&] {
        std::vector<osg::Vec3d> copy = points;
        const std::size_t stride = sizeof(osg::Vec3d);
        proj_trans_generic(transform, PJ_FWD, &copy[0].x(), stride, copy.size(), &copy[0].y(), stride,
                           copy.size(), &copy[0].z(), stride, copy.size(), nullptr, 0, 0);
    });
    proj_destroy(transform);
    proj_destroy(raw);
    proj_context_destroy(context);
    return result;
}

void measureTransforms(const char* from, const char* to) {
    const std::vector<osg::Vec3d> points = somePoints();
    const auto source = osgEarth::SpatialReference::get(from);
    const auto target = osgEarth::SpatialReference::get(to);
    const double bulk = fastest([&] {
        std::vector<osg::Vec3d> copy = points;
        source->transform(copy, target);
    });
    const double single = fastest([&] {
        osg::Vec3d out;
        for (const osg::Vec3d& point : points) {
            source->transform(point, target, out);
        }
    });
    const double direct = projDirectly(from, to, points);
    std::printf(
        "%s to %s: PROJ %.2f, in bulk %.2f, one by one %.2f million points a second; time of bulk as a "
        "multiple of PROJ's %.2f\n",
        from, to, direct / 1e6, bulk / 1e6, single / 1e6, direct / bulk);
}

void measureHeights(const std::string& dsm) {
    osg::ref_ptr<osgEarth::Map> map = new osgEarth::Map;
    osgEarth::Drivers::GDALOptions options;
    options.url() = dsm;
    map->addLayer(new osgEarth::ElevationLayer("surface", options));
    const GDALDatasetUniquePtr raster(GDALDataset::Open(dsm.c_str(), GDAL_OF_RASTER));
    double transform[6];
    raster->GetGeoTransform(transform);
    char* wkt = nullptr;
    raster->GetSpatialRef()->exportToWkt(&wkt);
    const auto srs = osgEarth::SpatialReference::get(wkt);
    CPLFree(wkt);

    // Within a stretch of a kilometre, as a tool or a feature would ask.
    std::mt19937 random(2);
    const double cells = std::min(raster->GetRasterXSize(), raster->GetRasterYSize()) / 2.0;
    std::uniform_real_distribution<double> cell(1.0, std::max(2.0, std::min(cells, 4000.0)));
    std::vector<osg::Vec3d> points;
    for (std::size_t i = 0; i < kPoints; ++i) {
        points.emplace_back(transform[0] + cell(random) * transform[1],
                            transform[3] + cell(random) * transform[5], 0.0);
    }
    osgEarth::ElevationQuery query(map);
    const double bulk = fastest([&] { query.getElevations(points, srs); });
    const double single = fastest([&] {
        for (const osg::Vec3d& point : points) {
            query.getElevation(
                osgEarth::GeoPoint(srs, point.x(), point.y(), 0.0, osgEarth::ALTMODE_ABSOLUTE));
        }
    });
    std::printf("heights from cache: in bulk %.0f, one by one %.0f points a millisecond\n", bulk / 1e3,
                single / 1e3);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench_globe_queries DSM.tif\n");
        return 2;
    }
    GDALAllRegister();
    measureTransforms("EPSG:4326", "EPSG:4547");
    measureTransforms("EPSG:4326", "EPSG:3857");
    measureTransforms("EPSG:4326", "EPSG:4978");
    measureHeights(argv[1]);
    return 0;
}
