/// Heights of the ground for things that lie on it.
#pragma once

#include <osg/ref_ptr>
#include <osgEarth/ElevationQuery>
#include <osgEarth/MapNode>

#include <optional>

namespace osgEarth {

/// Answers from the elevation data at full resolution. Use on the thread that runs the frames, for one piece of
/// work.
class GroundSampler {
public:
    explicit GroundSampler(MapNode& mapNode);

    /// Metres above the ellipsoid at a position in the map's reference system; nothing where there are no data.
    std::optional<double> surveyedHeightAt(double x, double y);
    /// The same, with the height of the loaded terrain where there are no data, else 0.
    double heightAt(double x, double y);

private:
    osg::ref_ptr<MapNode> m_mapNode;
    ElevationQuery m_query;
};

} // namespace osgEarth
