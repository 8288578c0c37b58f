#include "workbench/inspection/scene/SpecialObjectNodes.h"

#include "host/Gbk.h"
#include "workbench/inspection/scene/Globe.h"
#include "workbench/inspection/scene/SceneDataSet.h"

#include <osgEarth/GLUtils>
#include <osgEarth/MapNode>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/TextSymbol>

#include <unordered_set>

namespace inspection {

namespace {

using osgEarth::Annotation::FeatureNode;
using osgEarth::Annotation::PlaceNode;
using osgEarth::Symbology::AltitudeSymbol;
using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::PolygonSymbol;
using osgEarth::Symbology::Style;
using osgEarth::Symbology::TextSymbol;

constexpr float kBorderOpacity = 0.65F;

const Color kHalo(1.0F, 1.0F, 1.0F, 1.0F); // neither shade is lost on any ground
const Color kChosenHalo(1.0F, 0.85F, 0.2F, 1.0F);

Style labelStyle(const Color& halo) {
    Style style;
    auto* text = style.getOrCreate<TextSymbol>();
    text->size() = 16.0;
    text->font() = "simhei.ttf";
    text->encoding() = TextSymbol::ENCODING_UTF8;
    text->fill()->color() = Color(0.07F, 0.13F, 0.24F, 1.0F);
    text->halo() = osgEarth::Symbology::Stroke(halo);
    return style;
}

osg::ref_ptr<PlaceNode> label(const KV_BasicNode& record, osg::Image* icon, osgEarth::MapNode& map) {
    const osg::Vec3d& at = record.GetCoor();
    // Objects that were digitised on the globe know their height; imported outlines may not.
    const auto mode = at.z() == 0.0 ? osgEarth::ALTMODE_RELATIVE : osgEarth::ALTMODE_ABSOLUTE;
    const osgEarth::GeoPoint position(map.getMapSRS(), at.x(), at.y(), at.z(), mode);
    osg::ref_ptr<PlaceNode> node =
        new PlaceNode(position, gbkToUtf8(record.GetName()), labelStyle(kHalo), icon);
    node->setDynamic(true);
    return node;
}

Style regionStyle(const Special_Region& region) {
    Style style;
    const osg::Vec3& fill = region.m_fillColor;
    const osg::Vec3& border = region.m_borderColor;
    style.getOrCreate<PolygonSymbol>()->fill()->color() =
        Color(fill.x(), fill.y(), fill.z(), region.m_opacity);
    auto* altitude = style.getOrCreate<AltitudeSymbol>();
    altitude->clamping() = AltitudeSymbol::CLAMP_TO_TERRAIN;
    altitude->technique() = AltitudeSymbol::TECHNIQUE_GPU;
    altitude->verticalOffset() = 0.1;
    auto* line = style.getOrCreate<LineSymbol>();
    line->stroke()->color() = Color(border.x(), border.y(), border.z(), kBorderOpacity);
    line->stroke()->width() = static_cast<float>(region.m_borderWidth);
    line->stroke()->widthUnits() = osgEarth::Units::PIXELS;
    return style;
}

osg::ref_ptr<FeatureNode> outline(const Special_Region& region, osgEarth::MapNode& map) {
    osg::ref_ptr<osgEarth::Symbology::Polygon> polygon = new osgEarth::Symbology::Polygon;
    for (const osg::Vec3d& vertex : region.m_vertices) {
        polygon->push_back(vertex);
    }
    osg::ref_ptr<osgEarth::Features::Feature> feature =
        new osgEarth::Features::Feature(polygon.get(), map.getMapSRS(), Style());
    return new FeatureNode(feature.get(), regionStyle(region));
}

/// Attaches and registers a group of that name; its drawing state is as the tools give it.
void attach(osg::Group& group, const char* name, osgEarth::MapNode& map) {
    group.setName(name);
    osgEarth::GLUtils::setGlobalDefaults(group.getOrCreateStateSet());
    osgEarth::Registry::objectIndex()->tagNode(&group, &group);
    map.addChild(&group);
    redrawGlobe();
}

constexpr char kPointName[] = "ROIPoint";
constexpr char kAreaName[] = "ROIArea";
constexpr char kPolygonName[] = "ROIPolygon";

void updateRecord(SceneDataSet& scene, osg::Group& group, const Special_Point& point) {
    scene.UpdataPipePoint(&group, point);
}

void updateRecord(SceneDataSet& scene, osg::Group& group, const Special_Area& area) {
    scene.UpdataPipeArea(&group, area);
}

void updateRecord(SceneDataSet& scene, osg::Group& group, const Special_Polygon& polygon) {
    scene.UpdataPipePolygon(&group, polygon);
}

template<typename Work>
void forEachLabel(osg::Group& group, const Work& work) {
    for (unsigned index = 0; index < group.getNumChildren(); ++index) {
        if (auto* label = dynamic_cast<PlaceNode*>(group.getChild(index))) {
            work(*label);
        }
    }
}

template<typename Map>
void gather(const Map& map, std::unordered_set<const osg::Node*>& nodes) {
    for (const auto& entry : map) {
        nodes.insert(entry.first.get());
    }
}

} // namespace

void SpecialObjectNodes::fill(osg::Group& group, const Special_Point& point) {
    const osg::ref_ptr<PlaceNode> marker = label(point, m_signs.signOf(point), *globeMapNode());
    marker->setName(kPointName);
    group.removeChildren(0, group.getNumChildren());
    group.addChild(marker);
}

void SpecialObjectNodes::fill(osg::Group& group, const Special_Area& area) {
    fillRegion(group, area, kAreaName);
}

void SpecialObjectNodes::fill(osg::Group& group, const Special_Polygon& polygon) {
    fillRegion(group, polygon, kPolygonName);
}

void SpecialObjectNodes::fillRegion(osg::Group& group, const Special_Region& region, const char* name) {
    const osg::ref_ptr<FeatureNode> area = outline(region, *globeMapNode());
    area->setName(name);
    const osg::ref_ptr<PlaceNode> caption = label(region, m_signs.marker(), *globeMapNode());
    caption->setName(name);
    forgetOutline(group);
    group.removeChildren(0, group.getNumChildren());
    group.addChild(area);
    group.addChild(caption);
    m_outlines.add(*area, region);
}

void SpecialObjectNodes::forgetOutline(osg::Group& group) {
    for (unsigned index = 0; index < group.getNumChildren(); ++index) {
        if (auto* outline = dynamic_cast<FeatureNode*>(group.getChild(index))) {
            m_outlines.remove(*outline);
        }
    }
}

void SpecialObjectNodes::add(const Special_Point& point) {
    osgEarth::MapNode* map = globeMapNode();
    if (!map) {
        return;
    }
    const osg::ref_ptr<osg::Group> group = new osg::Group;
    fill(*group, point);
    attach(*group, kPointName, *map);
    m_scene.addPipePoints(group, point);
}

void SpecialObjectNodes::add(const Special_Area& area) {
    if (const osg::ref_ptr<osg::Group> group = regionGroup(area, kAreaName)) {
        m_scene.addPipeAreas(group, area);
    }
}

void SpecialObjectNodes::add(const Special_Polygon& polygon) {
    if (const osg::ref_ptr<osg::Group> group = regionGroup(polygon, kPolygonName)) {
        m_scene.addPipePolygons(group, polygon);
    }
}

osg::ref_ptr<osg::Group> SpecialObjectNodes::regionGroup(const Special_Region& region, const char* name) {
    osgEarth::MapNode* map = globeMapNode();
    if (!map || region.m_vertices.empty()) {
        return nullptr;
    }
    osg::ref_ptr<osg::Group> group = new osg::Group;
    fillRegion(*group, region, name);
    attach(*group, name, *map);
    return group;
}

void SpecialObjectNodes::setVisible(const std::string& name, bool visible) {
    for (const auto& group : m_scene.groupsOf(name)) {
        group->setNodeMask(visible ? ~0U : 0U);
    }
    redrawGlobe();
}

void SpecialObjectNodes::highlight(const std::string& name) {
    for (const Highlight& former : m_highlighted) {
        former.label->setStyle(former.style);
        former.label->setIconImage(former.icon.get());
    }
    m_highlighted.clear();
    for (const auto& group :
         name.empty() ? std::vector<osg::ref_ptr<osg::Group>>() : m_scene.groupsOf(name)) {
        forEachLabel(*group, [this](PlaceNode& label) {
            m_highlighted.push_back({&label, label.getIconImage(), label.getStyle()});
            label.setStyle(labelStyle(kChosenHalo));
            if (label.getIconImage()) {
                label.setIconImage(chosenSign(*label.getIconImage()).get());
            }
        });
    }
    redrawGlobe();
}

void SpecialObjectNodes::rename(const std::string& oldName, const std::string& newName) {
    for (const auto& group : m_scene.groupsOf(oldName)) {
        m_scene.rename(*group, newName);
        forEachLabel(*group, [&](PlaceNode& label) { label.setText(gbkToUtf8(newName)); });
    }
    redrawGlobe();
}

template<typename Record>
void SpecialObjectNodes::replaceWith(const std::string& oldName, const Record& record) {
    const auto groups = m_scene.groupsOf(oldName);
    if (groups.empty()) {
        add(record);
    }
    for (const auto& group : groups) {
        fill(*group, record);
        updateRecord(m_scene, *group, record);
    }
    redrawGlobe();
}

void SpecialObjectNodes::replace(const std::string& oldName, const Special_Point& point) {
    replaceWith(oldName, point);
}

void SpecialObjectNodes::replace(const std::string& oldName, const Special_Area& area) {
    replaceWith(oldName, area);
}

void SpecialObjectNodes::replace(const std::string& oldName, const Special_Polygon& polygon) {
    replaceWith(oldName, polygon);
}

void SpecialObjectNodes::remove(const std::string& name) {
    for (const auto& group : m_scene.groupsOf(name)) {
        m_scene.forget(*group);
        forgetOutline(*group);
        if (osgEarth::MapNode* map = globeMapNode()) {
            map->removeChild(group.get());
        }
    }
    redrawGlobe();
}

void SpecialObjectNodes::clear() {
    std::unordered_set<const osg::Node*> nodes;
    gather(m_scene.getPipePoints(), nodes);
    gather(m_scene.getPipeAreas(), nodes);
    gather(m_scene.getPipePolygons(), nodes);
    takeOffGlobe(nodes);
    m_highlighted.clear();
    m_outlines.clear();
    m_scene.clear();
}

} // namespace inspection
