#include <osgEarth/MapNode>

namespace osgEarth {
namespace {

class FindMapNode : public osg::NodeVisitor {
public:
    explicit FindMapNode(unsigned mask) : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) { setTraversalMask(mask); }
    void apply(osg::Group& group) override {
        if (!m_found) {
            m_found = dynamic_cast<MapNode*>(&group);
        }
        if (!m_found) {
            traverse(group);
        }
    }
    MapNode* found() const { return m_found; }

private:
    MapNode* m_found = nullptr;
};

} // namespace

MapNode::MapNode() : MapNode(new Map()) {}

MapNode::MapNode(Map* map) : MapNode(map, MapNodeOptions()) {}

MapNode::MapNode(Map* map, const MapNodeOptions& options)
    : m_map(map ? map : new Map()),
      m_engine(new TerrainEngineNode(m_map.get(), options.getTerrainOptions())) {
    setName("osgEarth::MapNode");
    addChild(m_engine);
    if (options.enableLighting().isSet()) {
        const bool lit = options.enableLighting().get();
        getOrCreateStateSet()->setMode(GL_LIGHTING, lit ? osg::StateAttribute::ON : osg::StateAttribute::OFF);
        m_engine->getOrCreateStateSet()
            ->getOrCreateUniform("oe_terrain_relief", osg::Uniform::FLOAT)
            ->set(lit ? 1.0F : 0.0F);
    }
}

MapNode::~MapNode() = default;

MapNode* MapNode::findMapNode(osg::Node* graph, unsigned travMask) {
    if (!graph) {
        return nullptr;
    }
    FindMapNode visitor(travMask);
    graph->accept(visitor);
    return visitor.found();
}

osg::BoundingSphere MapNode::computeBound() const {
    return m_engine.valid() ? m_engine->getBound() : osg::BoundingSphere();
}

} // namespace osgEarth
