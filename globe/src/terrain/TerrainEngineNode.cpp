#include <osgEarth/TerrainEngineNode>
#include <osgEarth/VirtualProgram>

#include "TileContext.h"
#include "TileNode.h"

#include <osg/Texture2D>
#include <osgDB/DatabasePager>
#include <osgEarth/ElevationLayer>
#include <osgGA/GUIActionAdapter>
#include <osgViewer/View>

#include <numeric>

namespace osgEarth {
namespace {

const char* const kTerrainVertexShader = R"(
out vec2 oe_terrain_uv;
void oe_terrain_vertex(inout vec4 vertex) {
    oe_terrain_uv = gl_MultiTexCoord0.st;
}
)";

// The vertex colour carries the hill shade; 0.8 is flat ground.
const char* const kTerrainFragmentShader = R"(
uniform sampler2D oe_terrain_picture;
uniform sampler2D oe_terrain_compared;
uniform vec2 oe_terrain_comparison; // share of the compared picture, and where it ends
uniform float oe_terrain_relief;
in vec2 oe_terrain_uv;
void oe_terrain_colour(inout vec4 color) {
    float shade = mix(1.0, color.r / 0.8, oe_terrain_relief);
    vec3 picture = texture(oe_terrain_picture, oe_terrain_uv).rgb;
    if (oe_terrain_comparison.x > 0.0 && gl_FragCoord.x < oe_terrain_comparison.y) {
        vec4 compared = texture(oe_terrain_compared, oe_terrain_uv);
        picture = mix(picture, compared.rgb, compared.a * oe_terrain_comparison.x);
    }
    color = vec4(picture * shade, 1.0);
}
)";

// Of tiles that have nothing to compare.
osg::ref_ptr<osg::Texture2D> clearPicture() {
    osg::ref_ptr<osg::Image> image = new osg::Image();
    image->allocateImage(1, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    std::fill_n(image->data(), 4, static_cast<unsigned char>(0));
    return new osg::Texture2D(image);
}

// The revisions of the map and of its layers, so that a change of one of them shows.
std::vector<int> appearanceOf(const Map& map) {
    std::vector<osg::ref_ptr<TerrainLayer>> layers;
    std::vector<int> revisions = {map.getLayers(layers)};
    for (const auto& layer : layers) {
        revisions.push_back(layer->getAppearanceRevision());
    }
    return revisions;
}

// How often heights have come that the map had not when their layer was added.
int heightArrivalsOf(const Map& map) {
    std::vector<osg::ref_ptr<ElevationLayer>> layers;
    map.getLayers(layers);
    return std::accumulate(layers.begin(), layers.end(), 0,
                           [](int sum, const auto& layer) { return sum + layer->getArrivals(); });
}

} // namespace

TerrainEngineNode::TerrainEngineNode(Map* map, const TerrainOptions& options)
    : m_map(map),
      m_tileContext(std::make_shared<TileContext>(osg::ref_ptr<const Profile>(map->getProfile()), options)),
      m_comparison(new osg::Uniform("oe_terrain_comparison", osg::Vec2f())) {
    setName("osgEarth::TerrainEngineNode");
    setEllipsoidModel(map->isGeocentric() ? new osg::EllipsoidModel(*map->getSRS()->getEllipsoid())
                                          : nullptr);
    setCoordinateSystem(map->getSRS()->getWKT());
    setFormat("WKT");
    m_terrain = new Terrain(this, map->getProfile(), m_tileContext->index());

    osg::StateSet* stateSet = getOrCreateStateSet();
    VirtualProgram* program = VirtualProgram::getOrCreate(stateSet);
    program->setFunction("oe_terrain_vertex", kTerrainVertexShader, ShaderComp::LOCATION_VERTEX_VIEW);
    program->setFunction("oe_terrain_colour", kTerrainFragmentShader, ShaderComp::LOCATION_FRAGMENT_COLORING,
                         0.0F);
    stateSet->addUniform(new osg::Uniform("oe_terrain_picture", 0));
    stateSet->addUniform(new osg::Uniform("oe_terrain_compared", static_cast<int>(TileMesh::kComparedUnit)));
    stateSet->setTextureAttributeAndModes(TileMesh::kComparedUnit, clearPicture());
    stateSet->addUniform(m_comparison);
    stateSet->addUniform(new osg::Uniform("oe_terrain_relief", 1.0F));
    stateSet->setMode(GL_CULL_FACE, osg::StateAttribute::OFF); // the skirts are seen from both sides
    stateSet->setMode(GL_BLEND, osg::StateAttribute::OFF);

    // An update traversal is asked for only when there is something to announce, so that an idle scene needs
    // no frames.
    m_tileContext->setEnteredCallback([this] { setNumChildrenRequiringUpdateTraversal(1); });
    followMapChanges();
    addRootTiles();
}

TerrainEngineNode::~TerrainEngineNode() {
    m_tileContext->setEnteredCallback(nullptr);
}

void TerrainEngineNode::addRootTiles() {
    unsigned wide = 0;
    unsigned high = 0;
    m_map->getProfile()->getNumTiles(0, wide, high);
    for (unsigned y = 0; y < high; ++y) {
        for (unsigned x = 0; x < wide; ++x) {
            osg::ref_ptr<TileNode> tile = new TileNode(TileKey(0, x, y, m_map->getProfile()), m_tileContext);
            addChild(tile);
            tile->enterScene();
        }
    }
}

void TerrainEngineNode::followMapChanges() {
    if (appearanceOf(*m_map) == m_appearance) {
        return;
    }
    if (const int heights = heightArrivalsOf(*m_map); heights != m_heightArrivals) {
        m_heightArrivals = heights;
        m_map->noteNewHeights();
    }
    m_appearance = appearanceOf(*m_map);
    m_tileContext->setLayers(*m_map);
}

void TerrainEngineNode::announceNewTiles() {
    setNumChildrenRequiringUpdateTraversal(0);
    for (const auto& mesh : m_tileContext->takeEnteredTiles()) {
        m_terrain->notifyTileAdded(mesh->key(), mesh->node());
    }
}

void TerrainEngineNode::setComparison(float share, float dividerPixels) {
    m_comparison->set(osg::Vec2f(share, dividerPixels));
    requestRedraw();
}

void TerrainEngineNode::requestRedraw() {
    for (const auto& observed : m_views) {
        osg::ref_ptr<osg::View> view;
        if (observed.lock(view)) {
            if (auto* adapter = dynamic_cast<osgGA::GUIActionAdapter*>(view.get())) {
                adapter->requestRedraw();
            }
        }
    }
}

void TerrainEngineNode::traverse(osg::NodeVisitor& nv) {
    if (nv.getVisitorType() == osg::NodeVisitor::UPDATE_VISITOR) {
        announceNewTiles();
        return; // tiles need no update of their own
    }
    if (auto* visitor = dynamic_cast<osgUtil::CullVisitor*>(&nv)) {
        if (TileContext::isViewCamera(*visitor)) {
            noteView(visitor->getCurrentCamera()->getView());
            m_tileContext->noteView(*visitor);
            followMapChanges();
        }
    }
    osg::CoordinateSystemNode::traverse(nv);
}

void TerrainEngineNode::noteView(osg::View* view) {
    const auto isGone = [](const osg::observer_ptr<osg::View>& observed) { return !observed.valid(); };
    m_views.erase(std::remove_if(m_views.begin(), m_views.end(), isGone), m_views.end());
    if (std::find(m_views.begin(), m_views.end(), view) == m_views.end()) {
        m_views.emplace_back(view);
        if (auto* viewerView = dynamic_cast<osgViewer::View*>(view)) {
            viewerView->getDatabasePager()->setTargetMaximumNumberOfPageLOD(
                m_tileContext->options().maxResidentTiles().get());
        }
    }
}

} // namespace osgEarth
