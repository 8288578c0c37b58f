// Where a raster lies on the Earth.
#pragma once
#include <osgEarth/GeoData>

#include <vector>

namespace osgEarth {

/// The box around a raster in WGS 84 degrees, also when it crosses the antimeridian or holds a pole.
/// Immutable.
class Footprint {
public:
    Footprint() = default;
    /// Of an extent in any reference system.
    explicit Footprint(const GeoExtent& extent);

    bool isValid() const { return m_bounds.isValid(); }
    double width() const { return m_bounds.width(); }
    double height() const { return m_bounds.height(); }
    /// Boxes between -180 and 180 degrees that hold the raster and a margin around it (degrees of latitude):
    /// two when it crosses the antimeridian.
    std::vector<GeoExtent> boxes(double margin = 0.0) const;
    bool touches(const GeoExtent& extent, double margin = 0.0) const;
    /// The full turn (0 or +-360) that brings a longitude to the raster's side of the Earth.
    double turn(double longitude) const;

private:
    void holdPole(const GeoExtent& extent, double latitude);

    Bounds m_bounds; // longitudes may go beyond 180
};

} // namespace osgEarth
