#include <osgEarth/ElevationLayer>
#include <osgEarth/ImageLayer>
#include <osgEarth/TerrainLayer>

#include "src/terrain/RasterSource.h"

#include <osg/Notify>

namespace osgEarth {

TerrainLayer::TerrainLayer(const TerrainLayerOptions& options) : _options(options) {
    setName(options.name().get());
}

const Status& TerrainLayer::open() {
    if (_opened) {
        return getStatus();
    }
    _opened = true;
    Status status;
    const std::string location = _options.driver()->rasterUrl()->full();
    if (location.empty()) {
        status = Status(Status::ConfigurationError, "no raster given");
    } else {
        _raster = RasterSource::open(location, status);
    }
    setStatus(status);
    if (status.isError()) {
        OSG_WARN << "Layer \"" << getName() << "\": " << status.message() << std::endl;
    }
    return getStatus();
}

const Status& TerrainLayer::getStatus() const {
    const Status* failure = _raster != nullptr ? _raster->failure() : nullptr;
    return failure != nullptr ? *failure : Layer::getStatus();
}

int TerrainLayer::getAppearanceRevision() const {
    return _appearanceRevision + (_raster != nullptr ? _raster->revision() : 0);
}

float TerrainLayer::getPreparation() const {
    return _raster != nullptr ? _raster->preparation() : 1.0F;
}

GeoExtent TerrainLayer::getExtent() const {
    return _raster != nullptr ? _raster->extent() : GeoExtent();
}

void TerrainLayer::setVisible(bool visible) {
    if (visible != _visible) {
        _visible = visible;
        appearanceChanged();
    }
}

ImageLayer::ImageLayer(const std::string& name, const TileSourceOptions& driver)
    : ImageLayer(ImageLayerOptions(name, driver)) {}

ImageLayer::ImageLayer(const ImageLayerOptions& options) : TerrainLayer(options) {}

void ImageLayer::setOpacity(float opacity) {
    const float clamped = osg::clampBetween(opacity, 0.0F, 1.0F);
    if (clamped != _opacity) {
        _opacity = clamped;
        appearanceChanged();
    }
}

ElevationLayer::ElevationLayer(const std::string& name, const TileSourceOptions& driver)
    : ElevationLayer(ElevationLayerOptions(name, driver)) {}

ElevationLayer::ElevationLayer(const ElevationLayerOptions& options) : TerrainLayer(options) {}

} // namespace osgEarth
