#pragma once

#include "host/Export.h"

namespace osgEarth {
class MapNode;
namespace Util {
class EarthManipulator;
}
} // namespace osgEarth
namespace osgViewer {
class View;
}

/// The globe's view. Scene and event handlers are changed between frames only, that is, in
/// CXCommandHandler::OnMessage or on the thread that runs the frames. The accessors may be called
/// there and on the GUI thread; what they give belongs to the host.
class VIEWER_API CXViewer {
public:
    /// Its requestRedraw asks for a new frame after a change that the viewer cannot see by itself, on any
    /// thread.
    virtual osgViewer::View* getViewer() = 0;
    /// The camera's bindings and viewpoints; a tool puts back what it rebinds.
    virtual osgEarth::Util::EarthManipulator* getManipulator() = 0;
    /// An ordinary group for its users: annotations are its children. Its map gives the spatial reference.
    virtual osgEarth::MapNode* getMapNode() = 0;

protected:
    virtual ~CXViewer() = default;
};

/// The one viewer; null while the host has no globe.
extern VIEWER_API CXViewer* g_pCXviewer;
