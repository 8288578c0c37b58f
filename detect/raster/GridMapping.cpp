#include "detect/raster/GridMapping.h"

#include "detect/GdalErrors.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace detect {

namespace {

constexpr int kMostSamplesPerCell = 16;
/// Over a raster of 200,000 cells two hundred-thousandths of a cell.
constexpr double kPlainShiftTolerance = 1e-10;

bool finite(const Point& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

std::vector<Point> outlineOf(const CellWindow& extent, int steps) {
    std::vector<Point> points;
    for (int i = 0; i <= steps; ++i) {
        const double x = double(extent.columns) * i / steps;
        const double y = double(extent.rows) * i / steps;
        points.insert(points.end(),
                      {{x, 0.0}, {x, double(extent.rows)}, {0.0, y}, {double(extent.columns), y}});
    }
    return points;
}

void transformAll(OGRCoordinateTransformation* transformation, std::vector<Point>& points) {
    if (!transformation) {
        return;
    }
    GdalErrors expectedOutsideTheProjection;
    const std::size_t count = points.size();
    std::vector<double> x(count);
    std::vector<double> y(count);
    std::vector<int> done(count, 0);
    for (std::size_t i = 0; i < count; ++i) {
        x[i] = points[i].x;
        y[i] = points[i].y;
    }
    transformation->Transform(static_cast<int>(count), x.data(), y.data(), nullptr, done.data());
    for (std::size_t i = 0; i < count; ++i) {
        points[i] = done[i] != 0 ? Point{x[i], y[i]} : Point{std::nan(""), std::nan("")};
    }
}

} // namespace

bool sameReferenceSystem(const OGRSpatialReference& a, const OGRSpatialReference& b) {
    const char* const asWritten[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", "CRITERION=STRICT", nullptr};
    const char* const inMeaning[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", "CRITERION=EQUIVALENT",
                                     nullptr};
    return a.IsSame(&b, asWritten) != 0 || a.IsSame(&b, inMeaning) != 0; // the second looks into the database
}

Result<GridMapping> GridMapping::create(const Grid& oldGrid, const Grid& newGrid,
                                        const std::string& newPath) {
    GridMapping mapping(oldGrid, newGrid);
    if (!sameReferenceSystem(oldGrid.srs(), newGrid.srs())) {
        static std::mutex cloning; // the transformation clones the two, which threads share
        const std::lock_guard lock(cloning);
        GdalErrors errors;
        mapping.m_oldToNew.reset(OGRCreateCoordinateTransformation(&oldGrid.srs(), &newGrid.srs()));
        if (!mapping.m_oldToNew) {
            return failureOf(newPath, "两期的坐标参考系统之间没有可用的转换", errors.first());
        }
    }
    mapping.m_samplesPerCell = mapping.chooseSamplesPerCell();
    mapping.m_plainShift = mapping.findPlainShift();
    return mapping;
}

int GridMapping::chooseSamplesPerCell() const {
    const CellWindow covered = coverage();
    const double column = covered.column + covered.columns / 2.0;
    const double row = covered.row + covered.rows / 2.0;
    std::vector<Point> corner{{column, row}, {column + 1.0, row}, {column, row + 1.0}};
    toNewCells(corner, {});
    const double newCellsInOld = std::abs((corner[1].x - corner[0].x) * (corner[2].y - corner[0].y) -
                                          (corner[1].y - corner[0].y) * (corner[2].x - corner[0].x));
    const double scale = std::sqrt(newCellsInOld);
    if (!(scale > 1.5)) {
        return 1;
    }
    return static_cast<int>(std::min<double>(kMostSamplesPerCell, std::round(scale)));
}

bool GridMapping::findPlainShift() const {
    if (m_oldToNew || m_samplesPerCell != 1) {
        return false;
    }
    std::vector<Point> cells{{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}};
    toNewCells(cells, {});
    const auto same = [](double a, double b) { return std::abs(a - b) < kPlainShiftTolerance; };
    return same(cells[1].x - cells[0].x, 1.0) && same(cells[1].y, cells[0].y) &&
           same(cells[2].x, cells[0].x) && same(cells[2].y - cells[0].y, 1.0);
}

CellWindow GridMapping::coverage() const {
    std::vector<Point> outline = outlineOf(m_newGrid.extent(), 32);
    for (Point& p : outline) {
        p = m_newGrid.cellToMap()(p.x, p.y);
    }
    if (m_oldToNew) {
        const std::unique_ptr<OGRCoordinateTransformation> newToOld(m_oldToNew->GetInverse());
        transformAll(newToOld.get(), outline);
    }
    const Affine mapToOld = m_oldGrid.cellToMap().inverse();
    Box box{HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    for (const Point& map : outline) {
        if (!finite(map)) {
            continue;
        }
        const Point cell = mapToOld(map.x, map.y);
        box = {std::min(box.xMin, cell.x), std::min(box.yMin, cell.y), std::max(box.xMax, cell.x),
               std::max(box.yMax, cell.y)};
    }
    if (!(box.xMin < box.xMax)) {
        return {};
    }
    const auto clampTo = [](double value, int limit) {
        return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(limit)));
    };
    const double slack = 1e-6;
    const int left = clampTo(std::floor(box.xMin + slack), m_oldGrid.columns());
    const int top = clampTo(std::floor(box.yMin + slack), m_oldGrid.rows());
    const int right = clampTo(std::ceil(box.xMax - slack), m_oldGrid.columns());
    const int bottom = clampTo(std::ceil(box.yMax - slack), m_oldGrid.rows());
    return {left, top, right - left, bottom - top};
}

void GridMapping::toNewCells(std::vector<Point>& oldCells, const Shift& shift) const {
    const Point metres = m_oldGrid.metresPerMapUnit();
    const double east = shift.eastMetres / metres.x;
    const double north = shift.northMetres / metres.y;
    for (Point& p : oldCells) {
        const Point map = m_oldGrid.cellToMap()(p.x, p.y);
        p = {map.x - east, map.y - north};
    }
    transformAll(m_oldToNew.get(), oldCells);
    const Affine mapToNew = m_newGrid.cellToMap().inverse();
    for (Point& p : oldCells) {
        p = mapToNew(p.x, p.y);
    }
}

CellLattice GridMapping::lattice(const CellWindow& window, const Shift& shift) const {
    CellLattice lattice;
    lattice.firstColumn = window.column / CellLattice::kStep * CellLattice::kStep;
    lattice.firstRow = window.row / CellLattice::kStep * CellLattice::kStep;
    lattice.columns = (window.column + window.columns - 1 - lattice.firstColumn) / CellLattice::kStep + 2;
    const int rows = (window.row + window.rows - 1 - lattice.firstRow) / CellLattice::kStep + 2;
    lattice.nodes.reserve(static_cast<std::size_t>(lattice.columns) * static_cast<std::size_t>(rows));
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < lattice.columns; ++column) {
            lattice.nodes.push_back({double(lattice.firstColumn) + column * CellLattice::kStep,
                                     double(lattice.firstRow) + row * CellLattice::kStep});
        }
    }
    toNewCells(lattice.nodes, shift);
    return lattice;
}

} // namespace detect
