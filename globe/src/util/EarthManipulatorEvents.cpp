// What the manipulator makes of the pointer, the wheel and the keys.
#include "CameraMotion.h"
#include "PointerState.h"
#include "ViewpointFlight.h"

#include <osgGA/GUIEventAdapter>

#include <cmath>

namespace osgEarth {
namespace Util {
namespace {

using osgGA::GUIEventAdapter;

constexpr double keyStep = 0.1;       // of the view, or radians
constexpr double zoomStep = 0.2;      // of the range
constexpr double turnPerWindow = 1.5; // radians for a drag over half the window
constexpr float clickSlackPixels = 3.0F;

/// Half of what is in view at a distance of one: across and up.
osg::Vec2d halfView(const osg::View* view) {
    double fovy = 33.4;
    double aspect = 1.0;
    double nearPlane = 0.0;
    double farPlane = 0.0;
    if (view != nullptr) {
        view->getCamera()->getProjectionMatrixAsPerspective(fovy, aspect, nearPlane, farPlane);
    }
    const double up = std::tan(osg::DegreesToRadians(fovy) * 0.5);
    return {up * aspect, up};
}

} // namespace

osg::Vec3d EarthManipulator::rayUnder(const osgGA::GUIEventAdapter& ea) const {
    if (!_view.valid()) {
        return {0.0, 0.0, -1.0};
    }
    const osg::Matrixd eyeFromWindow = osg::Matrixd::inverse(_view->getCamera()->getProjectionMatrix());
    return osg::Vec3d(ea.getXnormalized(), ea.getYnormalized(), 0.0) * eyeFromWindow;
}

// A key says nothing about a place; the pointer may rest anywhere meanwhile.
osg::Vec3d EarthManipulator::zoomRay(const osgGA::GUIEventAdapter& ea) const {
    return ea.getEventType() == GUIEventAdapter::KEYDOWN ? osg::Vec3d(0.0, 0.0, -1.0) : rayUnder(ea);
}

void EarthManipulator::goTo(const Action& action, const osgGA::GUIEventAdapter& ea) {
    const std::optional<osg::Vec3d> ground = motion().groundOn(rayUnder(ea));
    if (!ground) {
        return;
    }
    CameraPose target = *_pose;
    osg::Vec3d focal;
    target.srs()->transformFromWorld(*ground, focal);
    target.setFocalPoint(focal);
    target.setRange(target.range() * action.options.get(OPTION_GOTO_RANGE_FACTOR, 1.0));
    CameraMotion::clampToSettings(target, *_settings);
    moveTo(target, action.options.get(OPTION_DURATION, 1.0));
}

bool EarthManipulator::handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) {
    _view = dynamic_cast<osg::View*>(&aa);
    if (ea.getEventType() == GUIEventAdapter::FRAME) {
        handleFrame(ea);
        return false;
    }
    if (!findMapNode()) {
        return false;
    }
    if (ea.getHandled() && ea.getEventType() != GUIEventAdapter::RELEASE) {
        return false;
    }
    switch (ea.getEventType()) {
    case GUIEventAdapter::PUSH:
        return handleButton(ea);
    case GUIEventAdapter::DRAG:
        return handleDrag(ea);
    case GUIEventAdapter::RELEASE:
        return handleRelease(ea);
    case GUIEventAdapter::DOUBLECLICK:
        return handleDoubleClick(ea);
    case GUIEventAdapter::SCROLL:
        return handleScroll(ea);
    case GUIEventAdapter::KEYDOWN:
        return handleKey(ea);
    case GUIEventAdapter::KEYUP:
        return ea.getKey() < GUIEventAdapter::KEY_Shift_L;
    default:
        return false;
    }
}

bool EarthManipulator::handleButton(const osgGA::GUIEventAdapter& ea) {
    if (_flight != nullptr) {
        moveTo(*_pose, 0.0); // a touch stops a flight where it is
    }
    *_pointer = Pointer();
    _pointer->isDown = true;
    _pointer->pressX = ea.getX();
    _pointer->pressY = ea.getY();
    _pointer->startX = _pointer->lastX = ea.getXnormalized();
    _pointer->startY = _pointer->lastY = ea.getYnormalized();
    _pointer->buttons = ea.getButtonMask();
    motion().anchorFocalPoint();
    _pointer->grabbed = motion().groundOn(rayUnder(ea));
    return true;
}

bool EarthManipulator::handleDrag(const osgGA::GUIEventAdapter& ea) {
    const double dx = ea.getXnormalized() - _pointer->lastX;
    const double dy = ea.getYnormalized() - _pointer->lastY;
    _pointer->lastX = ea.getXnormalized();
    _pointer->lastY = ea.getYnormalized();
    _pointer->hasMoved = _pointer->hasMoved || std::abs(ea.getX() - _pointer->pressX) > clickSlackPixels ||
                         std::abs(ea.getY() - _pointer->pressY) > clickSlackPixels;
    _pointer->action = _settings->find(GUIEventAdapter::DRAG, ea.getButtonMask(), ea.getModKeyMask());
    if (_pointer->action.options.get(OPTION_CONTINUOUS, 0.0) != 0.0) {
        requestContinuousUpdate(true); // the frames move it, as long as the button is held
        return true;
    }
    if (_pointer->lastFrame) {
        _pointer->lastFrame.reset();
        requestContinuousUpdate(false);
    }
    perform(_pointer->action, dx, dy, ea);
    return true;
}

bool EarthManipulator::handleRelease(const osgGA::GUIEventAdapter& ea) {
    const bool wasContinuous = _pointer->action.options.get(OPTION_CONTINUOUS, 0.0) != 0.0;
    if (_pointer->isDown && !_pointer->hasMoved && !ea.getHandled()) {
        const Action click = _settings->find(GUIEventAdapter::RELEASE, _pointer->buttons, ea.getModKeyMask());
        performStep(click, 1.0, ea);
    }
    *_pointer = Pointer();
    if (wasContinuous && _flight == nullptr) {
        requestContinuousUpdate(false);
    }
    return true;
}

bool EarthManipulator::handleDoubleClick(const osgGA::GUIEventAdapter& ea) {
    *_pointer = Pointer();
    performStep(_settings->find(GUIEventAdapter::DOUBLECLICK, ea.getButtonMask(), ea.getModKeyMask()), 1.0,
                ea);
    return true;
}

bool EarthManipulator::handleScroll(const osgGA::GUIEventAdapter& ea) {
    performStep(_settings->find(GUIEventAdapter::SCROLL, ea.getScrollingMotion(), ea.getModKeyMask()),
                _settings->getScrollSensitivity(), ea);
    return true;
}

bool EarthManipulator::handleKey(const osgGA::GUIEventAdapter& ea) {
    if (ea.getKey() >= GUIEventAdapter::KEY_Shift_L) {
        return false;
    }
    performStep(_settings->find(GUIEventAdapter::KEYDOWN, ea.getKey(), ea.getModKeyMask()),
                _settings->getKeyboardSensitivity(), ea);
    return true;
}

void EarthManipulator::handleFrame(const osgGA::GUIEventAdapter& ea) {
    if (!findMapNode()) {
        return;
    }
    if (_flight != nullptr) {
        *_pose = _flight->poseAt(ea.getTime());
        if (_flight->isOver()) {
            _flight = nullptr;
            requestContinuousUpdate(false);
        }
        requestRedraw();
    }
    if (_pointer->isDown && _pointer->action.options.get(OPTION_CONTINUOUS, 0.0) != 0.0) {
        const double seconds = _pointer->lastFrame ? ea.getTime() - *_pointer->lastFrame : 0.0;
        _pointer->lastFrame = ea.getTime();
        perform(_pointer->action, (_pointer->lastX - _pointer->startX) * seconds,
                (_pointer->lastY - _pointer->startY) * seconds, ea);
    }
}

// Motion of the pointer: dx, dy in half windows, right and up.
void EarthManipulator::perform(const Action& action, double dx, double dy, const osgGA::GUIEventAdapter& ea) {
    dx *= _settings->getMouseSensitivity() * action.options.get(OPTION_SCALE_X, 1.0);
    dy *= _settings->getMouseSensitivity() * action.options.get(OPTION_SCALE_Y, 1.0);
    if (action.options.get(OPTION_SINGLE_AXIS, 0.0) != 0.0) {
        (std::abs(dx) < std::abs(dy) ? dx : dy) = 0.0;
    }
    switch (action.type) {
    case ACTION_PAN: {
        // The ground in the middle follows the pointer.
        const osg::Vec2d half = halfView(_view.get());
        pan(-dx * half.x(), -dy * half.y());
        break;
    }
    case ACTION_EARTH_DRAG:
        if (_pointer->grabbed) {
            motion().keepOnRay(*_pointer->grabbed, rayUnder(ea));
            requestRedraw();
        }
        break;
    case ACTION_ROTATE:
        rotate(-dx * turnPerWindow, dy * turnPerWindow);
        break;
    case ACTION_ZOOM:
        zoom(0.0, -dy * 2.0);
        break;
    default:
        break;
    }
}

// One step, for a key, a click or a notch of the wheel.
void EarthManipulator::performStep(const Action& action, double sensitivity,
                                   const osgGA::GUIEventAdapter& ea) {
    const double stepX = keyStep * sensitivity * action.options.get(OPTION_SCALE_X, 1.0);
    const double stepY = keyStep * sensitivity * action.options.get(OPTION_SCALE_Y, 1.0);
    const double factor = std::exp(zoomStep * sensitivity * action.options.get(OPTION_SCALE_Y, 1.0));
    if (action.type >= ACTION_PAN && action.type <= ACTION_ROTATE_DOWN) {
        motion().anchorFocalPoint();
    }
    switch (action.type) {
    case ACTION_HOME:
        home(action.options.get(OPTION_DURATION, _homeDuration));
        break;
    case ACTION_GOTO:
        goTo(action, ea);
        break;
    case ACTION_PAN_LEFT:
        pan(-stepX, 0.0);
        break;
    case ACTION_PAN_RIGHT:
        pan(stepX, 0.0);
        break;
    case ACTION_PAN_UP:
        pan(0.0, stepY);
        break;
    case ACTION_PAN_DOWN:
        pan(0.0, -stepY);
        break;
    case ACTION_ROTATE_LEFT:
        rotate(stepX, 0.0);
        break;
    case ACTION_ROTATE_RIGHT:
        rotate(-stepX, 0.0);
        break;
    case ACTION_ROTATE_UP:
        rotate(0.0, stepY);
        break;
    case ACTION_ROTATE_DOWN:
        rotate(0.0, -stepY);
        break;
    case ACTION_ZOOM_IN:
        motion().zoomAt(1.0 / factor, zoomRay(ea));
        requestRedraw();
        break;
    case ACTION_ZOOM_OUT:
        motion().zoomAt(factor, zoomRay(ea));
        requestRedraw();
        break;
    default:
        break;
    }
}

} // namespace Util
} // namespace osgEarth
