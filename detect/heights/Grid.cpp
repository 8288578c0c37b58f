#include "detect/heights/Grid.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

/// Area of the ellipsoid between the equator and a latitude, for one radian of longitude, over the squared
/// semi-major axis; half of q in Snyder (1987), "Map projections: a working manual", equation 3-12.
double zoneArea(double latitudeRadians, double e2) {
    const double s = std::sin(latitudeRadians);
    if (e2 < 1e-12) {
        return s;
    }
    const double e = std::sqrt(e2);
    return (1.0 - e2) * (s / (1.0 - e2 * s * s) + std::atanh(e * s) / e) / 2.0;
}

} // namespace

CellWindow intersect(const CellWindow& a, const CellWindow& b) {
    const auto end = [](int from, int count) { return std::int64_t{from} + count; };
    const auto cellsBetween = [](int from, std::int64_t to) {
        return static_cast<int>(std::max<std::int64_t>(0, to - from));
    };
    CellWindow common;
    common.column = std::max(a.column, b.column);
    common.row = std::max(a.row, b.row);
    common.columns =
        cellsBetween(common.column, std::min(end(a.column, a.columns), end(b.column, b.columns)));
    common.rows = cellsBetween(common.row, std::min(end(a.row, a.rows), end(b.row, b.rows)));
    return common;
}

Affine Affine::inverse() const {
    const double d = determinant();
    Affine back;
    back.c[1] = c[5] / d;
    back.c[2] = -c[2] / d;
    back.c[4] = -c[4] / d;
    back.c[5] = c[1] / d;
    back.c[0] = -(back.c[1] * c[0] + back.c[2] * c[3]);
    back.c[3] = -(back.c[4] * c[0] + back.c[5] * c[3]);
    return back;
}

Grid::Grid(int columns, int rows, const Affine& cellToMap, OGRSpatialReference srs)
    : m_columns(columns), m_rows(rows), m_cellToMap(cellToMap),
      m_srs(std::make_shared<const OGRSpatialReference>(std::move(srs))),
      m_geographic(m_srs->IsGeographic() != 0), m_semiMajorMetres(m_srs->GetSemiMajor()) {
    const double inverseFlattening = m_srs->GetInvFlattening();
    const double flattening = inverseFlattening > 0.0 ? 1.0 / inverseFlattening : 0.0;
    m_eccentricitySquared = flattening * (2.0 - flattening);

    if (!m_geographic) {
        const double metres = m_srs->GetLinearUnits();
        m_metresPerMapUnit = {metres, metres};
        return;
    }
    m_radiansPerUnit = m_srs->GetAngularUnits();
    const double latitude = m_cellToMap(m_columns / 2.0, m_rows / 2.0).y * m_radiansPerUnit;
    const double w2 = 1.0 - m_eccentricitySquared * std::sin(latitude) * std::sin(latitude);
    const double primeVertical = m_semiMajorMetres / std::sqrt(w2);
    const double meridian = primeVertical * (1.0 - m_eccentricitySquared) / w2;
    m_metresPerMapUnit = {primeVertical * std::cos(latitude) * m_radiansPerUnit, meridian * m_radiansPerUnit};
}

double Grid::cellAreaSquareMetres(int row) const {
    if (!m_geographic) {
        return std::abs(m_cellToMap.determinant()) * m_metresPerMapUnit.x * m_metresPerMapUnit.y;
    }
    const auto& c = m_cellToMap.c;
    // A turned longitude/latitude grid has no rows of one latitude; its middle column stands for the row.
    const double middle = m_columns / 2.0;
    const double height = std::abs(m_cellToMap.determinant() / c[1]);
    const double centre = m_cellToMap(middle, row + 0.5).y;
    const double south = (centre - height / 2.0) * m_radiansPerUnit;
    const double north = (centre + height / 2.0) * m_radiansPerUnit;
    const double zone = zoneArea(north, m_eccentricitySquared) - zoneArea(south, m_eccentricitySquared);
    return m_semiMajorMetres * m_semiMajorMetres * zone * std::abs(c[1]) * m_radiansPerUnit;
}

std::array<double, 4> Grid::cellStepsMetres() const {
    const auto& c = m_cellToMap.c;
    return {c[1] * m_metresPerMapUnit.x, c[4] * m_metresPerMapUnit.y, c[2] * m_metresPerMapUnit.x,
            c[5] * m_metresPerMapUnit.y};
}

} // namespace detect
