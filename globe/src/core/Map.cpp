#include <osgEarth/Map>
#include <osgEarth/Registry>

#include <algorithm>

namespace osgEarth {
namespace {

const Profile* profileFor(const MapOptions& options) {
    const Profile* profile = nullptr;
    if (options.profile().isSet()) {
        profile = Profile::create(options.profile().get());
    }
    return profile != nullptr ? profile : Registry::instance()->getGlobalGeodeticProfile();
}

} // namespace

Map::Map() : Map(MapOptions()) {}

Map::Map(const MapOptions& options) : _profile(profileFor(options)) {
    setName(options.name().get());
}

void Map::addLayer(Layer* layer) {
    insertLayer(layer, ~0U);
}

void Map::insertLayer(Layer* layer, unsigned index) {
    if (layer == nullptr) {
        return;
    }
    osg::ref_ptr<Layer> kept(layer);
    layer->open();
    const std::unique_lock lock(_mutex);
    const auto position = std::min<std::size_t>(index, _layers.size());
    _layers.insert(_layers.begin() + static_cast<std::ptrdiff_t>(position), kept);
    ++_revision;
}

void Map::removeLayer(Layer* layer) {
    const std::unique_lock lock(_mutex);
    const auto found = std::find(_layers.begin(), _layers.end(), layer);
    if (found != _layers.end()) {
        _layers.erase(found);
        ++_revision;
    }
}

unsigned Map::getNumLayers() const {
    const std::shared_lock lock(_mutex);
    return static_cast<unsigned>(_layers.size());
}

Layer* Map::getLayerAt(unsigned index) const {
    const std::shared_lock lock(_mutex);
    return index < _layers.size() ? _layers[index].get() : nullptr;
}

Layer* Map::getLayerByName(const std::string& name) const {
    const std::shared_lock lock(_mutex);
    for (const auto& layer : _layers) {
        if (layer->getName() == name) {
            return layer.get();
        }
    }
    return nullptr;
}

Revision Map::getDataModelRevision() const {
    const std::shared_lock lock(_mutex);
    return _revision;
}

bool Map::isSameKindAs(const osg::Object* object) const {
    return dynamic_cast<const Map*>(object) != nullptr;
}

} // namespace osgEarth
