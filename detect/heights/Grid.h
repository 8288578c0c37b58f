#pragma once

#include "detect/Detection.h"

#include <ogr_spatialref.h>

#include <array>
#include <memory>

namespace detect {

CellWindow intersect(const CellWindow& a, const CellWindow& b);

/// An affine map of the plane in GDAL's order: x' = c0 + c1 x + c2 y, y' = c3 + c4 x + c5 y.
struct Affine {
    std::array<double, 6> c{0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

    Point operator()(double x, double y) const {
        return {c[0] + c[1] * x + c[2] * y, c[3] + c[4] * x + c[5] * y};
    }
    double determinant() const { return c[1] * c[5] - c[2] * c[4]; }
    /// Undefined where the determinant is zero.
    Affine inverse() const;
};

/// Where a raster's cells lie, and how large they are on the ground. Column and row 0, 0 is the outer corner
/// of the first cell. Safe to read from several threads.
class Grid {
public:
    Grid() : m_srs(std::make_shared<const OGRSpatialReference>()) {}
    /// `srs` uses x = east or longitude whatever the authority says.
    Grid(int columns, int rows, const Affine& cellToMap, OGRSpatialReference srs);

    int columns() const { return m_columns; }
    int rows() const { return m_rows; }
    CellWindow extent() const { return {0, 0, m_columns, m_rows}; }
    const Affine& cellToMap() const { return m_cellToMap; }
    const OGRSpatialReference& srs() const { return *m_srs; }

    /// Ground area of one cell of this row: on the ellipsoid for longitude/latitude, in the projection
    /// otherwise.
    double cellAreaSquareMetres(int row) const;
    /// Metres for one map unit eastwards and northwards; at the centre of the grid for longitude/latitude.
    Point metresPerMapUnit() const { return m_metresPerMapUnit; }
    /// Columns and rows of one cell step, in metres: {east of a column, north of a column, east of a row,
    /// ...}.
    std::array<double, 4> cellStepsMetres() const;

private:
    int m_columns = 0;
    int m_rows = 0;
    Affine m_cellToMap;
    std::shared_ptr<const OGRSpatialReference>
        m_srs; ///< shared by all copies: cloning one is not thread-safe
    bool m_geographic = false;
    double m_radiansPerUnit = 1.0;
    double m_semiMajorMetres = 6378137.0;
    double m_eccentricitySquared = 0.0;
    Point m_metresPerMapUnit{1.0, 1.0};
};

} // namespace detect
