// Viewers that draw off the screen, and their pictures.
#pragma once
#include <osg/Image>
#include <osgViewer/Viewer>

namespace globetest {

/// Gives a viewer that is not realized yet a GL context off the screen, and the thread of its caller alone for
/// its frames. False without a display (xvfb is enough).
bool drawOffscreen(osgViewer::Viewer& viewer, int width, int height);

/// The picture of the next frame: RGB, rows from the bottom.
osg::ref_ptr<osg::Image> nextFrame(osgViewer::Viewer& viewer);

/// Keeps the display connected between tests: a virtual one starts anew when its last client leaves, and a
/// client that comes at that moment is turned away.
void stayConnected();

} // namespace globetest
