#include "OffscreenGlobe.h"
#include "OffscreenPicture.h"

#include <osgDB/DatabasePager>
#include <osgEarth/ElevationLayer>
#include <osgEarth/ImageLayer>
#include <osgEarthDrivers/gdal/GDALOptions>
#include <osgEarthUtil/LogarithmicDepthBuffer>

#include <gdal_priv.h>
#include <gdal_utils.h>

#include <chrono>
#include <thread>

namespace globetest {

OffscreenGlobe::OffscreenGlobe(int width, int height, const osgEarth::TerrainOptions& options)
    : m_width(width), m_height(height), m_options(options), m_map(new osgEarth::Map()),
      m_manipulator(new osgEarth::Util::EarthManipulator()) {
    drawOffscreen(m_viewer, width, height);
    osg::Camera* camera = m_viewer.getCamera();
    camera->setProjectionMatrixAsPerspective(30.0, static_cast<double>(width) / height, 1.0, 1.0e8);
    osgEarth::Util::LogarithmicDepthBuffer().install(camera);
    m_viewer.setKeyEventSetsDone(0);
}

OffscreenGlobe::~OffscreenGlobe() = default;

bool OffscreenGlobe::isUsable() const {
    return m_viewer.getCamera()->getGraphicsContext() != nullptr;
}

osgEarth::MapNode* OffscreenGlobe::mapNode() {
    if (!m_mapNode.valid()) {
        m_mapNode = new osgEarth::MapNode(m_map.get(), osgEarth::MapNodeOptions(m_options));
        m_viewer.setSceneData(m_mapNode);
        m_viewer.setCameraManipulator(m_manipulator);
        m_viewer.getEventQueue()->windowResize(0, 0, m_width, m_height);
        m_viewer.realize();
        frame();
    }
    return m_mapNode.get();
}

void OffscreenGlobe::addImage(const std::string& name, const std::string& file) {
    osgEarth::Drivers::GDALOptions options;
    options.url() = file;
    m_map->addLayer(new osgEarth::ImageLayer(name, options));
}

void OffscreenGlobe::addElevation(const std::string& name, const std::string& file) {
    osgEarth::Drivers::GDALOptions options;
    options.url() = file;
    m_map->addLayer(new osgEarth::ElevationLayer(name, options));
}

void OffscreenGlobe::frame() {
    mapNode();
    m_viewer.frame();
}

bool OffscreenGlobe::settle(int maxFrames) {
    const osgDB::DatabasePager* pager = m_viewer.getDatabasePager();
    frame();
    frame();
    return frameUntil(
        [&] {
            // A frame takes longer than a tile, so the pager gets the time to finish what was asked for.
            while (pager->getFileRequestListSize() > 0 ||
                   (pager->getRequestsInProgress() && !pager->requiresUpdateSceneGraph())) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            return !pager->getRequestsInProgress() && !pager->requiresUpdateSceneGraph();
        },
        maxFrames);
}

bool OffscreenGlobe::frameUntil(const std::function<bool()>& condition, int maxFrames) {
    for (int i = 0; i < maxFrames; ++i) {
        frame();
        if (condition()) {
            return true;
        }
    }
    return false;
}

osg::ref_ptr<osg::Image> OffscreenGlobe::picture() {
    mapNode();
    return nextFrame(m_viewer);
}

std::string worldVrt(const std::string& image, const std::string& vrtPath) {
    GDALAllRegister();
    const char* const arguments[] = {"-of",  "VRT", "-a_srs", "EPSG:4326", "-a_ullr",
                                     "-180", "90",  "180",    "-90",       nullptr};
    GDALTranslateOptions* options = GDALTranslateOptionsNew(const_cast<char**>(arguments), nullptr);
    GDALDatasetH source = GDALOpen(image.c_str(), GA_ReadOnly);
    int usageError = 0;
    GDALDatasetH vrt = source ? GDALTranslate(vrtPath.c_str(), source, options, &usageError) : nullptr;
    GDALTranslateOptionsFree(options);
    GDALClose(vrt);
    GDALClose(source);
    return vrt ? vrtPath : std::string();
}

} // namespace globetest
