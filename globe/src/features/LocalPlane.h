/// Map coordinates as metres about an anchor, for work that wants a plane or single precision.
#pragma once

#include <osg/Matrixd>
#include <osg/Vec3d>
#include <osg/Vec3f>
#include <osg/ref_ptr>
#include <osgEarth/Bounds>
#include <osgEarth/SpatialReference>

namespace osgEarth {

/// Two views of the surroundings of an anchor. "Plane": east and north in metres by a constant scale,
/// straight in map coordinates; z is a height. "Frame": the east-north-up frame at the anchor, exact on the
/// globe, which is what gets drawn below `frameToWorld`.
class LocalPlane {
public:
    /// The anchor is in the map's reference system.
    LocalPlane(const SpatialReference* mapSRS, const osg::Vec3d& anchor);

    osg::Vec3d toPlane(const osg::Vec3d& mapPoint) const;
    osg::Vec3d toMap(const osg::Vec3d& planePoint) const;
    osg::Vec3f toFrame(const osg::Vec3d& planePoint) const;
    const osg::Matrixd& frameToWorld() const { return m_frameToWorld; }

private:
    osg::ref_ptr<const SpatialReference> m_mapSRS;
    osg::Vec3d m_anchor;
    double m_metresPerX = 1.0;
    double m_metresPerY = 1.0;
    osg::Matrixd m_frameToWorld;
    osg::Matrixd m_worldToFrame;
};

} // namespace osgEarth
