#pragma once

#include "anomaly/Selection.h"

#include <osg/Group>
#include <osg/ref_ptr>
#include <osgEarthAnnotation/ImageOverlay>

#include <utility>
#include <vector>

/// The anomaly overlays as the inspection data library put them on the globe: children of the groups named
/// "diffImageOverlay" right under the map node. Between frames and in the event traversal.

using Overlay = osg::ref_ptr<osgEarth::Annotation::ImageOverlay>;
using Overlays = std::vector<Overlay>;

/// All of them, in the order of the scene.
Overlays overlaysOnGlobe();

/// The overlay of that object id; null for an unknown id and for other kinds of objects.
Overlay overlayOfId(int objectId);

/// Longitude and latitude, degrees.
anomaly::Box boundsOf(const osgEarth::Annotation::ImageOverlay& overlay);
anomaly::Place centreOf(const osgEarth::Annotation::ImageOverlay& overlay);

/// The overlays and their centres side by side, for what looks at thousands of them in each event. It holds
/// on to overlays that have gone until it is brought up to date.
class OverlayCentres {
public:
    /// Gathers them anew when a group has come or gone or has another number of overlays than before.
    void update();
    void clear();

    const Overlays& overlays() const { return m_overlays; }
    const std::vector<anomaly::Place>& centres() const { return m_centres; }
    /// For each overlay, whether `some` holds it.
    std::vector<char> membership(const Overlays& some) const;

private:
    std::vector<std::pair<osg::ref_ptr<osg::Group>, unsigned>> m_groups; ///< and their numbers of children
    Overlays m_overlays;
    std::vector<anomaly::Place> m_centres;
};
