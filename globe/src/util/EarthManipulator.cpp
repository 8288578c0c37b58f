#include <osgEarthUtil/EarthManipulator>

#include "CameraMotion.h"
#include "PointerState.h"
#include "ViewpointFlight.h"

#include <osgGA/GUIActionAdapter>
#include <osgViewer/View>

#include <cmath>

namespace osgEarth {
namespace Util {

EarthManipulator::EarthManipulator() : _pointer(std::make_unique<Pointer>()) {
    applySettings(nullptr);
}

EarthManipulator::~EarthManipulator() = default;

void EarthManipulator::applySettings(Settings* settings) {
    if (settings != nullptr) {
        _settings = settings;
        return;
    }
    _settings = Settings::withDefaultBindings();
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
    CameraMotion::clampToSettings(pose, *_settings);
    return pose;
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
        CameraMotion::clampToSettings(*_pose, *_settings);
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

CameraMotion EarthManipulator::motion() {
    return {*_pose, *_mapNode->getTerrain(), *_settings};
}

void EarthManipulator::pan(double dx, double dy) {
    if (findMapNode()) {
        motion().pan(dx, dy);
        requestRedraw();
    }
}

void EarthManipulator::rotate(double dx, double dy) {
    if (findMapNode()) {
        motion().rotate(dx, dy);
        requestRedraw();
    }
}

void EarthManipulator::zoom(double, double dy) {
    if (findMapNode()) {
        motion().zoom(std::exp(osg::clampBetween(dy, -2.0, 2.0)));
        requestRedraw();
    }
}

} // namespace Util
} // namespace osgEarth
