#include <osg/Geometry>
#include <osg/NodeVisitor>
#include <osg/Uniform>
#include <osgEarth/ObjectIndex>
#include <osgEarth/VirtualProgram>

namespace osgEarth {
namespace {

constexpr ObjectID kFirstId = 11;

const char* const kVertexSource = "uniform uint oe_index_objectid_uniform;\n"
                                  "in uint oe_index_objectid_attr;\n"
                                  "flat out uint oe_index_objectid;\n"
                                  "void oe_index_readObjectID(inout vec4 vertex) {\n"
                                  "    oe_index_objectid = oe_index_objectid_uniform != 0u ?\n"
                                  "        oe_index_objectid_uniform : oe_index_objectid_attr;\n"
                                  "}\n";

/// Calls a function for every drawable at and below a node.
template<typename Function>
class ForEachDrawable : public osg::NodeVisitor {
public:
    explicit ForEachDrawable(Function function)
        : osg::NodeVisitor(TRAVERSE_ALL_CHILDREN), m_function(function) {
        setNodeMaskOverride(~0u);
    }
    void apply(osg::Drawable& drawable) override { m_function(drawable); }

private:
    Function m_function;
};

const ObjectIDArray* idsOf(const osg::Geometry& geometry, int location) {
    return dynamic_cast<const ObjectIDArray*>(geometry.getVertexAttribArray(static_cast<unsigned>(location)));
}

} // namespace

ObjectIndex::ObjectIndex()
    : m_nextId(kFirstId), m_uniformName("oe_index_objectid_uniform"), m_attribName("oe_index_objectid_attr"),
      m_attribLocation(osg::Drawable::SECONDARY_COLORS) {}

ObjectIndex::~ObjectIndex() = default;

ObjectID ObjectIndex::insert(osg::Referenced* object) {
    std::lock_guard<std::mutex> lock(m_mutex);
    const ObjectID id = m_nextId++;
    m_objects[id] = object;
    return id;
}

void ObjectIndex::remove(ObjectID id) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_objects.erase(id);
}

osg::ref_ptr<osg::Referenced> ObjectIndex::lookUp(ObjectID id) const {
    osg::ref_ptr<osg::Referenced> object;
    const auto found = m_objects.find(id);
    if (found != m_objects.end()) {
        found->second.lock(object);
    }
    return object;
}

ObjectID ObjectIndex::tagDrawable(osg::Drawable* drawable, osg::Referenced* object) {
    const ObjectID id = insert(object);
    tagDrawable(drawable, id);
    return id;
}

void ObjectIndex::tagDrawable(osg::Drawable* drawable, ObjectID id) const {
    osg::Geometry* geometry = drawable ? drawable->asGeometry() : nullptr;
    if (!geometry || !geometry->getVertexArray()) {
        return;
    }
    osg::ref_ptr<ObjectIDArray> ids = new ObjectIDArray(geometry->getVertexArray()->getNumElements(), id);
    ids->setBinding(osg::Array::BIND_PER_VERTEX);
    ids->setNormalize(false);
    ids->setPreserveDataType(true);
    geometry->setVertexAttribArray(static_cast<unsigned>(m_attribLocation), ids);
}

ObjectID ObjectIndex::tagAllDrawables(osg::Node* node, osg::Referenced* object) {
    const ObjectID id = insert(object);
    tagAllDrawables(node, id);
    return id;
}

void ObjectIndex::tagAllDrawables(osg::Node* node, ObjectID id) const {
    if (!node) {
        return;
    }
    ForEachDrawable visitor([this, id](osg::Drawable& drawable) { tagDrawable(&drawable, id); });
    node->accept(visitor);
}

ObjectID ObjectIndex::tagNode(osg::Node* node, osg::Referenced* object) {
    const ObjectID id = insert(object);
    tagNode(node, id);
    return id;
}

void ObjectIndex::tagNode(osg::Node* node, ObjectID id) const {
    if (node) {
        node->getOrCreateStateSet()->addUniform(new osg::Uniform(m_uniformName.c_str(), id));
    }
}

bool ObjectIndex::getObjectID(osg::Node* node, ObjectID& out) const {
    const osg::StateSet* stateSet = node ? node->getStateSet() : nullptr;
    const osg::Uniform* uniform = stateSet ? stateSet->getUniform(m_uniformName) : nullptr;
    return uniform && uniform->get(out);
}

bool ObjectIndex::getObjectIDs(const osg::Drawable* drawable, std::set<ObjectID>& out) const {
    const osg::Geometry* geometry = drawable ? drawable->asGeometry() : nullptr;
    const ObjectIDArray* ids = geometry ? idsOf(*geometry, m_attribLocation) : nullptr;
    if (!ids) {
        return false;
    }
    out.insert(ids->begin(), ids->end());
    return !ids->empty();
}

bool ObjectIndex::loadShaders(VirtualProgram* vp) const {
    if (!vp) {
        return false;
    }
    vp->addBindAttribLocation(m_attribName, static_cast<GLuint>(m_attribLocation));
    vp->setFunction("oe_index_readObjectID", kVertexSource, ShaderComp::LOCATION_VERTEX_MODEL, -1.0f);
    return true;
}

} // namespace osgEarth
