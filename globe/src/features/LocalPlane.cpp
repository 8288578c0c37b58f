#include "LocalPlane.h"

#include <algorithm>
#include <cmath>

namespace osgEarth {

LocalPlane::LocalPlane(const SpatialReference* mapSRS, const osg::Vec3d& anchor)
    : m_mapSRS(mapSRS), m_anchor(anchor) {
    if (mapSRS->isGeographic()) {
        const double radius = mapSRS->getEllipsoid()->getRadiusEquator();
        m_metresPerY = osg::DegreesToRadians(1.0) * radius;
        m_metresPerX = m_metresPerY * std::max(std::cos(osg::DegreesToRadians(anchor.y())), 1e-3);
    }
    if (mapSRS->createLocalToWorld(anchor, m_frameToWorld)) {
        m_worldToFrame.invert(m_frameToWorld);
    }
}

osg::Vec3d LocalPlane::toPlane(const osg::Vec3d& mapPoint) const {
    return {(mapPoint.x() - m_anchor.x()) * m_metresPerX, (mapPoint.y() - m_anchor.y()) * m_metresPerY,
            mapPoint.z()};
}

osg::Vec3d LocalPlane::toMap(const osg::Vec3d& planePoint) const {
    return {planePoint.x() / m_metresPerX + m_anchor.x(), planePoint.y() / m_metresPerY + m_anchor.y(),
            planePoint.z()};
}

osg::Vec3f LocalPlane::toFrame(const osg::Vec3d& planePoint) const {
    osg::Vec3d world;
    m_mapSRS->transformToWorld(toMap(planePoint), world);
    return osg::Vec3f(world * m_worldToFrame);
}

} // namespace osgEarth
