#include "../features/FeatureMesh.h"
#include "GroundBias.h"
#include "GroundBin.h"

#include <osgEarth/DepthOffset>
#include <osgEarth/VirtualProgram>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthSymbology/RenderSymbol>

namespace osgEarth {
namespace Annotation {
namespace {

const char* const kMinAlphaSource = "uniform float oe_minAlpha;\n"
                                    "void oe_feature_minAlpha(inout vec4 color) {\n"
                                    "    if (color.a < oe_minAlpha) discard;\n"
                                    "}\n";

osg::StateAttribute::OverrideValue onOff(bool on) {
    return on ? osg::StateAttribute::ON : osg::StateAttribute::OFF;
}

/// Puts what a render symbol sets on the state set of a node's content.
void applyRenderSymbol(const RenderSymbol& symbol, osg::StateSet* stateSet) {
    if (symbol.depthTest().isSet()) {
        stateSet->setMode(GL_DEPTH_TEST, onOff(symbol.depthTest().get()));
    }
    if (symbol.lighting().isSet()) {
        stateSet->setMode(GL_LIGHTING, onOff(symbol.lighting().get()));
    }
    if (symbol.backfaceCulling().isSet()) {
        stateSet->setMode(GL_CULL_FACE, onOff(symbol.backfaceCulling().get()));
    }
    if (symbol.minAlpha().isSet()) {
        VirtualProgram::getOrCreate(stateSet)->setFunction("oe_feature_minAlpha", kMinAlphaSource,
                                                           ShaderComp::LOCATION_FRAGMENT_LIGHTING, 0.95f);
        stateSet->addUniform(new osg::Uniform("oe_minAlpha", symbol.minAlpha().get()));
    }
    if (symbol.order().isSet() || symbol.renderBin().isSet()) {
        stateSet->setRenderBinDetails(symbol.order().isSet() ? static_cast<int>(symbol.order()->eval()) : 1,
                                      symbol.renderBin().isSet() ? symbol.renderBin().get()
                                                                 : "DepthSortedBin");
    }
}

double longestSegment(const FeatureList& features) {
    double longest = 0.0;
    for (const osg::ref_ptr<Feature>& feature : features) {
        const Symbology::Geometry* points = feature->getGeometry();
        for (std::size_t i = 1; points && i < points->size(); ++i) {
            longest = std::max(longest, GeoPoint(feature->getSRS(), (*points)[i - 1])
                                            .distanceTo(GeoPoint(feature->getSRS(), (*points)[i])));
        }
    }
    return longest;
}

} // namespace

FeatureNode::FeatureNode(Feature* feature, const Style& style, const GeometryCompilerOptions& options,
                         StyleSheet*)
    : m_options(options) {
    m_features.emplace_back(feature);
    AnnotationNode::setStyle(style.empty() && feature->style().isSet() ? feature->style().get() : style);
}

FeatureNode::FeatureNode(const FeatureList& features, const Style& style,
                         const GeometryCompilerOptions& options, StyleSheet*)
    : m_features(features), m_options(options) {
    AnnotationNode::setStyle(style);
}

FeatureNode::~FeatureNode() = default;

Feature* FeatureNode::getFeature() {
    return m_features.size() == 1 ? m_features.front().get() : nullptr;
}

void FeatureNode::setFeature(Feature* feature) {
    m_features.clear();
    if (feature) {
        m_features.emplace_back(feature);
    }
    rebuild();
}

void FeatureNode::setStyle(const Style& style) {
    AnnotationNode::setStyle(style);
    rebuild();
}

void FeatureNode::setMapNode(MapNode* mapNode) {
    if (getMapNode() == mapNode) {
        return;
    }
    AnnotationNode::setMapNode(mapNode);
    rebuild();
}

void FeatureNode::dirty() {
    rebuild();
}

void FeatureNode::update() {
    rebuild();
}

void FeatureNode::traverse(osg::NodeVisitor& nv) {
    const RenderSymbol* render = getStyle().get<RenderSymbol>();
    if (nv.getVisitorType() == osg::NodeVisitor::CULL_VISITOR && render && render->maxAltitude().isSet() &&
        getMapNode()) {
        osg::Vec3d eye;
        const osg::Vec3d eyeWorld = nv.getViewPoint();
        if (getMapNode()->getMapSRS()->transformFromWorld(eyeWorld, eye) &&
            eye.z() > render->maxAltitude()->as(Units::METERS)) {
            return;
        }
    }
    AnnotationNode::traverse(nv);
}

void FeatureNode::rebuild() {
    removeChildren(0, getNumChildren());
    MapNode* mapNode = getMapNode();
    if (!mapNode) {
        return;
    }
    m_clamped = isClamped(getStyle()) && !m_options.ignoreAltitudeSymbol().get();
    followLayers(m_clamped);
    setCullingActive(!m_clamped); // it may have been built far from where the terrain now is

    osg::ref_ptr<osg::Group> content = new osg::Group;
    FeatureMesh mesh(*mapNode, getStyle(), m_options);
    for (const osg::ref_ptr<Feature>& feature : m_features) {
        if (const osg::ref_ptr<osg::MatrixTransform> drawn = mesh.build(*feature)) {
            content->addChild(drawn);
        }
    }
    osg::StateSet* stateSet = content->getOrCreateStateSet();
    const RenderSymbol* render = getStyle().get<RenderSymbol>();
    const bool biased = render && render->depthOffset().isSet();
    if (m_clamped || biased) {
        installGroundState(stateSet);
    } else {
        stateSet->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    }
    if (m_clamped) {
        GroundBin::install(stateSet);
    }
    if (biased) {
        DepthOffset::apply(stateSet, render->depthOffset().get(), longestSegment(m_features));
    } else if (m_clamped) {
        setGroundBias(stateSet, mesh.deviationMetres());
    }
    if (render) {
        applyRenderSymbol(*render, stateSet);
    }
    addChild(content);
}

} // namespace Annotation
} // namespace osgEarth
