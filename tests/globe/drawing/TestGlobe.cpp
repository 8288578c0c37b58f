#include "TestGlobe.h"
#include "../OffscreenPicture.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <gdal_priv.h>
#include <stdexcept>

namespace drawingtest {
namespace {

constexpr double kReach = 0.01;
constexpr int kCells = 250;

/// The ground as a raster file, written once per process and removed at its end.
class GroundFile {
public:
    GroundFile() {
        GDALAllRegister();
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
        GDALDataset* raster = driver->Create(m_path.c_str(), kCells, kCells, 1, GDT_Float32, nullptr);
        if (!raster) {
            throw std::runtime_error("cannot write " + m_path);
        }
        const double step = 2.0 * kReach / kCells;
        double transform[6] = {kLon - kReach, step, 0.0, kLat + kReach, 0.0, -step};
        raster->SetGeoTransform(transform);
        OGRSpatialReference wgs84;
        wgs84.SetFromUserInput("EPSG:4326");
        raster->SetSpatialRef(&wgs84);
        std::vector<float> row(kCells);
        for (int y = 0; y < kCells; ++y) {
            for (int x = 0; x < kCells; ++x) {
                row[static_cast<std::size_t>(x)] = static_cast<float>(
                    groundHeight(kLon - kReach + (x + 0.5) * step, kLat + kReach - (y + 0.5) * step));
            }
            if (raster->GetRasterBand(1)->RasterIO(GF_Write, 0, y, kCells, 1, row.data(), kCells, 1,
                                                   GDT_Float32, 0, 0) != CE_None) {
                throw std::runtime_error("cannot write " + m_path);
            }
        }
        GDALClose(raster);
    }
    const std::string& path() const { return m_path; }

private:
    const TemporaryFolder m_folder;
    const std::string m_path = m_folder.file("ground.tif");
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

const testing::Environment* const kRelease = testing::AddGlobalTestEnvironment(new GlobeRelease);

globetest::OffscreenGlobe& sharedGlobe() {
    std::unique_ptr<globetest::OffscreenGlobe>& slot = globeSlot();
    if (!slot) {
        globetest::stayConnected();
        slot = std::make_unique<globetest::OffscreenGlobe>(400, 300);
        if (!slot->isUsable()) {
            throw std::runtime_error("no graphics context: these tests need a display");
        }
        slot->addElevation("ground", groundFile().path());
        slot->mapNode();
        slot->viewer().setCameraManipulator(nullptr);
    }
    return *slot;
}

} // namespace

double groundHeight(double lonDegrees, double latDegrees) {
    const double x = (lonDegrees - kLon) / kReach;
    const double y = (latDegrees - kLat) / kReach;
    if (std::abs(x) > 1.0 || std::abs(y) > 1.0) {
        return 0.0;
    }
    return 80.0 + 40.0 * std::sin(4.0 * x) * std::cos(3.0 * y);
}

TestGlobe::TestGlobe() : m_globe(sharedGlobe()), m_ownChildren(m_globe.mapNode()->getNumChildren()) {
    look(1500.0);
}

TestGlobe::~TestGlobe() {
    osgEarth::MapNode* node = m_globe.mapNode();
    node->removeChildren(m_ownChildren, node->getNumChildren() - m_ownChildren);
    const osgViewer::View::EventHandlers handlers = m_globe.viewer().getEventHandlers();
    for (const osg::ref_ptr<osgGA::EventHandler>& handler : handlers) {
        m_globe.viewer().removeEventHandler(handler);
    }
}

void TestGlobe::look(double rangeMetres, double pitchDegrees, double lonDegrees, double latDegrees) {
    osg::Matrixd frame;
    m_globe.mapNode()->getMapSRS()->createLocalToWorld(
        osg::Vec3d(lonDegrees, latDegrees, groundHeight(lonDegrees, latDegrees)), frame);
    const double pitch = osg::DegreesToRadians(pitchDegrees);
    const osg::Vec3d eye(0.0, -std::cos(pitch) * rangeMetres, -std::sin(pitch) * rangeMetres);
    const osg::Vec3d up(0.0, -std::sin(pitch), std::cos(pitch));
    m_globe.viewer().getCamera()->setViewMatrix(osg::Matrixd::inverse(frame) *
                                                osg::Matrixd::lookAt(eye, osg::Vec3d(), up));
}

void TestGlobe::settle() {
    EXPECT_TRUE(m_globe.settle());
}

osg::Vec2d TestGlobe::windowPosition(double lonDegrees, double latDegrees, double metresAboveGround) {
    osg::Vec3d world;
    m_globe.mapNode()->getMapSRS()->transformToWorld(
        osg::Vec3d(lonDegrees, latDegrees, groundHeight(lonDegrees, latDegrees) + metresAboveGround), world);
    const osg::Camera& camera = *m_globe.viewer().getCamera();
    const osg::Vec3d window = world * camera.getViewMatrix() * camera.getProjectionMatrix() *
                              camera.getViewport()->computeWindowMatrix();
    return {window.x(), window.y()};
}

osg::ref_ptr<osg::Image> plainImage(const osg::Vec4& color, int size) {
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(size, size, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            image->setColor(color, static_cast<unsigned>(x), static_cast<unsigned>(y));
        }
    }
    return image;
}

} // namespace drawingtest
