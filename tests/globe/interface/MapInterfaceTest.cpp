#include "Offers.h"

#include <gtest/gtest.h>

#include <osgEarth/ElevationLayer>
#include <osgEarth/GLUtils>
#include <osgEarth/ImageLayer>
#include <osgEarth/Map>
#include <osgEarth/MapNode>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Picker>
#include <osgEarth/Registry>
#include <osgEarth/Terrain>
#include <osgEarth/TerrainEngineNode>
#include <osgEarth/Version>
#include <osgEarth/VirtualProgram>
#include <osgEarthDrivers/gdal/GDALOptions>

namespace globetest {
namespace {

using namespace osgEarth;

TEST(MapInterface, Map) {
    static_assert(std::is_base_of_v<ConfigOptions, MapOptions> && kMakes<MapOptions, const ConfigOptions&>);
    static_assert(MapOptions::CSTYPE_GEOCENTRIC < MapOptions::CSTYPE_GEOCENTRIC_CUBE &&
                  MapOptions::CSTYPE_GEOCENTRIC_CUBE < MapOptions::CSTYPE_PROJECTED);
    offersOption<MapOptions, std::string>(&MapOptions::name);
    offersOption<MapOptions, MapOptions::CoordinateSystemType>(&MapOptions::coordSysType);
    offersOption<MapOptions, ProfileOptions>(&MapOptions::profile);

    static_assert(std::is_base_of_v<osg::Object, Map> && kMakes<Map> && kMakes<Map, const MapOptions&>);
    offers<const Profile* (Map::*)() const>(&Map::getProfile);
    offers<const SpatialReference* (Map::*)() const>(&Map::getSRS);
    offers<void (Map::*)(Layer*)>(&Map::addLayer);
    offers<void (Map::*)(Layer*, unsigned)>(&Map::insertLayer);
    offers<void (Map::*)(Layer*)>(&Map::removeLayer);
    offers<unsigned (Map::*)() const>(&Map::getNumLayers);
    offers<Layer* (Map::*)(unsigned) const>(&Map::getLayerAt);
    offers<Layer* (Map::*)(const std::string&) const>(&Map::getLayerByName);
    offers<Revision (Map::*)(std::vector<osg::ref_ptr<ImageLayer>>&) const>(&Map::getLayers<ImageLayer>);
    offers<Revision (Map::*)() const>(&Map::getDataModelRevision);
    offers<bool (Map::*)() const>(&Map::isGeocentric);
}

template<typename AnyLayer, typename Options>
void offersRasterLayer() {
    static_assert(std::is_base_of_v<TerrainLayer, AnyLayer>);
    static_assert(kMakes<AnyLayer, const std::string&, const TileSourceOptions&> &&
                  kMakes<AnyLayer, const Options&>);
    offers<const Status& (AnyLayer::*)() const>(&AnyLayer::getStatus);
    offers<bool (AnyLayer::*)() const>(&AnyLayer::getEnabled);
    offers<const std::string& (AnyLayer::*)() const>(&AnyLayer::getName);
}

TEST(MapInterface, Layers) {
    using Drivers::GDALOptions;
    static_assert(std::is_base_of_v<TileSourceOptions, GDALOptions> && kMakes<GDALOptions> &&
                  kMakes<GDALOptions, const TileSourceOptions&>);
    offersOption<GDALOptions, URI>(&GDALOptions::url);
    offersOption<GDALOptions, ElevationInterpolation>(&GDALOptions::interpolation);
    offersRasterLayer<ImageLayer, ImageLayerOptions>();
    offersRasterLayer<ElevationLayer, ElevationLayerOptions>();
    offers<void (ImageLayer::*)(float)>(&ImageLayer::setOpacity);
    offers<void (ImageLayer::*)(bool)>(&ImageLayer::setVisible);
    offers<bool (ImageLayer::*)() const>(&ImageLayer::getVisible);
}

TEST(MapInterface, Terrain) {
    using SRS = const SpatialReference*;
    offers<bool (TerrainResolver::*)(SRS, double, double, double*, double*) const>(
        &TerrainResolver::getHeight);
    offers<void (TerrainCallback::*)(const TileKey&, osg::Node*, TerrainCallbackContext&)>(
        &TerrainCallback::onTileAdded);
    static_assert(std::is_base_of_v<osg::Referenced, TerrainCallback>);
    static_assert(std::is_base_of_v<osg::Referenced, Terrain> && std::is_base_of_v<TerrainResolver, Terrain>);
    offers<const Profile* (Terrain::*)() const>(&Terrain::getProfile);
    offers<SRS (Terrain::*)() const>(&Terrain::getSRS);
    offers<bool (Terrain::*)(SRS, double, double, double*, double*) const>(&Terrain::getHeight);
    using Height = decltype(std::declval<const Terrain&>().getHeight(nullptr, 0.0, 0.0, nullptr));
    static_assert(std::is_same_v<Height, bool>);
    offers<bool (Terrain::*)(osg::View*, float, float, osg::Vec3d&) const>(
        &Terrain::getWorldCoordsUnderMouse);
    offers<void (Terrain::*)(TerrainCallback*)>(&Terrain::addTerrainCallback);
    offers<void (Terrain::*)(TerrainCallback*)>(&Terrain::removeTerrainCallback);
    offers<osg::Node* (Terrain::*)() const>(&Terrain::getGraph);

    static_assert(std::is_base_of_v<osg::CoordinateSystemNode, TerrainEngineNode>);
    offers<const Map* (TerrainEngineNode::*)() const>(&TerrainEngineNode::getMap);
    static_assert(std::is_same_v<decltype(std::declval<TerrainEngineNode&>().getTerrain()), Terrain*>);
    offers<void (TerrainEngineNode::*)()>(&TerrainEngineNode::requestRedraw);
}

TEST(MapInterface, MapNode) {
    static_assert(std::is_base_of_v<ConfigOptions, MapNodeOptions> && kMakes<MapNodeOptions, const Config&> &&
                  kMakes<MapNodeOptions> && kMakes<MapNodeOptions, const TerrainOptions&>);
    offersOption<MapNodeOptions, bool>(&MapNodeOptions::enableLighting);
    offersOption<MapNodeOptions, unsigned>(&MapNodeOptions::overlayTextureSize);
    offersOption<MapNodeOptions, float>(&MapNodeOptions::overlayResolutionRatio);
    offers<void (MapNodeOptions::*)(const TerrainOptions&)>(&MapNodeOptions::setTerrainOptions);
    offersOption<TerrainOptions, float>(&TerrainOptions::verticalScale);
    offersOption<TerrainOptions, float>(&TerrainOptions::minTileRangeFactor);
    offersOption<TerrainOptions, int>(&TerrainOptions::tileSize);
    offersOption<TerrainOptions, unsigned>(&TerrainOptions::maxLOD);

    static_assert(std::is_base_of_v<osg::Group, MapNode>);
    static_assert(kMakes<MapNode> && kMakes<MapNode, Map*> && kMakes<MapNode, Map*, const MapNodeOptions&>);
    offers<Map* (MapNode::*)()>(&MapNode::getMap);
    offers<const Map* (MapNode::*)() const>(&MapNode::getMap);
    offers<const SpatialReference* (MapNode::*)() const>(&MapNode::getMapSRS);
    offers<bool (MapNode::*)() const>(&MapNode::isGeocentric);
    offers<Terrain* (MapNode::*)()>(&MapNode::getTerrain);
    offers<const Terrain* (MapNode::*)() const>(&MapNode::getTerrain);
    offers<TerrainEngineNode* (MapNode::*)() const>(&MapNode::getTerrainEngine);
    offers<MapNode* (*)(osg::Node*, unsigned)>(&MapNode::findMapNode);
    offers<MapNode* (*)(osg::Node*, unsigned)>(&MapNode::get);
    EXPECT_EQ(MapNode::findMapNode(nullptr), nullptr);
    EXPECT_EQ(MapNode::get(nullptr), nullptr);
}

TEST(MapInterface, Registry) {
    static_assert(std::is_base_of_v<osg::Referenced, Registry>);
    offers<Registry* (*)(bool)>(&Registry::instance);
    EXPECT_NE(Registry::instance(), nullptr);
    offers<ObjectIndex* (*)()>(&Registry::objectIndex);
    offers<const Profile* (Registry::*)() const>(&Registry::getGlobalGeodeticProfile);
    offers<const Profile* (Registry::*)() const>(&Registry::getSphericalMercatorProfile);
    offers<osgText::Font* (Registry::*)()>(&Registry::getDefaultFont);
    offers<void (Registry::*)(osgText::Font*)>(&Registry::setDefaultFont);
    offersProperty<Registry, float>(&Registry::getDevicePixelRatio, &Registry::setDevicePixelRatio);
    offers<UID (Registry::*)()>(&Registry::createUID);
}

TEST(MapInterface, ObjectIndex) {
    static_assert(std::is_same_v<ObjectID, unsigned> && std::is_same_v<ObjectIDArray, osg::UIntArray>);
    static_assert(OSGEARTH_OBJECTID_EMPTY == 0 && OSGEARTH_OBJECTID_TERRAIN == 1);
    using Builder = ObjectIndexBuilder<osg::Referenced>;
    using Index = ObjectIndex;
    static_assert(std::is_base_of_v<osg::Referenced, Index> && std::is_base_of_v<Builder, Index>);
    offers<ObjectID (Builder::*)(osg::Drawable*, osg::Referenced*)>(&Builder::tagDrawable);
    offers<ObjectID (Builder::*)(osg::Node*, osg::Referenced*)>(&Builder::tagAllDrawables);
    offers<ObjectID (Builder::*)(osg::Node*, osg::Referenced*)>(&Builder::tagNode);
    offers<ObjectID (Index::*)(osg::Referenced*)>(&Index::insert);
    offers<void (Index::*)(ObjectID)>(&Index::remove);
    offers<osg::ref_ptr<osg::Node> (Index::*)(ObjectID) const>(&Index::get<osg::Node>);
    offers<ObjectID (Index::*)(osg::Drawable*, osg::Referenced*)>(&Index::tagDrawable);
    offers<void (Index::*)(osg::Drawable*, ObjectID) const>(&Index::tagDrawable);
    offers<ObjectID (Index::*)(osg::Node*, osg::Referenced*)>(&Index::tagAllDrawables);
    offers<void (Index::*)(osg::Node*, ObjectID) const>(&Index::tagAllDrawables);
    offers<ObjectID (Index::*)(osg::Node*, osg::Referenced*)>(&Index::tagNode);
    offers<void (Index::*)(osg::Node*, ObjectID) const>(&Index::tagNode);
    offers<bool (Index::*)(osg::Node*, ObjectID&) const>(&Index::getObjectID);
    offers<bool (Index::*)(const osg::Drawable*, std::set<ObjectID>&) const>(&Index::getObjectIDs);
    offers<const std::string& (Index::*)() const>(&Index::getObjectIDUniformName);
    offers<const std::string& (Index::*)() const>(&Index::getObjectIDAttribName);
    offers<int (Index::*)() const>(&Index::getObjectIDAttribLocation);
    offers<bool (Index::*)(VirtualProgram*) const>(&Index::loadShaders);
}

TEST(MapInterface, Picker) {
    using Callback = Picker::Callback;
    static_assert(std::is_base_of_v<osgGA::GUIEventHandler, Picker>);
    static_assert(std::is_base_of_v<osg::Referenced, Callback>);
    offers<void (Callback::*)(ObjectID)>(&Callback::onHit);
    offers<void (Callback::*)()>(&Callback::onMiss);
    offers<bool (Callback::*)(const osgGA::GUIEventAdapter&, const osgGA::GUIActionAdapter&)>(
        &Callback::accept);
    offers<bool (Picker::*)(osg::View*, float, float, Callback*)>(&Picker::pick);
}

TEST(MapInterface, VirtualProgram) {
    using namespace ShaderComp;
    static_assert(LOCATION_VERTEX_MODEL == 0 && LOCATION_VERTEX_VIEW == 1 && LOCATION_VERTEX_CLIP == 2 &&
                  LOCATION_TESS_CONTROL == 3 && LOCATION_TESS_EVALUATION == 4 && LOCATION_GEOMETRY == 5 &&
                  LOCATION_FRAGMENT_COLORING == 6 && LOCATION_FRAGMENT_LIGHTING == 7 &&
                  LOCATION_FRAGMENT_OUTPUT == 8 && LOCATION_UNDEFINED == 9);
    static_assert(std::is_base_of_v<osg::Referenced, AcceptCallback>);
    offers<bool (AcceptCallback::*)(const osg::State&)>(&AcceptCallback::operator());

    using Program = VirtualProgram;
    using Text = const std::string&;
    static_assert(std::is_base_of_v<osg::StateAttribute, Program> && kMakes<Program> &&
                  kMakes<Program, unsigned>);
    for (Program* (*const find)(osg::StateSet*) :
         {&Program::getOrCreate, &Program::get, &Program::cloneOrCreate}) {
        offers(find);
        EXPECT_EQ(find(nullptr), nullptr);
    }
    offers<void (Program::*)(Text, Text, FunctionLocation, float)>(&Program::setFunction);
    offers<void (Program::*)(Text, Text, FunctionLocation, AcceptCallback*, float)>(&Program::setFunction);
    const osg::ref_ptr<Program> program = new Program;
    program->setFunction("f", "void f(inout vec4 color) {}", LOCATION_FRAGMENT_COLORING);
    program->setFunction("g", "void g(inout vec4 color) {}", LOCATION_FRAGMENT_COLORING,
                         static_cast<AcceptCallback*>(nullptr));
    offers<void (Program::*)(Text)>(&Program::removeShader);
    offersProperty<Program, bool>(&Program::getInheritShaders, &Program::setInheritShaders);
    offers<osg::Shader* (Program::*)(Text, osg::Shader*, osg::StateAttribute::OverrideValue)>(
        &Program::setShader);
    program->setShader("h", new osg::Shader(osg::Shader::FRAGMENT));
    offers<void (Program::*)(Text, GLuint)>(&Program::addBindAttribLocation);
}

TEST(MapInterface, GLUtils) {
    using Value = osg::StateAttribute::OverrideValue;
    offers<void (*)(osg::StateSet*)>(&GLUtils::setGlobalDefaults);
    offers<void (*)(osg::StateSet*, Value)>(&GLUtils::setLighting);
    offers<void (*)(osg::StateSet*, float, Value)>(&GLUtils::setLineWidth);
    offers<void (*)(osg::StateSet*, float, Value)>(&GLUtils::setPointSize);
}

TEST(MapInterface, Version) {
    static_assert(OSGEARTH_MIN_VERSION_REQUIRED(2, 10, 0) && !OSGEARTH_MIN_VERSION_REQUIRED(3, 0, 0));
}

} // namespace
} // namespace globetest
