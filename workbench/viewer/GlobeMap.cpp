#include "workbench/viewer/GlobeMap.h"

#include <osgEarth/ElevationLayer>
#include <osgEarth/ImageLayer>
#include <osgEarth/Map>
#include <osgEarth/Version>

#if OSGEARTH_MIN_VERSION_REQUIRED(3, 0, 0)
#include <osgEarth/GDAL>
#else
#include <osgEarthDrivers/gdal/GDALOptions>
#endif

#include <osgDB/FileUtils>

#include <gdal.h>

#include <algorithm>
#include <vector>

namespace {

#if OSGEARTH_MIN_VERSION_REQUIRED(3, 0, 0)

template<class GdalLayer>
GdalLayer* makeLayer(const std::string& name, const std::string& path) {
    auto* layer = new GdalLayer();
    layer->setName(name);
    layer->setURL(path);
    return layer;
}
using GdalImageLayer = osgEarth::GDALImageLayer;
using GdalElevationLayer = osgEarth::GDALElevationLayer;

#else

template<class Layer>
Layer* makeLayer(const std::string& name, const std::string& path) {
    osgEarth::Drivers::GDALOptions driver;
    driver.url() = osgEarth::URI(path);
    return new Layer(name, driver);
}
using GdalImageLayer = osgEarth::ImageLayer;
using GdalElevationLayer = osgEarth::ElevationLayer;

#endif

std::optional<std::string> addLayer(osgEarth::Map& map, osgEarth::TerrainLayer* layer,
                                    const std::string& path) {
    map.addLayer(layer);
    if (layer->getStatus().isOK()) {
        return std::nullopt;
    }
    const std::string reason = path + ": " + layer->getStatus().message();
    map.removeLayer(layer);
    return reason;
}

// A picture carries no georeference; a virtual raster around it does.
std::string plateCarreeRaster(const std::string& picturePath, int width, int height) {
    const std::string cell = std::to_string(360.0 / width) + ", 0, 90, 0, " + std::to_string(-180.0 / height);
    std::string bands;
    for (int band = 1; band <= 3; ++band) {
        const std::string number = std::to_string(band);
        bands.append("<VRTRasterBand dataType=\"Byte\" band=\"")
            .append(number)
            .append("\"><SimpleSource><SourceFilename relativeToVRT=\"0\">")
            .append(picturePath)
            .append("</SourceFilename><SourceBand>")
            .append(number)
            .append("</SourceBand></SimpleSource></VRTRasterBand>");
    }
    return "<VRTDataset rasterXSize=\"" + std::to_string(width) + "\" rasterYSize=\"" +
           std::to_string(height) + "\"><SRS>EPSG:4326</SRS><GeoTransform>-180, " + cell + "</GeoTransform>" +
           bands + "</VRTDataset>";
}

} // namespace

GlobeMap::GlobeMap() {
    osg::ref_ptr<osgEarth::Map> map = new osgEarth::Map();
    m_mapNode = new osgEarth::MapNode(map.get());
}

std::optional<std::string> GlobeMap::addWorldBackdrop(const std::string& picturePath) {
    GDALAllRegister();
    GDALDatasetH picture = GDALOpen(picturePath.c_str(), GA_ReadOnly);
    if (!picture) {
        return picturePath + ": cannot be read";
    }
    const std::string raster =
        plateCarreeRaster(picturePath, GDALGetRasterXSize(picture), GDALGetRasterYSize(picture));
    GDALClose(picture);
    return addImagery("world", raster);
}

std::optional<std::string> GlobeMap::addImagery(const std::string& name, const std::string& path) {
    return addLayer(*m_mapNode->getMap(), makeLayer<GdalImageLayer>(name, path), path);
}

std::optional<std::string> GlobeMap::addElevation(const std::string& name, const std::string& path) {
    return addLayer(*m_mapNode->getMap(), makeLayer<GdalElevationLayer>(name, path), path);
}

void GlobeMap::setImageryVisible(const std::string& name, bool visible) {
    auto* layer = dynamic_cast<osgEarth::ImageLayer*>(m_mapNode->getMap()->getLayerByName(name));
    if (layer) {
        layer->setVisible(visible);
    }
}

int GlobeMap::preparationPercent() const {
#ifdef CORRIDOR_GLOBE_INSTALLED
    return 100;
#else
    std::vector<osg::ref_ptr<osgEarth::TerrainLayer>> layers;
    m_mapNode->getMap()->getLayers(layers);
    std::optional<float> present; // the others wait for their turn
    for (const auto& layer : layers) {
        const float done = layer->getPreparation();
        if (done < 1.0F) {
            present = std::max(done, present.value_or(0.0F));
        }
    }
    return static_cast<int>(100.0F * present.value_or(1.0F));
#endif
}

void GlobeMap::removeLayer(const std::string& name) {
    if (osgEarth::Layer* layer = m_mapNode->getMap()->getLayerByName(name)) {
        m_mapNode->getMap()->removeLayer(layer);
    }
}
