#include <osgEarthUtil/EarthManipulator>

#include "CameraMotion.h"
#include "PointerState.h"
#include "ViewpointFlight.h"

#include <osgGA/GUIActionAdapter>
#include <osgViewer/View>

#include <cmath>

namespace osgEarth {
namespace Util {

EarthManipulator::EarthManipulator() : m_pointer(std::make_unique<Pointer>()) {
    applySettings(nullptr);
}

EarthManipulator::~EarthManipulator() = default;

void EarthManipulator::applySettings(Settings* settings) {
    if (settings) {
        m_settings = settings;
        return;
    }
    m_settings = Settings::withDefaultBindings();
}

// ---- Scene and viewpoints

void EarthManipulator::setNode(osg::Node* node) {
    m_node = node;
    m_mapNode = nullptr;
    findMapNode();
}

bool EarthManipulator::findMapNode() {
    if (m_mapNode.valid() && m_pose) {
        return true;
    }
    m_mapNode = MapNode::findMapNode(m_node.get());
    if (!m_mapNode.valid()) {
        return false;
    }
    if (!m_pose || m_pose->srs() != m_mapNode->getMapSRS()) {
        m_pose = std::make_unique<CameraPose>(m_mapNode->getMapSRS(), osg::Vec3d(), 0.0, 0.0, 1.0);
        *m_pose = poseFor(m_homeViewpoint.value_or(Viewpoint()));
        home(0.0);
    }
    if (m_pendingViewpoint) {
        const auto pending = *m_pendingViewpoint;
        m_pendingViewpoint.reset();
        setViewpoint(pending.first, pending.second);
    }
    return true;
}

Viewpoint EarthManipulator::getViewpoint() const {
    return m_pose && m_mapNode.valid() ? m_pose->viewpoint() : Viewpoint();
}

CameraPose EarthManipulator::poseFor(const Viewpoint& viewpoint) const {
    CameraPose pose = *m_pose;
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
        focalPoint.makeAbsolute(m_mapNode->getTerrain());
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
    CameraMotion::clampToSettings(pose, *m_settings);
    return pose;
}

void EarthManipulator::setViewpoint(const Viewpoint& viewpoint, double duration_s) {
    if (!findMapNode()) {
        m_pendingViewpoint = std::make_pair(viewpoint, duration_s);
        return;
    }
    moveTo(poseFor(viewpoint), duration_s);
}

void EarthManipulator::moveTo(const CameraPose& pose, double duration_s) {
    if (m_settings->getAutoViewpointDurationEnabled() && duration_s > 0.0) {
        // One second and one more for every doubling of the way over the range, up to eight.
        const double way = (pose.focalWorld() - m_pose->focalWorld()).length();
        duration_s = std::min(8.0, 1.0 + std::log2(1.0 + way / pose.range()));
    }
    if (duration_s > 0.0) {
        m_flight = std::make_unique<ViewpointFlight>(*m_pose, pose, duration_s,
                                                     m_settings->getArcViewpointTransitions());
        requestContinuousUpdate(true);
    } else {
        if (m_flight) {
            m_flight = nullptr;
            requestContinuousUpdate(false);
        }
        *m_pose = pose;
    }
    requestRedraw();
}

void EarthManipulator::setHomeViewpoint(const Viewpoint& viewpoint, double duration_s) {
    m_homeViewpoint = viewpoint;
    m_homeDuration = duration_s;
}

bool EarthManipulator::isSettingViewpoint() const {
    return m_flight || m_pendingViewpoint.has_value();
}

void EarthManipulator::home(double duration_s) {
    if (!m_pose || !m_mapNode.valid()) {
        return;
    }
    if (m_homeViewpoint) {
        moveTo(poseFor(*m_homeViewpoint), duration_s);
        return;
    }
    const double earthRadius = m_pose->srs()->getEllipsoid()->getRadiusEquator();
    Viewpoint wholeEarth("home", -90.0, 0.0, 0.0, 0.0, -89.0, 3.0 * earthRadius);
    moveTo(poseFor(wholeEarth), duration_s);
}

void EarthManipulator::home(const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter& aa) {
    m_view = dynamic_cast<osg::View*>(&aa);
    const bool hadPose = m_pose != nullptr;
    if (findMapNode() && hadPose) {
        home(m_homeDuration);
    }
}

void EarthManipulator::init(const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter& aa) {
    m_view = dynamic_cast<osg::View*>(&aa);
}

osg::Matrixd EarthManipulator::getMatrix() const {
    return m_pose ? m_pose->cameraToWorld() : osg::Matrixd();
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
    if (!m_mapNode->getTerrain()->intersect(eye, eye + forward * (2.0 * eye.length()), focal)) {
        focal = eye + forward * m_pose->range();
    }
    *m_pose = CameraPose::fromCamera(m_pose->srs(), matrix, focal);
}

void EarthManipulator::setByInverseMatrix(const osg::Matrixd& matrix) {
    setByMatrix(osg::Matrixd::inverse(matrix));
}

bool EarthManipulator::screenToWorld(float x, float y, osg::View* view, osg::Vec3d& out) const {
    return m_mapNode.valid() && m_mapNode->getTerrain()->getWorldCoordsUnderMouse(view, x, y, out);
}

double EarthManipulator::getDistance() const {
    return m_pose ? m_pose->range() : 0.0;
}

void EarthManipulator::setDistance(double metres) {
    if (m_pose) {
        m_pose->setRange(metres);
        CameraMotion::clampToSettings(*m_pose, *m_settings);
        requestRedraw();
    }
}

void EarthManipulator::requestRedraw() const {
    if (auto* adapter = dynamic_cast<osgGA::GUIActionAdapter*>(m_view.get())) {
        adapter->requestRedraw();
    }
}

void EarthManipulator::requestContinuousUpdate(bool needed) const {
    if (auto* adapter = dynamic_cast<osgGA::GUIActionAdapter*>(m_view.get())) {
        adapter->requestContinuousUpdate(needed);
    }
}

// ---- Motions

CameraMotion EarthManipulator::motion() {
    return {*m_pose, *m_mapNode->getTerrain(), *m_settings};
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
