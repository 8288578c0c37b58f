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

constexpr double kEyStep = 0.1;        // of the view, or radians
constexpr double kZoomStep = 0.2;      // of the range
constexpr double kTurnPerWindow = 1.5; // radians for a drag over half the window
constexpr float kClickSlackPixels = 3.0F;

/// Half of what is in view at a distance of one: across and up.
osg::Vec2d halfView(const osg::View* view) {
    double fovy = 33.4;
    double aspect = 1.0;
    double nearPlane = 0.0;
    double farPlane = 0.0;
    if (view) {
        view->getCamera()->getProjectionMatrixAsPerspective(fovy, aspect, nearPlane, farPlane);
    }
    const double up = std::tan(osg::DegreesToRadians(fovy) * 0.5);
    return {up * aspect, up};
}

} // namespace

osg::Vec3d EarthManipulator::rayUnder(const osgGA::GUIEventAdapter& ea) const {
    if (!m_view.valid()) {
        return {0.0, 0.0, -1.0};
    }
    const osg::Matrixd eyeFromWindow = osg::Matrixd::inverse(m_view->getCamera()->getProjectionMatrix());
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
    CameraPose target = *m_pose;
    osg::Vec3d focal;
    target.srs()->transformFromWorld(*ground, focal);
    target.setFocalPoint(focal);
    target.setRange(target.range() * action.options.get(OPTION_GOTO_RANGE_FACTOR, 1.0));
    CameraMotion::clampToSettings(target, *m_settings);
    moveTo(target, action.options.get(OPTION_DURATION, 1.0));
}

bool EarthManipulator::handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) {
    m_view = dynamic_cast<osg::View*>(&aa);
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
    if (m_flight) {
        moveTo(*m_pose, 0.0); // a touch stops a flight where it is
    }
    *m_pointer = Pointer();
    m_pointer->isDown = true;
    m_pointer->pressX = ea.getX();
    m_pointer->pressY = ea.getY();
    m_pointer->startX = m_pointer->lastX = ea.getXnormalized();
    m_pointer->startY = m_pointer->lastY = ea.getYnormalized();
    m_pointer->buttons = ea.getButtonMask();
    motion().anchorFocalPoint();
    m_pointer->grabbed = motion().groundOn(rayUnder(ea));
    return true;
}

bool EarthManipulator::handleDrag(const osgGA::GUIEventAdapter& ea) {
    const double dx = ea.getXnormalized() - m_pointer->lastX;
    const double dy = ea.getYnormalized() - m_pointer->lastY;
    m_pointer->lastX = ea.getXnormalized();
    m_pointer->lastY = ea.getYnormalized();
    m_pointer->hasMoved = m_pointer->hasMoved ||
                          std::abs(ea.getX() - m_pointer->pressX) > kClickSlackPixels ||
                          std::abs(ea.getY() - m_pointer->pressY) > kClickSlackPixels;
    m_pointer->action = m_settings->find(GUIEventAdapter::DRAG, ea.getButtonMask(), ea.getModKeyMask());
    if (m_pointer->action.options.get(OPTION_CONTINUOUS, 0.0) != 0.0) {
        requestContinuousUpdate(true); // the frames move it, as long as the button is held
        return true;
    }
    if (m_pointer->lastFrame) {
        m_pointer->lastFrame.reset();
        requestContinuousUpdate(false);
    }
    perform(m_pointer->action, dx, dy, ea);
    return true;
}

bool EarthManipulator::handleRelease(const osgGA::GUIEventAdapter& ea) {
    const bool wasContinuous = m_pointer->action.options.get(OPTION_CONTINUOUS, 0.0) != 0.0;
    if (m_pointer->isDown && !m_pointer->hasMoved && !ea.getHandled()) {
        const Action click =
            m_settings->find(GUIEventAdapter::RELEASE, m_pointer->buttons, ea.getModKeyMask());
        performStep(click, 1.0, ea);
    }
    *m_pointer = Pointer();
    if (wasContinuous && !m_flight) {
        requestContinuousUpdate(false);
    }
    return true;
}

bool EarthManipulator::handleDoubleClick(const osgGA::GUIEventAdapter& ea) {
    *m_pointer = Pointer();
    performStep(m_settings->find(GUIEventAdapter::DOUBLECLICK, ea.getButtonMask(), ea.getModKeyMask()), 1.0,
                ea);
    return true;
}

bool EarthManipulator::handleScroll(const osgGA::GUIEventAdapter& ea) {
    performStep(m_settings->find(GUIEventAdapter::SCROLL, ea.getScrollingMotion(), ea.getModKeyMask()),
                m_settings->getScrollSensitivity(), ea);
    return true;
}

bool EarthManipulator::handleKey(const osgGA::GUIEventAdapter& ea) {
    if (ea.getKey() >= GUIEventAdapter::KEY_Shift_L) {
        return false;
    }
    performStep(m_settings->find(GUIEventAdapter::KEYDOWN, ea.getKey(), ea.getModKeyMask()),
                m_settings->getKeyboardSensitivity(), ea);
    return true;
}

void EarthManipulator::handleFrame(const osgGA::GUIEventAdapter& ea) {
    if (!findMapNode()) {
        return;
    }
    if (m_flight) {
        *m_pose = m_flight->poseAt(ea.getTime());
        if (m_flight->isOver()) {
            m_flight = nullptr;
            requestContinuousUpdate(false);
        }
        requestRedraw();
    }
    if (m_pointer->isDown && m_pointer->action.options.get(OPTION_CONTINUOUS, 0.0) != 0.0) {
        const double seconds = m_pointer->lastFrame ? ea.getTime() - *m_pointer->lastFrame : 0.0;
        m_pointer->lastFrame = ea.getTime();
        perform(m_pointer->action, (m_pointer->lastX - m_pointer->startX) * seconds,
                (m_pointer->lastY - m_pointer->startY) * seconds, ea);
    }
}

// Motion of the pointer: dx, dy in half windows, right and up.
void EarthManipulator::perform(const Action& action, double dx, double dy, const osgGA::GUIEventAdapter& ea) {
    dx *= m_settings->getMouseSensitivity() * action.options.get(OPTION_SCALE_X, 1.0);
    dy *= m_settings->getMouseSensitivity() * action.options.get(OPTION_SCALE_Y, 1.0);
    if (action.options.get(OPTION_SINGLE_AXIS, 0.0) != 0.0) {
        (std::abs(dx) < std::abs(dy) ? dx : dy) = 0.0;
    }
    switch (action.type) {
    case ACTION_PAN: {
        // The ground in the middle follows the pointer.
        const osg::Vec2d half = halfView(m_view.get());
        pan(-dx * half.x(), -dy * half.y());
        break;
    }
    case ACTION_EARTH_DRAG:
        if (m_pointer->grabbed) {
            motion().keepOnRay(*m_pointer->grabbed, rayUnder(ea));
            requestRedraw();
        }
        break;
    case ACTION_ROTATE:
        rotate(-dx * kTurnPerWindow, dy * kTurnPerWindow);
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
    const double stepX = kEyStep * sensitivity * action.options.get(OPTION_SCALE_X, 1.0);
    const double stepY = kEyStep * sensitivity * action.options.get(OPTION_SCALE_Y, 1.0);
    const double factor = std::exp(kZoomStep * sensitivity * action.options.get(OPTION_SCALE_Y, 1.0));
    if (action.type >= ACTION_PAN && action.type <= ACTION_ROTATE_DOWN) {
        motion().anchorFocalPoint();
    }
    switch (action.type) {
    case ACTION_HOME:
        home(action.options.get(OPTION_DURATION, m_homeDuration));
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
