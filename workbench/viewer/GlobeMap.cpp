#include "workbench/viewer/GlobeMap.h"

#include "detect/heights/InMetres.h"

#include <osgEarth/ElevationLayer>
#include <osgEarth/ImageLayer>
#include <osgEarth/Map>
#include <osgEarth/TerrainEngineNode>
#include <osgEarth/Version>

#if OSGEARTH_MIN_VERSION_REQUIRED(3, 0, 0)
#include <osgEarth/GDAL>
#else
#include <osgEarthDrivers/gdal/GDALOptions>
#endif

#include <gdal.h>
#include <gdal_utils.h>

#include <algorithm>
#include <memory>
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

// An installed library reads all layers at once.
void setReading([[maybe_unused]] osgEarth::TerrainLayer& layer, [[maybe_unused]] GlobeMap::Reading reading) {
#ifndef CORRIDOR_GLOBE_INSTALLED
    if (reading == GlobeMap::Reading::Patient) {
        layer.setDistant();
    }
#endif
}

osg::ref_ptr<osgEarth::ImageLayer> makeBaseLayer(const std::string& definition) {
    osg::ref_ptr<osgEarth::ImageLayer> layer = makeLayer<GdalImageLayer>("base", definition);
    setReading(*layer, GlobeMap::Reading::Patient);
    return layer;
}

std::string troubleOf(const osgEarth::TerrainLayer& layer) {
#ifdef CORRIDOR_GLOBE_INSTALLED
    return layer.getStatus().isOK() ? std::string() : layer.getStatus().message();
#else
    return layer.getTrouble();
#endif
}

struct CloseDataset {
    void operator()(void* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<void, CloseDataset>;

// A picture carries no georeference; a virtual raster around it does, with paler colours, so that what was surveyed stands
// out. Its description can be opened like a file. Empty when GDAL cannot use the picture.
std::string palePlateCarreeRaster(const std::string& picturePath) {
    GDALAllRegister();
    const Dataset picture(GDALOpen(picturePath.c_str(), GA_ReadOnly));
    if (!picture) {
        return {};
    }
    const char* const arguments[] = {"-of", "VRT",    "-b",        "1",       "-b",   "2",   "-b",
                                     "3",   "-a_srs", "EPSG:4326", "-a_ullr", "-180", "90",  "180",
                                     "-90", "-scale", "0",         "255",     "110",  "225", nullptr};
    GDALTranslateOptions* options = GDALTranslateOptionsNew(const_cast<char**>(arguments), nullptr);
    const Dataset raster(GDALTranslate("", picture.get(), options, nullptr));
    GDALTranslateOptionsFree(options);
    char** description = raster ? GDALGetMetadata(raster.get(), "xml:VRT") : nullptr;
    return description ? description[0] : "";
}

} // namespace

GlobeMap::GlobeMap() {
    osg::ref_ptr<osgEarth::Map> map = new osgEarth::Map();
    m_mapNode = new osgEarth::MapNode(map.get());
}

std::optional<std::string> GlobeMap::addWorldBackdrop(const std::string& picturePath) {
    const std::string raster = palePlateCarreeRaster(picturePath);
    if (raster.empty()) {
        return picturePath + ": cannot be read";
    }
    std::optional<std::string> problem = addImagery("world", raster);
    m_backdropLayers = problem ? 0 : 1;
    return problem;
}

// Layers that stay are kept, with what they have loaded.
void GlobeMap::setBaseRasters(const std::vector<BaseRaster>& rasters) {
    osgEarth::Map& map = *m_mapNode->getMap();
    std::vector<BaseLayer> former;
    former.swap(m_baseLayers);
    for (const BaseLayer& base : former) {
        map.removeLayer(base.layer.get());
    }
    for (const BaseRaster& raster : rasters) {
        const auto same = std::find_if(former.begin(), former.end(), [&](const BaseLayer& base) {
            return base.definition == raster.definition;
        });
        BaseLayer base{raster.definition, nullptr};
        if (same != former.end()) {
            base.layer = same->layer;
            former.erase(same);
        } else {
            base.layer = makeBaseLayer(raster.definition);
        }
        base.layer->setOpacity(raster.opacity);
        map.insertLayer(base.layer.get(), m_backdropLayers + static_cast<unsigned>(m_baseLayers.size()));
        m_baseLayers.push_back(base);
    }
}

std::vector<std::string> GlobeMap::baseTroubles() const {
    std::vector<std::string> troubles;
    for (const BaseLayer& base : m_baseLayers) {
        troubles.push_back(troubleOf(*base.layer));
    }
    return troubles;
}

std::string GlobeMap::imageryTrouble(const std::string& name) const {
    const auto* layer = dynamic_cast<osgEarth::TerrainLayer*>(m_mapNode->getMap()->getLayerByName(name));
    return layer ? troubleOf(*layer) : std::string();
}

std::string GlobeMap::terrainTrouble() const {
    return m_terrain ? troubleOf(*m_terrain) : std::string();
}

std::vector<osg::ref_ptr<osgEarth::TerrainLayer>> GlobeMap::terrainLayers() const {
    std::vector<osg::ref_ptr<osgEarth::TerrainLayer>> layers;
    m_mapNode->getMap()->getLayers(layers);
    return layers;
}

int GlobeMap::arrivals() const {
    int arrivals = 0;
#ifndef CORRIDOR_GLOBE_INSTALLED
    for (const auto& layer : terrainLayers()) {
        arrivals += layer->getArrivals();
    }
#endif
    return arrivals;
}

bool GlobeMap::isLoading() const {
#ifdef CORRIDOR_GLOBE_INSTALLED
    return false;
#else
    const auto layers = terrainLayers();
    return std::any_of(layers.begin(), layers.end(), [](const auto& layer) { return layer->isLoading(); });
#endif
}

bool GlobeMap::finishLoading([[maybe_unused]] int mostMilliseconds) {
#ifdef CORRIDOR_GLOBE_INSTALLED
    return true;
#else
    return osgEarth::TerrainLayer::finishLoading(mostMilliseconds);
#endif
}

std::optional<std::string> GlobeMap::addImagery(const std::string& name, const std::string& path,
                                                Reading reading) {
    osg::ref_ptr<osgEarth::ImageLayer> layer = makeLayer<GdalImageLayer>(name, path);
    setReading(*layer, reading);
    return addLayer(*m_mapNode->getMap(), layer.get(), path);
}

std::optional<std::string> GlobeMap::addElevation(const std::string& name, const std::string& path) {
    return addLayer(*m_mapNode->getMap(), makeLayer<GdalElevationLayer>(name, detect::nameInMetres(path)),
                    path);
}

std::optional<std::string> GlobeMap::showTerrain(const std::string& path, Reading reading) {
    if (m_terrain) {
        m_mapNode->getMap()->removeLayer(m_terrain.get());
        m_terrain = nullptr;
    }
    osg::ref_ptr<osgEarth::ElevationLayer>& terrain = m_terrains[path];
    if (!terrain) {
        const bool isPatient = reading == Reading::Patient;
        terrain = makeLayer<GdalElevationLayer>("terrain", isPatient ? detect::nameInMetresOnOpening(path)
                                                                     : detect::nameInMetres(path));
        setReading(*terrain, reading);
    }
    std::optional<std::string> problem = addLayer(*m_mapNode->getMap(), terrain.get(), path);
    if (problem) {
        m_terrains.erase(path); // it may be readable the next time
    } else {
        m_terrain = terrain;
    }
    return problem;
}

void GlobeMap::clearTerrain() {
    if (m_terrain) {
        m_mapNode->getMap()->removeLayer(m_terrain.get());
    }
    m_terrain = nullptr;
    m_terrains.clear();
}

void GlobeMap::setImageryVisible(const std::string& name, bool visible) {
    auto* layer = dynamic_cast<osgEarth::ImageLayer*>(m_mapNode->getMap()->getLayerByName(name));
    if (layer) {
        layer->setVisible(visible);
    }
}

void GlobeMap::setImageryOpacity(const std::string& name, float opacity) {
    auto* layer = dynamic_cast<osgEarth::ImageLayer*>(m_mapNode->getMap()->getLayerByName(name));
    if (layer) {
        layer->setOpacity(opacity);
    }
}

bool GlobeMap::canCompare() {
#ifdef CORRIDOR_GLOBE_INSTALLED
    return false;
#else
    return true;
#endif
}

void GlobeMap::compareImagery([[maybe_unused]] const std::string& shown,
                              [[maybe_unused]] const std::string& other) {
#ifndef CORRIDOR_GLOBE_INSTALLED
    std::vector<osg::ref_ptr<osgEarth::ImageLayer>> layers;
    m_mapNode->getMap()->getLayers(layers);
    for (const auto& layer : layers) {
        const bool isEither = shown != other && (layer->getName() == shown || layer->getName() == other);
        layer->setVisibleInComparison(isEither ? std::optional(layer->getName() == other) : std::nullopt);
    }
#endif
}

void GlobeMap::setComparison([[maybe_unused]] double share, [[maybe_unused]] double dividerPixels) {
#ifndef CORRIDOR_GLOBE_INSTALLED
    m_mapNode->getTerrainEngine()->setComparison(static_cast<float>(share),
                                                 static_cast<float>(dividerPixels));
#endif
}

int GlobeMap::preparationPercent() const {
#ifdef CORRIDOR_GLOBE_INSTALLED
    return 100;
#else
    std::optional<float> present; // the others wait for their turn
    for (const auto& layer : terrainLayers()) {
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
