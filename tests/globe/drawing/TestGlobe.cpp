#include "TestGlobe.h"
#include "Pictures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <gdal_priv.h>
#include <stdexcept>
#include <unistd.h>

namespace drawingtest {
namespace {

constexpr double Reach = 0.01;
constexpr int Cells = 250;

/// The ground as a raster file, written once per process and removed at its end.
class GroundFile {
public:
    GroundFile()
        : _path(std::filesystem::temp_directory_path() /
                ("globe-ground-" + std::to_string(getpid()) + ".tif")) {
        GDALAllRegister();
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
        GDALDataset* raster = driver->Create(_path.c_str(), Cells, Cells, 1, GDT_Float32, nullptr);
        if (!raster)
            throw std::runtime_error("cannot write " + _path.string());
        const double step = 2.0 * Reach / Cells;
        double transform[6] = {Lon - Reach, step, 0.0, Lat + Reach, 0.0, -step};
        raster->SetGeoTransform(transform);
        OGRSpatialReference wgs84;
        wgs84.SetFromUserInput("EPSG:4326");
        raster->SetSpatialRef(&wgs84);
        std::vector<float> row(Cells);
        for (int y = 0; y < Cells; ++y) {
            for (int x = 0; x < Cells; ++x)
                row[static_cast<std::size_t>(x)] = static_cast<float>(
                    groundHeight(Lon - Reach + (x + 0.5) * step, Lat + Reach - (y + 0.5) * step));
            if (raster->GetRasterBand(1)->RasterIO(GF_Write, 0, y, Cells, 1, row.data(), Cells, 1,
                                                   GDT_Float32, 0, 0) != CE_None)
                throw std::runtime_error("cannot write " + _path.string());
        }
        GDALClose(raster);
    }
    ~GroundFile() {
        std::error_code ignored;
        std::filesystem::remove(_path, ignored);
    }
    std::string path() const { return _path.string(); }

private:
    std::filesystem::path _path;
};

const GroundFile& groundFile() {
    static const GroundFile file;
    return file;
}

std::unique_ptr<globetest::OffscreenGlobe>& globeSlot() {
    static std::unique_ptr<globetest::OffscreenGlobe> slot;
    return slot;
}

/// Lets the globe go before the program's static objects do.
class GlobeRelease : public testing::Environment {
public:
    void TearDown() override { globeSlot().reset(); }
};

const testing::Environment* const release = testing::AddGlobalTestEnvironment(new GlobeRelease);

globetest::OffscreenGlobe& sharedGlobe() {
    std::unique_ptr<globetest::OffscreenGlobe>& slot = globeSlot();
    if (!slot) {
        stayConnected();
        slot = std::make_unique<globetest::OffscreenGlobe>(400, 300);
        if (!slot->isUsable())
            throw std::runtime_error("no graphics context: these tests need a display");
        slot->addElevation("ground", groundFile().path());
        slot->mapNode();
        slot->viewer().setCameraManipulator(nullptr);
    }
    return *slot;
}

} // namespace

double groundHeight(double lonDegrees, double latDegrees) {
    const double x = (lonDegrees - Lon) / Reach;
    const double y = (latDegrees - Lat) / Reach;
    if (std::abs(x) > 1.0 || std::abs(y) > 1.0)
        return 0.0;
    return 80.0 + 40.0 * std::sin(4.0 * x) * std::cos(3.0 * y);
}

TestGlobe::TestGlobe() : _globe(sharedGlobe()), _ownChildren(_globe.mapNode()->getNumChildren()) {
    look(1500.0);
}

TestGlobe::~TestGlobe() {
    osgEarth::MapNode* node = _globe.mapNode();
    node->removeChildren(_ownChildren, node->getNumChildren() - _ownChildren);
    const osgViewer::View::EventHandlers handlers = _globe.viewer().getEventHandlers();
    for (const osg::ref_ptr<osgGA::EventHandler>& handler : handlers)
        _globe.viewer().removeEventHandler(handler);
}

void TestGlobe::look(double rangeMetres, double pitchDegrees, double lonDegrees, double latDegrees) {
    osg::Matrixd frame;
    _globe.mapNode()->getMapSRS()->createLocalToWorld(
        osg::Vec3d(lonDegrees, latDegrees, groundHeight(lonDegrees, latDegrees)), frame);
    const double pitch = osg::DegreesToRadians(pitchDegrees);
    const osg::Vec3d eye(0.0, -std::cos(pitch) * rangeMetres, -std::sin(pitch) * rangeMetres);
    const osg::Vec3d up(0.0, -std::sin(pitch), std::cos(pitch));
    _globe.viewer().getCamera()->setViewMatrix(osg::Matrixd::inverse(frame) *
                                               osg::Matrixd::lookAt(eye, osg::Vec3d(), up));
}

void TestGlobe::settle() {
    EXPECT_TRUE(_globe.settle());
}

osg::ref_ptr<osg::Image> TestGlobe::picture() {
    return nextFrame(_globe.viewer());
}

osg::Vec2d TestGlobe::windowPosition(double lonDegrees, double latDegrees, double metresAboveGround) {
    osg::Vec3d world;
    _globe.mapNode()->getMapSRS()->transformToWorld(
        osg::Vec3d(lonDegrees, latDegrees, groundHeight(lonDegrees, latDegrees) + metresAboveGround), world);
    const osg::Camera& camera = *_globe.viewer().getCamera();
    const osg::Vec3d window = world * camera.getViewMatrix() * camera.getProjectionMatrix() *
                              camera.getViewport()->computeWindowMatrix();
    return {window.x(), window.y()};
}

osg::ref_ptr<osg::Image> plainImage(const osg::Vec4& color, int size) {
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(size, size, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            image->setColor(color, static_cast<unsigned>(x), static_cast<unsigned>(y));
    return image;
}

} // namespace drawingtest
