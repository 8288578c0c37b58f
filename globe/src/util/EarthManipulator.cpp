#include <osgEarthUtil/EarthManipulator>

#include "CameraPose.h"
#include "ViewpointFlight.h"

#include <osgGA/GUIActionAdapter>
#include <osgGA/GUIEventAdapter>
#include <osgViewer/View>

#include <cmath>

namespace osgEarth {
namespace Util {
namespace {

using osgGA::GUIEventAdapter;

constexpr double keyStep = 0.1;       // of the view, or radians
constexpr double zoomStep = 0.2;      // of the range
constexpr double turnPerWindow = 1.5; // radians for a drag over half the window
constexpr double eyeClearanceMetres = 2.0;
constexpr float clickSlackPixels = 3.0F;

// Where the ray meets the ellipsoid that is scaled to go through the point; where it misses, the place of its
// nearest approach.
osg::Vec3d meetShellThrough(const osg::Vec3d& point, const osg::Vec3d& eye, const osg::Vec3d& direction,
                            const osg::EllipsoidModel& ellipsoid) {
    const double flattening = ellipsoid.getRadiusEquator() / ellipsoid.getRadiusPolar();
    const auto toSphere = [&](const osg::Vec3d& v) { return osg::Vec3d(v.x(), v.y(), v.z() * flattening); };
    const osg::Vec3d e = toSphere(eye);
    const osg::Vec3d d = toSphere(direction);
    const double a = d * d;
    const double b = e * d;
    const double c = e * e - toSphere(point).length2();
    const double discriminant = b * b - a * c;
    const double t = discriminant > 0.0 ? (-b - std::sqrt(discriminant)) / a : -b / a;
    return eye + direction * t;
}

} // namespace

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

EarthManipulator::EarthManipulator() : _pointer(std::make_unique<Pointer>()) {
    applySettings(nullptr);
}

EarthManipulator::~EarthManipulator() = default;

void EarthManipulator::applySettings(Settings* settings) {
    if (settings != nullptr) {
        _settings = settings;
        return;
    }
    _settings = new Settings();
    ActionOptions continuous;
    continuous.add(OPTION_CONTINUOUS, true);
    _settings->bindMouse(ACTION_PAN, GUIEventAdapter::LEFT_MOUSE_BUTTON);
    _settings->bindMouse(ACTION_ROTATE, GUIEventAdapter::MIDDLE_MOUSE_BUTTON);
    _settings->bindMouse(ACTION_ROTATE,
                         GUIEventAdapter::LEFT_MOUSE_BUTTON | GUIEventAdapter::RIGHT_MOUSE_BUTTON);
    _settings->bindMouse(ACTION_ZOOM, GUIEventAdapter::RIGHT_MOUSE_BUTTON, 0, continuous);
    _settings->bindScroll(ACTION_ZOOM_IN, GUIEventAdapter::SCROLL_DOWN);
    _settings->bindScroll(ACTION_ZOOM_OUT, GUIEventAdapter::SCROLL_UP);
    _settings->bindKey(ACTION_PAN_LEFT, GUIEventAdapter::KEY_Left);
    _settings->bindKey(ACTION_PAN_RIGHT, GUIEventAdapter::KEY_Right);
    _settings->bindKey(ACTION_PAN_UP, GUIEventAdapter::KEY_Up);
    _settings->bindKey(ACTION_PAN_DOWN, GUIEventAdapter::KEY_Down);
    _settings->bindKey(ACTION_HOME, GUIEventAdapter::KEY_Space);
    ActionOptions nearer;
    nearer.add(OPTION_GOTO_RANGE_FACTOR, 0.4);
    nearer.add(OPTION_DURATION, 1.0);
    ActionOptions farther;
    farther.add(OPTION_GOTO_RANGE_FACTOR, 2.5);
    farther.add(OPTION_DURATION, 1.0);
    _settings->bindMouseDoubleClick(ACTION_GOTO, GUIEventAdapter::LEFT_MOUSE_BUTTON, 0, nearer);
    _settings->bindMouseDoubleClick(ACTION_GOTO, GUIEventAdapter::RIGHT_MOUSE_BUTTON, 0, farther);
    _settings->bindMouseDoubleClick(ACTION_GOTO, GUIEventAdapter::LEFT_MOUSE_BUTTON,
                                    GUIEventAdapter::MODKEY_CTRL, farther);
}

// ---- Scene and viewpoints

void EarthManipulator::setNode(osg::Node* node) {
    _node = node;
    _mapNode = nullptr;
    findMapNode();
}

bool EarthManipulator::findMapNode() {
    if (_mapNode.valid() && _pose != nullptr) {
        return true;
    }
    _mapNode = MapNode::findMapNode(_node.get());
    if (!_mapNode.valid()) {
        return false;
    }
    if (_pose == nullptr || _pose->srs() != _mapNode->getMapSRS()) {
        _pose = std::make_unique<CameraPose>(_mapNode->getMapSRS(), osg::Vec3d(), 0.0, 0.0, 1.0);
        *_pose = poseFor(_homeViewpoint.value_or(Viewpoint()));
        home(0.0);
    }
    if (_pendingViewpoint) {
        const auto pending = *_pendingViewpoint;
        _pendingViewpoint.reset();
        setViewpoint(pending.first, pending.second);
    }
    return true;
}

Viewpoint EarthManipulator::getViewpoint() const {
    return _pose != nullptr && _mapNode.valid() ? _pose->viewpoint() : Viewpoint();
}

CameraPose EarthManipulator::poseFor(const Viewpoint& viewpoint) const {
    CameraPose pose = *_pose;
    GeoPoint focalPoint = viewpoint.focalPoint().get();
    osg::ref_ptr<osg::Node> node;
    if (viewpoint.getNode(node)) {
        osg::Matrixd nodeToWorld;
        const osg::NodePathList paths = node->getParentalNodePaths();
        if (!paths.empty()) {
            osg::NodePath parents = paths.front();
            parents.pop_back(); // the node's bound is in its parent's frame
            nodeToWorld = osg::computeLocalToWorld(parents);
        }
        focalPoint.fromWorld(pose.srs(), osg::Vec3d(node->getBound().center()) * nodeToWorld);
    }
    if (viewpoint.isValid() && focalPoint.transformInPlace(pose.srs())) {
        focalPoint.makeAbsolute(_mapNode->getTerrain());
        pose.setFocalPoint(focalPoint.vec3d());
    }
    if (viewpoint.heading().isSet()) {
        pose.setHeading(osg::DegreesToRadians(viewpoint.getHeading()));
    }
    if (viewpoint.pitch().isSet()) {
        pose.setPitch(osg::DegreesToRadians(viewpoint.getPitch()));
    }
    if (viewpoint.range().isSet()) {
        pose.setRange(viewpoint.getRange());
    }
    clampToSettings(pose);
    return pose;
}

void EarthManipulator::clampToSettings(CameraPose& pose) const {
    pose.setPitch(osg::clampBetween(pose.pitch(), osg::DegreesToRadians(_settings->getMinPitch()),
                                    osg::DegreesToRadians(_settings->getMaxPitch())));
    pose.setRange(osg::clampBetween(pose.range(), _settings->getMinDistance(), _settings->getMaxDistance()));
}

void EarthManipulator::setViewpoint(const Viewpoint& viewpoint, double duration_s) {
    if (!findMapNode()) {
        _pendingViewpoint = std::make_pair(viewpoint, duration_s);
        return;
    }
    moveTo(poseFor(viewpoint), duration_s);
}

void EarthManipulator::moveTo(const CameraPose& pose, double duration_s) {
    if (_settings->getAutoViewpointDurationEnabled() && duration_s > 0.0) {
        // One second and one more for every doubling of the way over the range, up to eight.
        const double way = (pose.focalWorld() - _pose->focalWorld()).length();
        duration_s = std::min(8.0, 1.0 + std::log2(1.0 + way / pose.range()));
    }
    if (duration_s > 0.0) {
        _flight = std::make_unique<ViewpointFlight>(*_pose, pose, duration_s,
                                                    _settings->getArcViewpointTransitions());
        requestContinuousUpdate(true);
    } else {
        if (_flight != nullptr) {
            _flight = nullptr;
            requestContinuousUpdate(false);
        }
        *_pose = pose;
    }
    requestRedraw();
}

void EarthManipulator::setHomeViewpoint(const Viewpoint& viewpoint, double duration_s) {
    _homeViewpoint = viewpoint;
    _homeDuration = duration_s;
}

bool EarthManipulator::isSettingViewpoint() const {
    return _flight != nullptr || _pendingViewpoint.has_value();
}

void EarthManipulator::home(double duration_s) {
    if (_pose == nullptr || !_mapNode.valid()) {
        return;
    }
    if (_homeViewpoint) {
        moveTo(poseFor(*_homeViewpoint), duration_s);
        return;
    }
    const double earthRadius = _pose->srs()->getEllipsoid()->getRadiusEquator();
    Viewpoint wholeEarth("home", -90.0, 0.0, 0.0, 0.0, -89.0, 3.0 * earthRadius);
    moveTo(poseFor(wholeEarth), duration_s);
}

void EarthManipulator::home(const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter& aa) {
    _view = dynamic_cast<osg::View*>(&aa);
    const bool hadPose = _pose != nullptr;
    if (findMapNode() && hadPose) {
        home(_homeDuration);
    }
}

void EarthManipulator::init(const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter& aa) {
    _view = dynamic_cast<osg::View*>(&aa);
}

osg::Matrixd EarthManipulator::getMatrix() const {
    return _pose != nullptr ? _pose->cameraToWorld() : osg::Matrixd();
}

osg::Matrixd EarthManipulator::getInverseMatrix() const {
    return osg::Matrixd::inverse(getMatrix());
}

void EarthManipulator::setByMatrix(const osg::Matrixd& matrix) {
    if (!findMapNode()) {
        return;
    }
    const osg::Vec3d eye = matrix.getTrans();
    const osg::Vec3d forward(-matrix(2, 0), -matrix(2, 1), -matrix(2, 2));
    osg::Vec3d focal;
    if (!_mapNode->getTerrain()->intersect(eye, eye + forward * (2.0 * eye.length()), focal)) {
        focal = eye + forward * _pose->range();
    }
    *_pose = CameraPose::fromCamera(_pose->srs(), matrix, focal);
}

void EarthManipulator::setByInverseMatrix(const osg::Matrixd& matrix) {
    setByMatrix(osg::Matrixd::inverse(matrix));
}

bool EarthManipulator::screenToWorld(float x, float y, osg::View* view, osg::Vec3d& out) const {
    return _mapNode.valid() && _mapNode->getTerrain()->getWorldCoordsUnderMouse(view, x, y, out);
}

double EarthManipulator::getDistance() const {
    return _pose != nullptr ? _pose->range() : 0.0;
}

void EarthManipulator::setDistance(double metres) {
    if (_pose != nullptr) {
        _pose->setRange(metres);
        clampToSettings(*_pose);
        requestRedraw();
    }
}

void EarthManipulator::requestRedraw() const {
    if (auto* adapter = dynamic_cast<osgGA::GUIActionAdapter*>(_view.get())) {
        adapter->requestRedraw();
    }
}

void EarthManipulator::requestContinuousUpdate(bool needed) const {
    if (auto* adapter = dynamic_cast<osgGA::GUIActionAdapter*>(_view.get())) {
        adapter->requestContinuousUpdate(needed);
    }
}

// ---- Motions

void EarthManipulator::pan(double dx, double dy) {
    if (_pose == nullptr) {
        return;
    }
    const osg::Matrixd camera = _pose->cameraToWorld();
    const osg::Vec3d focal = _pose->focalWorld();
    osg::Matrixd localToWorld;
    _pose->srs()->createLocalToWorld(_pose->focalPoint(), localToWorld);
    const osg::Vec3d up(localToWorld(2, 0), localToWorld(2, 1), localToWorld(2, 2));
    const osg::Vec3d right(camera(0, 0), camera(0, 1), camera(0, 2));
    const osg::Vec3d ahead = up ^ right;
    const osg::Vec3d step = (right * dx + ahead * dy) * _pose->range();
    if (!_pose->srs()->isGeographic()) {
        _pose->moveFocalPoint(focal + step, _settings->getLockAzimuthWhilePanning());
    } else {
        // A step along the curved ground, and never more than half a radian of the globe at once.
        const double angle = std::min(0.5, step.length() / focal.length());
        const osg::Vec3d axis = focal ^ step;
        if (angle == 0.0 || axis.length2() == 0.0) {
            return;
        }
        _pose->moveFocalPoint(osg::Quat(angle, axis) * focal, _settings->getLockAzimuthWhilePanning());
    }
    stayAboveGround();
    requestRedraw();
}

void EarthManipulator::rotate(double dx, double dy) {
    if (_pose == nullptr) {
        return;
    }
    _pose->setHeading(_pose->heading() + dx);
    _pose->setPitch(_pose->pitch() + dy);
    clampToSettings(*_pose);
    stayAboveGround();
    requestRedraw();
}

void EarthManipulator::zoom(double, double dy) {
    if (_pose == nullptr) {
        return;
    }
    _pose->setRange(_pose->range() * std::exp(osg::clampBetween(dy, -2.0, 2.0)));
    clampToSettings(*_pose);
    stayAboveGround();
    requestRedraw();
}

// Puts the focal point where the line of sight meets the ground, without moving the camera. Motions about the
// middle of the picture need it there.
void EarthManipulator::anchorFocalPoint() {
    const osg::Vec3d eye = _pose->eye();
    const osg::Vec3d forward = _pose->forward();
    osg::Vec3d ground;
    if (_mapNode->getTerrain()->intersect(eye, eye + forward * (eye.length() * 2.0), ground) &&
        (ground - eye).length() >= _settings->getMinDistance()) {
        _pose->refocus(ground);
        clampToSettings(*_pose);
    }
}

void EarthManipulator::stayAboveGround() {
    if (!_settings->getTerrainAvoidanceEnabled() || !_mapNode.valid()) {
        return;
    }
    osg::Vec3d eye;
    _pose->srs()->transformFromWorld(_pose->eye(), eye);
    double ground = 0.0;
    if (!_mapNode->getTerrain()->getHeight(_pose->srs(), eye.x(), eye.y(), &ground)) {
        return;
    }
    const double missing = ground + eyeClearanceMetres - eye.z();
    if (missing > 0.0) {
        osg::Vec3d focal = _pose->focalPoint();
        focal.z() += missing;
        _pose->setFocalPoint(focal);
    }
}

osg::Vec3d EarthManipulator::rayUnder(const osgGA::GUIEventAdapter& ea) const {
    const osg::Matrixd camera = _pose->cameraToWorld();
    osg::Vec3d direction(0.0, 0.0, -1.0);
    if (_view.valid()) {
        const osg::Matrixd eyeFromWindow = osg::Matrixd::inverse(_view->getCamera()->getProjectionMatrix());
        direction = osg::Vec3d(ea.getXnormalized(), ea.getYnormalized(), 0.0) * eyeFromWindow;
    }
    direction = osg::Matrixd::transform3x3(direction, camera);
    direction.normalize();
    return direction;
}

bool EarthManipulator::terrainUnder(const osgGA::GUIEventAdapter& ea, osg::Vec3d& out) const {
    const osg::Vec3d eye = _pose->eye();
    return _mapNode->getTerrain()->intersect(eye, eye + rayUnder(ea) * (eye.length() * 2.0), out);
}

// Turns the globe until the pointer's ray meets the point again. Keeping the heading disturbs the result a
// little, so the turn is repeated; it converges within a few rounds to well under a millimetre.
void EarthManipulator::keepUnderPointer(const osg::Vec3d& world, const osgGA::GUIEventAdapter& ea) {
    constexpr int maxRounds = 20;
    constexpr double closeEnoughRadians = 1e-12;
    for (int round = 0; round < maxRounds; ++round) {
        const osg::Vec3d eye = _pose->eye();
        const osg::Vec3d direction = rayUnder(ea);
        if (!_pose->srs()->isGeographic()) {
            if (std::abs(direction.z()) > 1e-6) {
                const osg::Vec3d hit = eye + direction * ((world.z() - eye.z()) / direction.z());
                _pose->moveFocalPoint(_pose->focalWorld() + (world - hit), true);
            }
            return;
        }
        const osg::Vec3d hit = meetShellThrough(world, eye, direction, *_pose->srs()->getEllipsoid());
        osg::Quat turn;
        turn.makeRotate(hit, world);
        _pose->moveFocalPoint(turn * _pose->focalWorld(), _settings->getLockAzimuthWhilePanning());
        if (((hit / hit.length()) - (world / world.length())).length() < closeEnoughRadians) {
            return;
        }
    }
}

void EarthManipulator::zoomAt(double factor, const osgGA::GUIEventAdapter& ea) {
    anchorFocalPoint();
    osg::Vec3d ground;
    const bool hasGround = terrainUnder(ea, ground);
    _pose->setRange(_pose->range() * factor);
    clampToSettings(*_pose);
    if (hasGround) {
        keepUnderPointer(ground, ea);
    }
    stayAboveGround();
    requestRedraw();
}

void EarthManipulator::goTo(const Action& action, const osgGA::GUIEventAdapter& ea) {
    osg::Vec3d ground;
    if (!terrainUnder(ea, ground)) {
        return;
    }
    CameraPose target = *_pose;
    osg::Vec3d focal;
    target.srs()->transformFromWorld(ground, focal);
    target.setFocalPoint(focal);
    target.setRange(target.range() * action.options.get(OPTION_GOTO_RANGE_FACTOR, 1.0));
    clampToSettings(target);
    moveTo(target, action.options.get(OPTION_DURATION, 1.0));
}

// ---- Events

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
    anchorFocalPoint();
    osg::Vec3d ground;
    if (terrainUnder(ea, ground)) {
        _pointer->grabbed = ground;
    }
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
        double halfHeight = 0.3;
        double aspect = 1.0;
        double unused = 0.0;
        double fovy = 0.0;
        if (_view.valid() &&
            _view->getCamera()->getProjectionMatrixAsPerspective(fovy, aspect, unused, unused)) {
            halfHeight = std::tan(osg::DegreesToRadians(fovy) * 0.5);
        }
        pan(-dx * halfHeight * aspect, -dy * halfHeight);
        break;
    }
    case ACTION_EARTH_DRAG:
        if (!_pointer->grabbed) {
            break;
        }
        keepUnderPointer(*_pointer->grabbed, ea);
        stayAboveGround();
        requestRedraw();
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
        anchorFocalPoint();
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
        zoomAt(1.0 / factor, ea);
        break;
    case ACTION_ZOOM_OUT:
        zoomAt(factor, ea);
        break;
    default:
        break;
    }
}

} // namespace Util
} // namespace osgEarth
