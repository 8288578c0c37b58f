#include <osg/BlendFunc>
#include <osgEarthAnnotation/AnnotationNode>

#include <algorithm>

namespace osgEarth {
namespace Annotation {

/// Passes the terrain's news on to one node. The node clears itself when it goes.
class AnnotationNode::TerrainWatcher : public TerrainCallback {
public:
    explicit TerrainWatcher(AnnotationNode* node) : m_node(node) {}
    void onTileAdded(const TileKey& key, osg::Node*, TerrainCallbackContext& context) override {
        if (m_node) {
            m_node->terrainChanged(key, context.getTerrain());
        }
    }
    void forget() { m_node = nullptr; }

private:
    AnnotationNode* m_node;
};

AnnotationNode::AnnotationNode() {
    osg::StateSet* stateSet = getOrCreateStateSet();
    stateSet->setAttributeAndModes(
        new osg::BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA));
    stateSet->setRenderBinDetails(1, "DepthSortedBin");
    setUpdateTraversal(true); // to find the map node
}

AnnotationNode::~AnnotationNode() {
    watchTerrain(false);
}

void AnnotationNode::setDynamic(bool value) {
    m_dynamic = value;
}

void AnnotationNode::setMapNode(MapNode* mapNode) {
    if (m_mapNode == mapNode) {
        return;
    }
    m_mapNode = mapNode;
    connectWatcher();
    setUpdateTraversal(!mapNode || m_updateRequested);
}

void AnnotationNode::setStyle(const Symbology::Style& style) {
    m_style = style;
}

const std::string& AnnotationNode::getText() const {
    static const std::string none;
    return none;
}

void AnnotationNode::traverse(osg::NodeVisitor& nv) {
    if (nv.getVisitorType() == osg::NodeVisitor::UPDATE_VISITOR && m_updateTraversal) {
        if (!m_mapNode.valid()) {
            findMapNode(nv.getNodePath());
        }
        if (m_updateRequested && m_mapNode.valid()) {
            m_updateRequested = false;
            update();
        }
        setUpdateTraversal(!m_mapNode.valid() || m_updateRequested);
    } else if (nv.getVisitorType() == osg::NodeVisitor::CULL_VISITOR) {
        if (!isAboveHorizon(nv)) {
            return;
        }
        updateIfOutdated();
    }
    osg::Group::traverse(nv);
}

void AnnotationNode::requestUpdate() {
    m_updateRequested = true;
    setUpdateTraversal(true);
}

// Nodes with nothing to do are not even visited.
void AnnotationNode::setUpdateTraversal(bool required) {
    if (required == m_updateTraversal) {
        return;
    }
    m_updateTraversal = required;
    const unsigned count = getNumChildrenRequiringUpdateTraversal();
    setNumChildrenRequiringUpdateTraversal(required ? count + 1 : count - 1);
}

void AnnotationNode::findMapNode(const osg::NodePath& path) {
    for (osg::Node* node : path) {
        if (MapNode* mapNode = dynamic_cast<MapNode*>(node)) {
            setMapNode(mapNode);
            return;
        }
    }
}

void AnnotationNode::followLayers(bool value) {
    m_followedRevision.unset();
    if (value && m_mapNode.valid()) {
        m_followedRevision = m_mapNode->getMap()->getDataModelRevision();
    }
}

void AnnotationNode::updateIfOutdated() {
    static std::mutex mutex; // cull traversals may run at once, and all nodes count in the same parents
    if (!m_followedRevision.isSet() || !m_mapNode.valid() ||
        m_followedRevision.get() == m_mapNode->getMap()->getDataModelRevision()) {
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    requestUpdate();
}

void AnnotationNode::watchTerrain(bool value) {
    if (value == m_watcher.valid()) {
        return;
    }
    osg::ref_ptr<Terrain> terrain;
    if (!value) {
        if (m_watchedTerrain.lock(terrain)) {
            terrain->removeTerrainCallback(m_watcher.get());
        }
        m_watchedTerrain = nullptr;
        m_watcher->forget();
        m_watcher = nullptr;
        return;
    }
    m_watcher = new TerrainWatcher(this);
    connectWatcher();
}

void AnnotationNode::connectWatcher() {
    if (!m_watcher.valid()) {
        return;
    }
    osg::ref_ptr<Terrain> terrain;
    if (m_watchedTerrain.lock(terrain)) {
        terrain->removeTerrainCallback(m_watcher.get());
    }
    m_watchedTerrain = m_mapNode.valid() ? m_mapNode->getTerrain() : nullptr;
    if (m_watchedTerrain.lock(terrain)) {
        terrain->addTerrainCallback(m_watcher.get());
    }
}

void AnnotationNode::terrainChanged(const TileKey&, Terrain*) {}

bool AnnotationNode::isAboveHorizon(const osg::NodeVisitor& nv) const {
    return !m_horizonCulling || isAboveHorizon(osg::Vec3d(nv.getViewPoint()), horizonPoint(),
                                               static_cast<double>(getBound().radius()));
}

// Horizon culling against the unit sphere in scaled space (Cozzi and Ring 2011, chapter on culling). A sphere
// is taken as its topmost point; a place below the ellipsoid shrinks the ellipsoid down to itself.
bool AnnotationNode::isAboveHorizon(const osg::Vec3d& eyeWorld, const osg::Vec3d& centerWorld,
                                    double radiusMetres) const {
    if (!m_mapNode.valid() || !m_mapNode->isGeocentric() || centerWorld.length2() < 1.0) {
        return true;
    }
    const osg::EllipsoidModel* ellipsoid = m_mapNode->getMapSRS()->getEllipsoid();
    const double equator = ellipsoid->getRadiusEquator();
    const double polar = ellipsoid->getRadiusPolar();
    const auto scaled = [equator, polar](const osg::Vec3d& v) {
        return osg::Vec3d(v.x() / equator, v.y() / equator, v.z() / polar);
    };
    osg::Vec3d eye = scaled(eyeWorld);
    osg::Vec3d point = scaled(centerWorld);
    point *= 1.0 + std::max(radiusMetres, 0.0) / centerWorld.length();
    const double shrink = std::min({1.0, point.length(), eye.length()}) * 0.999999;
    eye /= shrink;
    point /= shrink;
    const osg::Vec3d towards = point - eye;
    const double horizonDistance2 = eye.length2() - 1.0;
    const double along = -(towards * eye);
    return along <= horizonDistance2 || along * along <= horizonDistance2 * towards.length2();
}

} // namespace Annotation
} // namespace osgEarth
