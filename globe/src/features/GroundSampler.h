/// Heights of the ground for things that lie on it.
#pragma once

#include <osg/ref_ptr>
#include <osgEarth/ElevationQuery>
#include <osgEarth/MapNode>

namespace osgEarth {

/// Answers from the elevation data at full resolution, else from the loaded terrain, else with 0. Use on the
/// thread that runs the frames, for one piece of work.
class GroundSampler {
public:
    explicit GroundSampler(MapNode& mapNode);

    /// Metres above the ellipsoid at a position in the map's reference system.
    double heightAt(double x, double y);

private:
    osg::ref_ptr<MapNode> m_mapNode;
    ElevationQuery m_query;
};

} // namespace osgEarth
