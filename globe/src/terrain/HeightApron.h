// A smooth continuation of an elevation raster across its holes and beyond its edges.
#pragma once
#include <mutex>
#include <vector>

namespace osgEarth {
class RasterSource;

/// A survey hangs hundreds of metres above the bare ellipsoid around it, and its holes would be shafts. The
/// terrain that is drawn therefore goes on smoothly: holes take the heights around them, and outside the
/// heights at the edge run out to zero over a width that grows with them. Questions about elevation never see
/// these heights. Thread safe.
class HeightApron {
public:
    explicit HeightApron(RasterSource& source) : m_source(source) {}

    /// Height at fractional cell coordinates inside or outside the raster; NaN beyond the apron.
    float height(double column, double row);
    /// How far the apron reaches, in cells and in degrees of latitude; 0 without any data.
    double widthCells();
    double widthDegrees();
    /// Samples a degree that show the apron smoothly.
    double resolutionDegrees() { return widthDegrees() / 12.0; }

private:
    void prepare();
    void fillHoles();
    float coarseHeight(double column, double row) const;

    RasterSource& m_source;
    std::once_flag m_prepared;
    int m_step = 1;
    int m_width = 0;
    int m_height = 0;
    std::vector<float> m_heights; // the raster reduced to a few dozen cells a side, without holes
    double m_widthCells = 0.0;
    float m_mean = 0.0F;
};

} // namespace osgEarth
