#pragma once

#include "anomaly/Selection.h"

#include <osg/Group>
#include <osg/ref_ptr>
#include <osgEarthAnnotation/ImageOverlay>

#include <vector>

/// The anomaly overlays as the inspection data library put them on the globe: children of the groups named
/// "diffImageOverlay" right under the map node. Thread of the frames.

using Overlay = osg::ref_ptr<osgEarth::Annotation::ImageOverlay>;
using Overlays = std::vector<Overlay>;

/// All of them, in the order of the scene.
Overlays overlaysOnGlobe();

/// The overlay of that object id; null for an unknown id and for other kinds of objects.
Overlay overlayOfId(int objectId);

/// Longitude and latitude, degrees.
anomaly::Box boundsOf(const osgEarth::Annotation::ImageOverlay& overlay);
anomaly::Place centreOf(const osgEarth::Annotation::ImageOverlay& overlay);
