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
    return profile ? profile : Registry::instance()->getGlobalGeodeticProfile();
}

} // namespace

Map::Map() : Map(MapOptions()) {}

Map::Map(const MapOptions& options) : m_profile(profileFor(options)) {
    setName(options.name().get());
}

void Map::addLayer(Layer* layer) {
    insertLayer(layer, ~0U);
}

void Map::insertLayer(Layer* layer, unsigned index) {
    if (!layer) {
        return;
    }
    osg::ref_ptr<Layer> kept(layer);
    layer->open();
    const std::unique_lock lock(m_mutex);
    const auto position = std::min<std::size_t>(index, m_layers.size());
    m_layers.insert(m_layers.begin() + static_cast<std::ptrdiff_t>(position), kept);
    ++m_revision;
}

void Map::removeLayer(Layer* layer) {
    const std::unique_lock lock(m_mutex);
    const auto found = std::find(m_layers.begin(), m_layers.end(), layer);
    if (found != m_layers.end()) {
        m_layers.erase(found);
        ++m_revision;
    }
}

void Map::noteNewHeights() {
    const std::unique_lock lock(m_mutex);
    ++m_revision;
}

unsigned Map::getNumLayers() const {
    const std::shared_lock lock(m_mutex);
    return static_cast<unsigned>(m_layers.size());
}

Layer* Map::getLayerAt(unsigned index) const {
    const std::shared_lock lock(m_mutex);
    return index < m_layers.size() ? m_layers[index].get() : nullptr;
}

Layer* Map::getLayerByName(const std::string& name) const {
    const std::shared_lock lock(m_mutex);
    for (const auto& layer : m_layers) {
        if (layer->getName() == name) {
            return layer.get();
        }
    }
    return nullptr;
}

Revision Map::getDataModelRevision() const {
    const std::shared_lock lock(m_mutex);
    return m_revision;
}

bool Map::isSameKindAs(const osg::Object* object) const {
    return dynamic_cast<const Map*>(object) != nullptr;
}

} // namespace osgEarth
