#include "LineOfSight.h"

#include <osgEarthAnnotation/GeoPositionNode>

namespace osgEarth {
namespace Annotation {

GeoPositionNode::GeoPositionNode()
    : m_geoTransform(new GeoTransform), m_attitude(new osg::PositionAttitudeTransform) {
    m_geoTransform->addChild(m_attitude);
    addChild(m_geoTransform);
}

GeoPositionNode::~GeoPositionNode() = default;

void GeoPositionNode::setPosition(const GeoPoint& position) {
    m_geoTransform->setPosition(position);
    watchTerrain(position.isValid() && position.isRelative());
    dirtyBound();
}

void GeoPositionNode::setLocalOffset(const osg::Vec3d& offset) {
    m_attitude->setPosition(offset);
}
void GeoPositionNode::setLocalRotation(const osg::Quat& rotation) {
    m_attitude->setAttitude(rotation);
}
void GeoPositionNode::setScale(const osg::Vec3f& scale) {
    m_attitude->setScale(osg::Vec3d(scale));
}

void GeoPositionNode::setOcclusionCulling(bool value) {
    if (value != getOcclusionCulling()) {
        m_lineOfSight = value ? std::make_unique<LineOfSight>() : nullptr;
    }
}

void GeoPositionNode::setMapNode(MapNode* mapNode) {
    AnnotationNode::setMapNode(mapNode);
    m_geoTransform->setTerrain(mapNode ? mapNode->getTerrain() : nullptr);
    dirtyBound();
}

void GeoPositionNode::terrainChanged(const TileKey& key, Terrain*) {
    if (!key.getExtent().contains(getPosition())) {
        return;
    }
    m_geoTransform->clampToTerrain();
    dirtyBound();
}

osg::Vec3d GeoPositionNode::worldPosition() const {
    return m_geoTransform->getMatrix().getTrans();
}

osg::Vec3d GeoPositionNode::horizonPoint() const {
    return worldPosition();
}

void GeoPositionNode::traverse(osg::NodeVisitor& nv) {
    if (nv.getVisitorType() == osg::NodeVisitor::CULL_VISITOR && isOccluded(nv)) {
        return;
    }
    AnnotationNode::traverse(nv);
}

// What lies beyond the horizon is left out in any case.
bool GeoPositionNode::isOccluded(const osg::NodeVisitor& nv) {
    return m_lineOfSight && getMapNode() && AnnotationNode::isAboveHorizon(nv) &&
           m_lineOfSight->isBlocked(*getMapNode()->getTerrain(), osg::Vec3d(nv.getViewPoint()),
                                    worldPosition());
}

} // namespace Annotation
} // namespace osgEarth
