#include "OverlayBatches.h"
#include "GroundBias.h"

#include <osg/BlendFunc>
#include <osg/Geometry>
#include <osgEarth/Registry>
#include <osgEarth/VirtualProgram>

#include <algorithm>
#include <cmath>
#include <vector>

namespace osgEarth {
namespace Annotation {
namespace {

constexpr double kLeastPixels = 4.0;
constexpr float kFirstOfAll = 1e30f; // farther than anything: larger overlays are drawn over small ones
const char* const kTraversalName = "oe_OverlayBatches";

// Texture coordinates and the level to read.
const char* const kTexCoordSource =
    "out vec3 oe_OverlayBatch_tc;\n"
    "void oe_OverlayBatch_vertex(inout vec4 vertex) { oe_OverlayBatch_tc = gl_MultiTexCoord0.stp; }\n";
const char* const kColorSource =
    "in vec3 oe_OverlayBatch_tc;\n"
    "uniform sampler2D oe_OverlayBatch_tex;\n"
    "void oe_OverlayBatch_color(inout vec4 color) {\n"
    "    color *= textureLod(oe_OverlayBatch_tex, oe_OverlayBatch_tc.st, oe_OverlayBatch_tc.p);\n"
    "}\n";

// The level whose pixels are at least as large as the screen's.
int levelFor(double sizePixels) {
    const double reduction = ThumbnailAtlas::kSidePixels / std::max(sizePixels, 1.0);
    return std::clamp(static_cast<int>(std::lround(std::log2(reduction))), 0, ThumbnailAtlas::kLastLevel);
}

} // namespace

/// Quads of one traversal that share all state, in eye space: there single precision is as good far from the
/// origin as near it.
class OverlayBatches::Batch : public osg::Geometry {
public:
    Batch() {
        setUseDisplayList(false);
        setUseVertexBufferObjects(true);
        setDataVariance(osg::Object::DYNAMIC);
        setCullingActive(false);
        setVertexArray(m_vertices);
        setTexCoordArray(0, m_texCoords);
        setColorArray(m_colors, osg::Array::BIND_PER_VERTEX);
        m_ids->setNormalize(false);
        m_ids->setPreserveDataType(true);
        setVertexAttribArray(static_cast<unsigned>(Registry::objectIndex()->getObjectIDAttribLocation()),
                             m_ids, osg::Array::BIND_PER_VERTEX);
        addPrimitiveSet(m_quads);
    }

    void restart(const osgUtil::StateGraph* inherited, unsigned page, bool hasIds) {
        m_inherited = inherited;
        m_page = page;
        m_hasIds = hasIds;
        for (osg::Array* array :
             {static_cast<osg::Array*>(m_vertices.get()), static_cast<osg::Array*>(m_texCoords.get()),
              static_cast<osg::Array*>(m_colors.get()), static_cast<osg::Array*>(m_ids.get())}) {
            array->resizeArray(0);
            array->dirty();
        }
        m_quads->setCount(0);
    }

    bool isFor(const osgUtil::StateGraph* inherited, unsigned page, bool hasIds) const {
        return m_inherited == inherited && m_page == page && m_hasIds == hasIds;
    }

    void add(const OverlayQuad& quad, const osg::Matrixd& toEye, ObjectID id, double sizePixels) {
        std::array<osg::Vec3d, 4> corners;
        osg::Vec3d center;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            corners[i] = quad.corners[i] * toEye;
            center += corners[i] * 0.25;
        }
        const double growth = std::max(1.0, kLeastPixels / std::max(sizePixels, 1e-6));
        for (const osg::Vec3d& corner : corners) {
            m_vertices->push_back(osg::Vec3f(center + (corner - center) * growth));
        }

        const int level = levelFor(sizePixels);
        osg::Vec2f lower;
        osg::Vec2f upper;
        quad.picture->corners(level, lower, upper);
        for (const osg::Vec2f& tc :
             {lower, osg::Vec2f(upper.x(), lower.y()), upper, osg::Vec2f(lower.x(), upper.y())}) {
            m_texCoords->push_back(osg::Vec3f(tc.x(), tc.y(), static_cast<float>(level)));
        }
        const auto alpha = static_cast<unsigned char>(std::lround(quad.alpha * 255.0f));
        m_colors->insert(m_colors->end(), 4, osg::Vec4ub(255, 255, 255, alpha));
        m_ids->insert(m_ids->end(), 4, id);
        m_quads->setCount(static_cast<GLsizei>(m_vertices->size()));
    }

private:
    const osgUtil::StateGraph* m_inherited = nullptr;
    unsigned m_page = 0;
    bool m_hasIds = false;
    osg::ref_ptr<osg::Vec3Array> m_vertices = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec3Array> m_texCoords = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec4ubArray> m_colors = new osg::Vec4ubArray;
    osg::ref_ptr<ObjectIDArray> m_ids = new ObjectIDArray;
    osg::ref_ptr<osg::DrawArrays> m_quads = new osg::DrawArrays(GL_QUADS);
};

/// The batches of one visitor, kept by the visitor itself. Those of its former traversal have been drawn when
/// it starts the next.
class OverlayBatches::Traversal : public osg::Object {
public:
    Traversal() { setName(kTraversalName); }
    Traversal(const Traversal& rhs, const osg::CopyOp& op) : osg::Object(rhs, op) {}
    META_Object(osgEarth, Traversal)

    static Traversal& of(osgUtil::CullVisitor& visitor) {
        osg::UserDataContainer* data = visitor.getOrCreateUserDataContainer();
        auto* traversal = dynamic_cast<Traversal*>(data->getUserObject(kTraversalName));
        if (!traversal) {
            traversal = new Traversal;
            data->addUserObject(traversal);
        }
        if (traversal->m_number != visitor.getTraversalNumber()) {
            traversal->m_number = visitor.getTraversalNumber();
            traversal->m_used = 0;
        }
        return *traversal;
    }

    Batch* find(const osgUtil::StateGraph* inherited, unsigned page, bool hasIds) const {
        for (std::size_t i = m_used; i-- > 0;) {
            if (m_batches[i]->isFor(inherited, page, hasIds)) {
                return m_batches[i].get();
            }
        }
        return nullptr;
    }

    Batch& start(const osgUtil::StateGraph* inherited, unsigned page, bool hasIds) {
        if (m_used == m_batches.size()) {
            m_batches.push_back(new Batch);
        }
        Batch& batch = *m_batches[m_used++];
        batch.restart(inherited, page, hasIds);
        return batch;
    }

private:
    unsigned m_number = 0;
    std::vector<osg::ref_ptr<Batch>> m_batches;
    std::size_t m_used = 0;
};

OverlayBatches::OverlayBatches() : m_atlas(new ThumbnailAtlas) {}

OverlayBatches::~OverlayBatches() = default;

osg::ref_ptr<OverlayBatches> OverlayBatches::shared() {
    static std::mutex mutex;
    static osg::observer_ptr<OverlayBatches> present;
    const std::lock_guard<std::mutex> lock(mutex);
    osg::ref_ptr<OverlayBatches> batches;
    if (!present.lock(batches)) {
        batches = new OverlayBatches;
        present = batches;
    }
    return batches;
}

void OverlayBatches::add(osgUtil::CullVisitor& visitor, const OverlayQuad& quad, ObjectID id,
                         double sizePixels) {
    batchFor(visitor, quad.picture->page(), id != OSGEARTH_OBJECTID_EMPTY)
        .add(quad, *visitor.getModelViewMatrix(), id, sizePixels);
}

OverlayBatches::Batch& OverlayBatches::batchFor(osgUtil::CullVisitor& visitor, unsigned page, bool hasIds) {
    Traversal& traversal = Traversal::of(visitor);
    const osgUtil::StateGraph* inherited = visitor.getCurrentStateGraph();
    if (Batch* present = traversal.find(inherited, page, hasIds)) {
        return *present;
    }
    Batch& batch = traversal.start(inherited, page, hasIds);
    visitor.pushStateSet(stateFor(page, hasIds));
    visitor.addDrawableAndDepth(&batch, new osg::RefMatrix, kFirstOfAll);
    visitor.popStateSet();
    return batch;
}

osg::StateSet* OverlayBatches::stateFor(unsigned page, bool hasIds) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    osg::ref_ptr<osg::StateSet>& state = m_states[{page, hasIds}];
    if (!state.valid()) {
        state = new osg::StateSet;
        state->setDataVariance(osg::Object::DYNAMIC);
        installGroundState(state);
        setGroundBias(state, 0.0);
        state->setAttributeAndModes(
            new osg::BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA));
        state->setRenderBinDetails(1, "DepthSortedBin");
        VirtualProgram* program = VirtualProgram::getOrCreate(state);
        program->setFunction("oe_OverlayBatch_vertex", kTexCoordSource, ShaderComp::LOCATION_VERTEX_MODEL);
        program->setFunction("oe_OverlayBatch_color", kColorSource, ShaderComp::LOCATION_FRAGMENT_COLORING);
        state->addUniform(new osg::Uniform("oe_OverlayBatch_tex", 0));
        state->setTextureAttributeAndModes(0, m_atlas->texture(page));
        if (hasIds) { // the quads' own ids count, not one of a group around them
            state->addUniform(new osg::Uniform(Registry::objectIndex()->getObjectIDUniformName().c_str(),
                                               OSGEARTH_OBJECTID_EMPTY));
        }
    }
    return state;
}

} // namespace Annotation
} // namespace osgEarth
