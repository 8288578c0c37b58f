#pragma once

#include <osg/Vec3d>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthSymbology/Style>

/// The rectangle that selects anomalies, as a feature on the terrain. Corners are map coordinates.

/// A red line on the terrain.
osgEarth::Symbology::Style makeFrameStyle();

/// An empty rectangle, named "FrameSelect", in the map's reference system.
osg::ref_ptr<osgEarth::Annotation::FeatureNode> makeFrame(osgEarth::MapNode& mapNode,
                                                          const osgEarth::Symbology::Style& style);

/// Draws it from one corner to the opposite one. The two corners between them are at height 0.
void drawFrame(osgEarth::Annotation::FeatureNode& frame, const osgEarth::Symbology::Style& style,
               const osg::Vec3d& start, const osg::Vec3d& opposite);

void eraseFrame(osgEarth::Annotation::FeatureNode& frame);
