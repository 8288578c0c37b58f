#include "LineOfSight.h"

#include <osgEarthAnnotation/GeoPositionNode>

namespace osgEarth {
namespace Annotation {

GeoPositionNode::GeoPositionNode()
    : _geoTransform(new GeoTransform), _attitude(new osg::PositionAttitudeTransform) {
    _geoTransform->addChild(_attitude);
    addChild(_geoTransform);
}

GeoPositionNode::~GeoPositionNode() = default;

void GeoPositionNode::setPosition(const GeoPoint& position) {
    _geoTransform->setPosition(position);
    watchTerrain(position.isValid() && position.isRelative());
    dirtyBound();
}

void GeoPositionNode::setLocalOffset(const osg::Vec3d& offset) {
    _attitude->setPosition(offset);
}
void GeoPositionNode::setLocalRotation(const osg::Quat& rotation) {
    _attitude->setAttitude(rotation);
}
void GeoPositionNode::setScale(const osg::Vec3f& scale) {
    _attitude->setScale(osg::Vec3d(scale));
}

void GeoPositionNode::setOcclusionCulling(bool value) {
    if (value != getOcclusionCulling())
        _lineOfSight = value ? std::make_unique<LineOfSight>() : nullptr;
}

void GeoPositionNode::setMapNode(MapNode* mapNode) {
    AnnotationNode::setMapNode(mapNode);
    _geoTransform->setTerrain(mapNode ? mapNode->getTerrain() : nullptr);
    dirtyBound();
}

void GeoPositionNode::terrainChanged(const TileKey& key, Terrain*) {
    if (!key.getExtent().contains(getPosition()))
        return;
    _geoTransform->clampToTerrain();
    dirtyBound();
}

osg::Vec3d GeoPositionNode::worldPosition() const {
    return _geoTransform->getMatrix().getTrans();
}

osg::Vec3d GeoPositionNode::horizonPoint() const {
    return worldPosition();
}

void GeoPositionNode::traverse(osg::NodeVisitor& nv) {
    if (nv.getVisitorType() == osg::NodeVisitor::CULL_VISITOR && isOccluded(nv))
        return;
    AnnotationNode::traverse(nv);
}

// What lies beyond the horizon is left out in any case.
bool GeoPositionNode::isOccluded(const osg::NodeVisitor& nv) {
    return _lineOfSight != nullptr && getMapNode() != nullptr && AnnotationNode::isAboveHorizon(nv) &&
           _lineOfSight->isBlocked(*getMapNode()->getTerrain(), osg::Vec3d(nv.getViewPoint()),
                                   worldPosition());
}

} // namespace Annotation
} // namespace osgEarth
