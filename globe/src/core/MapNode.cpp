#include <osgEarth/MapNode>

namespace osgEarth {
namespace {

class FindMapNode : public osg::NodeVisitor {
public:
    explicit FindMapNode(unsigned mask) : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN) { setTraversalMask(mask); }
    void apply(osg::Group& group) override {
        if (_found == nullptr) {
            _found = dynamic_cast<MapNode*>(&group);
        }
        if (_found == nullptr) {
            traverse(group);
        }
    }
    MapNode* found() const { return _found; }

private:
    MapNode* _found = nullptr;
};

} // namespace

MapNode::MapNode() : MapNode(new Map()) {}

MapNode::MapNode(Map* map) : MapNode(map, MapNodeOptions()) {}

MapNode::MapNode(Map* map, const MapNodeOptions& options)
    : _map(map != nullptr ? map : new Map()), _options(options),
      _engine(new TerrainEngineNode(_map.get(), options.getTerrainOptions())) {
    setName("osgEarth::MapNode");
    addChild(_engine);
    if (_options.enableLighting().isSet()) {
        const bool lit = _options.enableLighting().get();
        getOrCreateStateSet()->setMode(GL_LIGHTING, lit ? osg::StateAttribute::ON : osg::StateAttribute::OFF);
        _engine->getOrCreateStateSet()
            ->getOrCreateUniform("oe_terrain_relief", osg::Uniform::FLOAT)
            ->set(lit ? 1.0F : 0.0F);
    }
}

MapNode::~MapNode() = default;

MapNode* MapNode::findMapNode(osg::Node* graph, unsigned travMask) {
    if (graph == nullptr) {
        return nullptr;
    }
    FindMapNode visitor(travMask);
    graph->accept(visitor);
    return visitor.found();
}

osg::BoundingSphere MapNode::computeBound() const {
    return _engine.valid() ? _engine->getBound() : osg::BoundingSphere();
}

} // namespace osgEarth
