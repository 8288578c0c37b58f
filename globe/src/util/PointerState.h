// What the buttons held are doing.
#pragma once
#include <osg/Vec3d>
#include <osgEarthUtil/EarthManipulator>

#include <optional>

namespace osgEarth {
namespace Util {

// While buttons are held: the action they drive, and where it began.
struct EarthManipulator::Pointer {
    Action action;
    bool isDown = false;
    bool hasMoved = false;
    float pressX = 0.0F;
    float pressY = 0.0F;
    double lastX = 0.0; // -1..1 across the window
    double lastY = 0.0;
    double startX = 0.0;
    double startY = 0.0;
    int buttons = 0;
    std::optional<osg::Vec3d> grabbed;
    std::optional<double> lastFrame; // of a continuous action
};

} // namespace Util
} // namespace osgEarth
