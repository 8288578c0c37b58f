#pragma once

#include <osg/Vec3d>
#include <osgEarthAnnotation/PlaceNode>

#include <string>

/// The place marker of a special object: the pin of "icon/Placemark_32.png" with a label beside it.
/// `position` is in the map's reference system, absolute height; `label` is GBK. Null without a globe.
osg::ref_ptr<osgEarth::Annotation::PlaceNode> makeMarker(const osg::Vec3d& position,
                                                         const std::string& label);
