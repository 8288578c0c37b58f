#include "special/AreaDrawing.h"

#include "plugin/Drape.h"
#include "plugin/Globe.h"
#include "special/NearestTurn.h"

#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/Geometry>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/RenderSymbol>

using osgEarth::Annotation::FeatureNode;
using osgEarth::Features::Feature;
using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::PolygonSymbol;
using osgEarth::Symbology::RenderSymbol;
using osgEarth::Symbology::Style;

const char* const kAreaGroupName = "ROIArea";

namespace {

/// A feature node for the map, with an empty geometry.
osg::ref_ptr<FeatureNode> makeFeatureNode(osgEarth::Symbology::Geometry* geometry, const Style& style) {
    osgEarth::MapNode* mapNode = globeMapNode();
    const osg::ref_ptr<Feature> feature = new Feature(geometry, mapNode->getMapSRS(), style);
    osg::ref_ptr<FeatureNode> node = new FeatureNode(feature.get());
    node->setMapNode(mapNode);
    return node;
}

/// A feature's own symbols win over its node's, so both get the style; then the node is rebuilt.
void restyle(FeatureNode& node, const Style& style) {
    node.getFeature()->style() = style;
    node.setStyle(style);
    node.init();
}

Style makeOutlineStyle() {
    Style style;
    auto* line = style.getOrCreate<LineSymbol>();
    line->stroke()->color() = Color(1.0F, 1.0F, 1.0F, 0.55F);
    line->stroke()->width() = 2.0F;
    drapeOnTerrain(style);
    return style;
}

} // namespace

Style makeFirstAreaStyle() {
    Style style;
    style.getOrCreate<PolygonSymbol>()->fill()->color() = Color(1.0F, 1.0F, 0.0F, 0.55F);
    style.getOrCreate<RenderSymbol>()->depthOffset()->minBias() =
        osgEarth::Distance(100.0, osgEarth::Units::METERS);
    auto* line = style.getOrCreate<LineSymbol>();
    line->stroke()->color() = Color(Color::Cyan, 0.6F);
    line->stroke()->width() = 1.0F;
    line->stroke()->widthUnits() = osgEarth::Units::PIXELS;
    drapeOnTerrain(style);
    return style;
}

void AreaDrawing::begin(const osg::ref_ptr<osg::Group>& group) {
    m_group = group;
    m_vertices.clear();
    m_areaNode = nullptr;
    m_bandNode = nullptr;
    m_outlineStyle = makeOutlineStyle();
}

void AreaDrawing::draw(const std::vector<osg::Vec3d>& vertices, const Style& style) {
    m_vertices = vertices;
    if (!m_areaNode) {
        m_areaNode = makeFeatureNode(new osgEarth::Symbology::Polygon, style);
        m_areaNode->setName(kAreaGroupName);
        m_group->addChild(m_areaNode);
    }
    osgEarth::Symbology::Geometry* ring = m_areaNode->getFeature()->getGeometry();
    ring->clear();
    for (const osg::Vec3d& vertex : m_vertices) {
        ring->push_back(vertex);
    }
    restyle(*m_areaNode, style);
    emptyBand();
}

void AreaDrawing::stretchBand(const osg::Vec3d& pointer) {
    if (m_vertices.size() < 2) {
        return;
    }
    if (!m_bandNode) {
        m_bandNode = makeFeatureNode(new osgEarth::Symbology::LineString, m_outlineStyle);
        m_group->addChild(m_bandNode);
    }
    osgEarth::Symbology::Geometry* line = m_bandNode->getFeature()->getGeometry();
    line->clear();
    line->push_back(m_vertices.front());
    const osgEarth::MapNode* mapNode = globeMapNode();
    line->push_back(onTurnOf(m_vertices.back(), pointer, mapNode ? mapNode->getMapSRS() : nullptr));
    line->push_back(m_vertices.back());
    restyle(*m_bandNode, m_outlineStyle);
}

void AreaDrawing::emptyBand() {
    if (m_bandNode) {
        m_bandNode->getFeature()->getGeometry()->clear();
        m_bandNode->init();
    }
}

void AreaDrawing::close() {
    m_outlineStyle.getOrCreate<LineSymbol>()->stroke()->color() = Color(1.0F, 0.0F, 0.0F, 1.0F);
    if (m_bandNode) {
        restyle(*m_bandNode, m_outlineStyle);
    }
    m_vertices.clear();
    emptyBand();
}

void AreaDrawing::finish(const Style& style) {
    if (!m_areaNode) {
        return;
    }
    osgEarth::MapNode* mapNode = globeMapNode();
    const osg::ref_ptr<osgEarth::Symbology::Geometry> ring = m_areaNode->getFeature()->getGeometry()->clone();
    m_areaNode->setFeature(new Feature(ring.get(), mapNode->getMapSRS(), style));
    m_areaNode->setMapNode(mapNode);
    m_areaNode->setStyle(style);
    m_areaNode->setName(kAreaGroupName);
    m_areaNode->init();
    m_areaNode = nullptr; // it stays in its group as it is; what is drawn from now on is another area
}

void AreaDrawing::label(const osg::ref_ptr<osgEarth::Annotation::PlaceNode>& label) {
    m_group->removeChild(1); // the rubber band, if there is one, stands behind the area
    m_group->addChild(label);
    m_group->setName(kAreaGroupName);
    osgEarth::ObjectIndex* index = osgEarth::Registry::objectIndex();
    index->tagNode(m_group, m_group);
    index->tagAllDrawables(m_group, m_group);
    applyGlobalDefaults(m_group);
}
