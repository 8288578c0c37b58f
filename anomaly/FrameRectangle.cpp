#include "anomaly/FrameRectangle.h"

#include "plugin/Drape.h"

#include <osgEarth/MapNode>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/Geometry>
#include <osgEarthSymbology/LineSymbol>

using osgEarth::Annotation::FeatureNode;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::Style;

Style makeFrameStyle() {
    Style style;
    auto* line = style.getOrCreate<LineSymbol>();
    line->stroke()->color() = osgEarth::Symbology::Color::Red;
    line->stroke()->width() = 2.0F;
    drapeOnTerrain(style);
    return style;
}

osg::ref_ptr<FeatureNode> makeFrame(osgEarth::MapNode& mapNode, const Style& style) {
    const osg::ref_ptr<osgEarth::Features::Feature> feature =
        new osgEarth::Features::Feature(new osgEarth::Symbology::LineString, mapNode.getMapSRS(), style);
    osg::ref_ptr<FeatureNode> frame = new FeatureNode(feature.get());
    frame->setMapNode(&mapNode);
    frame->setName("FrameSelect");
    return frame;
}

void drawFrame(FeatureNode& frame, const Style& style, const osg::Vec3d& start, const osg::Vec3d& opposite) {
    osgEarth::Symbology::Geometry* line = frame.getFeature()->getGeometry();
    line->clear();
    frame.setStyle(style);
    line->push_back(start);
    line->push_back(osg::Vec3d(start.x(), opposite.y(), 0));
    line->push_back(opposite);
    line->push_back(osg::Vec3d(opposite.x(), start.y(), 0));
    line->push_back(start);
    frame.init();
}

void eraseFrame(FeatureNode& frame) {
    frame.getFeature()->getGeometry()->clear();
    frame.init();
}
