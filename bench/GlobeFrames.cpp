// How long frames of the globe take over a project's newest epoch, with more and more on it, and what a pick
// adds.
//   bench_globe_frames PROJECT-FOLDER [OVERLAYS...]
// All figures of one run are comparable: every row flies the same path, in the same window of 1024 by 768.
#include "tests/globe/OffscreenGlobe.h"

#include <osgEarth/ElevationQuery>
#include <osgEarth/GeoData>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/Color>
#include <osgEarthSymbology/Geometry>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/Style>
#include <osgEarthUtil/RTTPicker>

#include <gdal_priv.h>

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using osgEarth::Viewpoint;
namespace Annotation = osgEarth::Annotation;
namespace Symbology = osgEarth::Symbology;

constexpr int kFrames = 60;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double peakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

struct Percentiles {
    double median = 0.0;
    double high = 0.0; ///< 95th
    double worst = 0.0;
};

Percentiles percentiles(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t last = values.size() - 1;
    return {values[last / 2], values[last * 95 / 100], values[last]};
}

/// Degrees.
struct Corridor {
    double west = 0.0, south = 0.0, east = 0.0, north = 0.0;
    double height = 0.0;
    double lon(double share) const { return west + (east - west) * share; }
    double lat(double share) const { return south + (north - south) * share; }
    /// Longitude and latitude of one of `count` places spread evenly in rows along the corridor.
    std::pair<double, double> place(int index, int count, int rows) const {
        return {lon((index / rows + 0.5) / (double(count) / rows)), lat((index % rows + 0.5) / rows)};
    }
};

Corridor corridorOf(const std::string& dsm) {
    const GDALDatasetUniquePtr raster(GDALDataset::Open(dsm.c_str(), GDAL_OF_RASTER));
    double transform[6];
    raster->GetGeoTransform(transform);
    const double right = transform[0] + transform[1] * raster->GetRasterXSize();
    const double bottom = transform[3] + transform[5] * raster->GetRasterYSize();
    char* wkt = nullptr;
    raster->GetSpatialRef()->exportToWkt(&wkt);
    const auto srs = osgEarth::SpatialReference::get(wkt);
    CPLFree(wkt);
    const osgEarth::GeoPoint lower =
        osgEarth::GeoPoint(srs, transform[0], bottom).transform(srs->getGeographicSRS());
    const osgEarth::GeoPoint upper =
        osgEarth::GeoPoint(srs, right, transform[3]).transform(srs->getGeographicSRS());
    float height = 0.0F;
    if (raster->GetRasterBand(1)->RasterIO(GF_Read, raster->GetRasterXSize() / 2,
                                           raster->GetRasterYSize() / 2, 1, 1, &height, 1, 1, GDT_Float32, 0,
                                           0) != CE_None) {
        height = 0.0F;
    }
    return {lower.x(), lower.y(), upper.x(), upper.y(), double{height}};
}

/// Along the corridor, low and looking ahead: most of what lies on the corridor is out of view.
Viewpoint lowView(const Corridor& corridor, double share) {
    return Viewpoint("", corridor.lon(0.1 + 0.8 * share), corridor.lat(0.5), corridor.height, 90.0, -35.0,
                     350.0);
}

/// Over the whole corridor, turning: everything on it is in view.
Viewpoint highView(const Corridor& corridor, double share) {
    return Viewpoint("", corridor.lon(0.5), corridor.lat(0.5), corridor.height, 60.0 * share, -60.0, 6000.0);
}

using Path = Viewpoint (*)(const Corridor&, double);

std::vector<double> fly(globetest::OffscreenGlobe& globe, const Corridor& corridor, Path path) {
    std::vector<double> milliseconds;
    for (int i = 0; i < kFrames; ++i) {
        globe.manipulator()->setViewpoint(path(corridor, double(i) / kFrames));
        const auto start = Clock::now();
        globe.frame();
        milliseconds.push_back(millisecondsSince(start));
    }
    return milliseconds;
}

/// Flown twice before, so that all tiles are there.
Percentiles flyWarm(globetest::OffscreenGlobe& globe, const Corridor& corridor, Path path) {
    fly(globe, corridor, path);
    globe.settle();
    fly(globe, corridor, path);
    globe.settle();
    return percentiles(fly(globe, corridor, path));
}

osg::ref_ptr<osg::Image> overlayPicture(int shade) {
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(64, 64, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    unsigned char* pixel = image->data();
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x, pixel += 4) {
            pixel[0] = 220;
            pixel[1] = static_cast<unsigned char>(shade % 200);
            pixel[2] = 60;
            pixel[3] = (x - 32) * (x - 32) + (y - 32) * (y - 32) < 900 ? 200 : 0;
        }
    }
    return image;
}

/// Spread evenly over the corridor, each 4 m wide with a picture of its own, as anomalies have.
osg::ref_ptr<osg::Group> overlays(osgEarth::MapNode* mapNode, const Corridor& corridor, int count) {
    osg::ref_ptr<osg::Group> group = new osg::Group;
    const int rows = 25;
    const double half = 2.0 / 111000.0;
    for (int i = 0; i < count; ++i) {
        const auto [lon, lat] = corridor.place(i, count, rows);
        osg::ref_ptr<Annotation::ImageOverlay> overlay =
            new Annotation::ImageOverlay(mapNode, overlayPicture(i));
        overlay->setBounds(osgEarth::Bounds(lon - half, lat - half, lon + half, lat + half));
        group->addChild(overlay);
    }
    return group;
}

osg::ref_ptr<osg::Group> features(osgEarth::MapNode* mapNode, const Corridor& corridor, int count) {
    Symbology::Style style;
    style.getOrCreate<Symbology::PolygonSymbol>()->fill()->color() = Symbology::Color(1.0F, 0.8F, 0.0F, 0.4F);
    style.getOrCreate<Symbology::LineSymbol>()->stroke()->color() = Symbology::Color::Yellow;
    style.getOrCreate<Symbology::AltitudeSymbol>()->clamping() = Symbology::AltitudeSymbol::CLAMP_TO_TERRAIN;
    style.getOrCreate<Symbology::AltitudeSymbol>()->technique() = Symbology::AltitudeSymbol::TECHNIQUE_DRAPE;
    osg::ref_ptr<osg::Group> group = new osg::Group;
    const int rows = 10;
    const double half = 10.0 / 111000.0;
    for (int i = 0; i < count; ++i) {
        const auto [lon, lat] = corridor.place(i, count, rows);
        osg::ref_ptr<Symbology::Polygon> ring = new Symbology::Polygon;
        for (int corner = 0; corner < 8; ++corner) {
            const double angle = corner * osg::PI / 4.0;
            ring->push_back(lon + half * std::cos(angle), lat + half * std::sin(angle));
        }
        osg::ref_ptr<Annotation::FeatureNode> node =
            new Annotation::FeatureNode(new osgEarth::Features::Feature(ring, mapNode->getMapSRS()), style);
        node->setMapNode(mapNode);
        group->addChild(node);
        osg::ref_ptr<Annotation::PlaceNode> label = new Annotation::PlaceNode(
            osgEarth::GeoPoint(mapNode->getMapSRS(), lon, lat, 0.0, osgEarth::ALTMODE_RELATIVE),
            std::to_string(i));
        label->setMapNode(mapNode);
        group->addChild(label);
    }
    return group;
}

class CountingCallback : public osgEarth::Util::RTTPicker::Callback {
public:
    void onHit(osgEarth::ObjectID /*id*/) override { ++answers; }
    void onMiss() override { ++answers; }
    bool accept(const osgGA::GUIEventAdapter& event, const osgGA::GUIActionAdapter&) override {
        return event.getEventType() == osgGA::GUIEventAdapter::MOVE;
    }
    int answers = 0;
};

void printRow(const char* what, const Percentiles& frames, double base) {
    std::printf("%-46s %8.2f %8.2f %8.2f %8.2f\n", what, frames.median, frames.high, frames.worst,
                frames.median / base);
}

/// Frames in which a pick is under way, in the low view.
Percentiles flyPicking(globetest::OffscreenGlobe& globe, const Corridor& corridor) {
    osg::ref_ptr<osgEarth::Util::RTTPicker> picker = new osgEarth::Util::RTTPicker(256);
    picker->addChild(globe.mapNode());
    globe.viewer().addEventHandler(picker);
    osg::ref_ptr<CountingCallback> callback = new CountingCallback;
    std::vector<double> milliseconds;
    for (int i = 0; i < kFrames; ++i) {
        globe.manipulator()->setViewpoint(lowView(corridor, double(i) / kFrames));
        picker->pick(&globe.viewer(), 512.0F, 384.0F, callback);
        const auto start = Clock::now();
        globe.frame();
        milliseconds.push_back(millisecondsSince(start));
    }
    globe.frame();
    std::printf("%-46s %d of %d\n", "picks answered within the next frame", callback->answers, kFrames);
    globe.viewer().removeEventHandler(picker);
    return percentiles(milliseconds);
}

/// From a movement of the pointer to the answer about what is under it, in a view that rests.
Percentiles movePointer(globetest::OffscreenGlobe& globe, const Corridor& corridor) {
    osg::ref_ptr<osgEarth::Util::RTTPicker> picker = new osgEarth::Util::RTTPicker(256);
    picker->addChild(globe.mapNode());
    globe.viewer().addEventHandler(picker);
    osg::ref_ptr<CountingCallback> callback = new CountingCallback;
    picker->setDefaultCallback(callback);
    globe.manipulator()->setViewpoint(lowView(corridor, 0.5));
    globe.settle();
    std::vector<double> milliseconds;
    for (int i = 0; i < kFrames; ++i) {
        const int before = callback->answers;
        const auto start = Clock::now();
        globe.viewer().getEventQueue()->mouseMotion(200.0F + 5.0F * static_cast<float>(i), 384.0F);
        while (callback->answers == before) {
            globe.frame();
        }
        milliseconds.push_back(millisecondsSince(start));
    }
    globe.viewer().removeEventHandler(picker);
    return percentiles(milliseconds);
}

void measureJump(globetest::OffscreenGlobe& globe, const Corridor& corridor) {
    globe.manipulator()->setViewpoint(Viewpoint("", 0.0, 0.0, 0.0, 0.0, -90.0, 2.0e7));
    globe.settle();
    globe.manipulator()->setViewpoint(lowView(corridor, 0.5));
    const auto start = Clock::now();
    globe.settle();
    std::printf("%-46s %8.2f\n", "complete picture after a jump from space, s",
                millisecondsSince(start) / 1000.0);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_globe_frames PROJECT-FOLDER [OVERLAYS...]\n");
        return 2;
    }
    std::vector<int> counts;
    for (int i = 2; i < argc; ++i) {
        counts.push_back(std::atoi(argv[i]));
    }
    if (counts.empty()) {
        counts = {1000, 10000};
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // rows appear as they are measured
    std::string epoch;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(argv[1]) + "/epochs")) {
        epoch = std::max(epoch, entry.path().string());
    }
    GDALAllRegister();
    globetest::OffscreenGlobe globe(1024, 768);
    if (!globe.isUsable()) {
        std::fprintf(stderr, "no GL context\n");
        return 1;
    }
    globe.addImage("orthophoto", epoch + "/dom.tif");
    globe.addElevation("surface", epoch + "/dsm.tif");
    const Corridor corridor = corridorOf(epoch + "/dsm.tif");
    osgEarth::MapNode* mapNode = globe.mapNode();

    measureJump(globe, corridor);
    std::printf("%-46s %8s %8s %8s %8s\n", "frame, ms", "median", "95 %", "worst", "ratio");
    const Percentiles paging = percentiles(fly(globe, corridor, lowView));
    globe.settle();
    const Percentiles low = flyWarm(globe, corridor, lowView);
    const Percentiles high = flyWarm(globe, corridor, highView);
    printRow("low path, tiles still loading", paging, low.median);
    printRow("low path", low, low.median);
    printRow("high path", high, high.median);
    for (const int count : counts) {
        const auto start = Clock::now();
        osg::ref_ptr<osg::Group> group = overlays(mapNode, corridor, count);
        mapNode->addChild(group);
        globe.frame();
        const double added = millisecondsSince(start);
        const std::string name = std::to_string(count) + " overlays, ";
        printRow((name + "low path (most out of view)").c_str(), flyWarm(globe, corridor, lowView),
                 low.median);
        printRow((name + "high path (all in view)").c_str(), flyWarm(globe, corridor, highView), high.median);
        std::printf("%-46s %8.2f\n", (name + "made and added, s").c_str(), added / 1000.0);
        if (count == counts.back()) {
            const double resting = flyWarm(globe, corridor, lowView).median;
            printRow((name + "low path, a pick each frame").c_str(), flyPicking(globe, corridor), resting);
            printRow((name + "pointer to answer").c_str(), movePointer(globe, corridor), resting);
        }
        mapNode->removeChild(group);
    }
    osg::ref_ptr<osg::Group> group = features(mapNode, corridor, 1000);
    mapNode->addChild(group);
    printRow("1000 areas with labels, low path", flyWarm(globe, corridor, lowView), low.median);
    printRow("1000 areas with labels, high path", flyWarm(globe, corridor, highView), high.median);
    std::printf("%-46s %8.0f\n", "peak memory, MB", peakMegabytes());
    return 0;
}
