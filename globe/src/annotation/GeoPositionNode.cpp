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
    if (nv.getVisitorType() == osg::NodeVisitor::CULL_VISITOR && _occlusionCulling && isOccluded(nv))
        return;
    AnnotationNode::traverse(nv);
}

// The point counts as seen when the first terrain on the way from the eye is within a few metres of it.
bool GeoPositionNode::isOccluded(const osg::NodeVisitor& nv) {
    constexpr double clearanceMetres = 5.0;
    if (!getMapNode())
        return false;
    const osg::Vec3d eye = nv.getViewPoint();
    osg::Vec3d towards = worldPosition() - eye;
    const double distance = towards.normalize();
    osg::Vec3d hit;
    return distance > clearanceMetres &&
           getMapNode()->getTerrain()->intersect(eye, eye + towards * (distance - clearanceMetres), hit);
}

} // namespace Annotation
} // namespace osgEarth
