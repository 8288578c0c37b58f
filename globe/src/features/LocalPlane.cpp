#include "LocalPlane.h"

#include <algorithm>
#include <cmath>

namespace osgEarth {

LocalPlane::LocalPlane(const SpatialReference* mapSRS, const osg::Vec3d& anchor)
    : _mapSRS(mapSRS), _anchor(anchor) {
    if (mapSRS->isGeographic()) {
        const double radius = mapSRS->getEllipsoid()->getRadiusEquator();
        _metresPerY = osg::DegreesToRadians(1.0) * radius;
        _metresPerX = _metresPerY * std::max(std::cos(osg::DegreesToRadians(anchor.y())), 1e-3);
    }
    if (mapSRS->createLocalToWorld(anchor, _frameToWorld))
        _worldToFrame.invert(_frameToWorld);
}

osg::Vec3d LocalPlane::toPlane(const osg::Vec3d& mapPoint) const {
    return {(mapPoint.x() - _anchor.x()) * _metresPerX, (mapPoint.y() - _anchor.y()) * _metresPerY,
            mapPoint.z()};
}

osg::Vec3d LocalPlane::toMap(const osg::Vec3d& planePoint) const {
    return {planePoint.x() / _metresPerX + _anchor.x(), planePoint.y() / _metresPerY + _anchor.y(),
            planePoint.z()};
}

osg::Vec3f LocalPlane::toFrame(const osg::Vec3d& planePoint) const {
    osg::Vec3d world;
    _mapSRS->transformToWorld(toMap(planePoint), world);
    return osg::Vec3f(world * _worldToFrame);
}

} // namespace osgEarth
