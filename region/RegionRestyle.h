#pragma once

#include <osg/Group>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthSymbology/Style>

#include <string>

/// Brings a polygon or area on the globe in line with an edited record: the same outline in a new
/// style, and the new name (GBK) on the label, which is child 1 of the region's group. Thread of the frames.
void restyleRegion(osg::Group& region, osgEarth::Annotation::FeatureNode& outline,
                   const osgEarth::Symbology::Style& style, const std::string& gbkName);
