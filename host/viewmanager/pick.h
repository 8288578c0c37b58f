#pragma once

#include "host/Export.h"

#include <osg/Vec3d>

namespace osgGA {
class GUIEventAdapter;
}
namespace osgViewer {
class View;
}

/// What `pick` answers off the globe: a point far out in space. Compared exactly.
inline const osg::Vec3d kPickNoHit(-9999999, -9999999, -9999999);

/// The point of the terrain under the event's pointer position, in world coordinates (geocentric metres), or
/// kPickNoHit when the pointer is off the globe or the view shows no map. The terrain alone counts, in the
/// tiles that are loaded: what stands on it is looked through. `view` may be null. Frame loop.
VIEWMANAGER_API osg::Vec3d pick(osgViewer::View* view, const osgGA::GUIEventAdapter& ea);
