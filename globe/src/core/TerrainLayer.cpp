#include <osgEarth/ElevationLayer>
#include <osgEarth/ImageLayer>
#include <osgEarth/TerrainLayer>

#include "src/terrain/DistantRaster.h"
#include "src/terrain/LoadingThreads.h"
#include "src/terrain/RasterSource.h"

#include <osg/Notify>

namespace osgEarth {

TerrainLayer::TerrainLayer(const TerrainLayerOptions& options) : m_options(options) {
    setName(options.name());
}

const Status& TerrainLayer::open() {
    if (m_opened) {
        return getStatus();
    }
    m_opened = true;
    Status status;
    const std::string location = m_options.driver().rasterUrl()->full();
    if (location.empty()) {
        status = Status("no raster given");
    } else if (m_isDistant) {
        m_distant = std::make_shared<DistantRaster>(location, holdsHeights() ? DistantRaster::Use::Heights
                                                                             : DistantRaster::Use::Pictures);
    } else {
        m_raster = RasterSource::open(location, status);
    }
    setStatus(status);
    if (status.isError()) {
        OSG_WARN << "Layer \"" << getName() << "\": " << status.message() << std::endl;
    }
    return getStatus();
}

const Status& TerrainLayer::getStatus() const {
    const Status* failure = m_raster ? m_raster->failure() : nullptr;
    return failure ? *failure : Layer::getStatus();
}

int TerrainLayer::getAppearanceRevision() const {
    const std::shared_ptr<RasterSource> shown = raster();
    return m_appearanceRevision + (shown ? shown->revision() : 0) + (m_distant ? m_distant->revision() : 0);
}

std::shared_ptr<RasterSource> TerrainLayer::raster() const {
    return m_distant ? m_distant->raster() : m_raster;
}

int TerrainLayer::getArrivals() const {
    return m_distant ? m_distant->arrivals() : 0;
}

bool TerrainLayer::isLoading() const {
    return m_distant && m_distant->isLoading();
}

std::string TerrainLayer::getTrouble() const {
    return m_distant ? m_distant->trouble() : std::string();
}

bool TerrainLayer::finishLoading(int mostMilliseconds) {
    return LoadingThreads::instance().waitForAll(std::chrono::milliseconds(mostMilliseconds));
}

float TerrainLayer::getPreparation() const {
    const std::shared_ptr<RasterSource> shown = raster();
    return shown ? shown->preparation() : 1.0F;
}

void TerrainLayer::setVisible(bool visible) {
    if (visible != m_visible) {
        m_visible = visible;
        appearanceChanged();
    }
}

ImageLayer::ImageLayer(const std::string& name, const TileSourceOptions& driver)
    : ImageLayer(ImageLayerOptions(name, driver)) {}

ImageLayer::ImageLayer(const ImageLayerOptions& options) : TerrainLayer(options) {}

void ImageLayer::setOpacity(float opacity) {
    const float clamped = osg::clampBetween(opacity, 0.0F, 1.0F);
    if (clamped != m_opacity) {
        m_opacity = clamped;
        appearanceChanged();
    }
}

void ImageLayer::setVisibleInComparison(std::optional<bool> visible) {
    if (visible != m_visibleInComparison) {
        m_visibleInComparison = visible;
        appearanceChanged();
    }
}

ElevationLayer::ElevationLayer(const std::string& name, const TileSourceOptions& driver)
    : ElevationLayer(ElevationLayerOptions(name, driver)) {}

ElevationLayer::ElevationLayer(const ElevationLayerOptions& options) : TerrainLayer(options) {}

} // namespace osgEarth
