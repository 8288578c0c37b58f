#include "detect/shape/Traits.h"

#include "detect/shape/ComponentCells.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace detect {

namespace {

using Cell = ComponentCells::Cell;

constexpr double kPeakShare = 0.95;
constexpr double kFlatTop = 0.85;

double cross(const Point& o, const Point& a, const Point& b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

/// Counter-clockwise, by two chains (Andrew 1979).
Ring convexHull(Ring points) {
    std::sort(points.begin(), points.end(),
              [](const Point& a, const Point& b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
    Ring hull;
    for (int chain = 0; chain < 2; ++chain) {
        const std::size_t start = hull.size();
        for (const Point& p : points) {
            while (hull.size() >= start + 2 && cross(hull[hull.size() - 2], hull.back(), p) <= 0.0) {
                hull.pop_back();
            }
            hull.push_back(p);
        }
        hull.pop_back();
        std::reverse(points.begin(), points.end());
    }
    return hull;
}

double rimCells(const Polygon& outline) {
    double length = 0.0;
    const auto add = [&length](const Ring& ring) {
        for (std::size_t i = 0, before = ring.size() - 1; i < ring.size(); before = i++) {
            length += std::abs(ring[i].x - ring[before].x) + std::abs(ring[i].y - ring[before].y);
        }
    };
    add(outline.outer);
    for (const Ring& hole : outline.holes) {
        add(hole);
    }
    return length;
}

float peakOf(std::vector<float> heights) {
    for (float& height : heights) {
        height = std::abs(height);
    }
    const auto place = static_cast<std::ptrdiff_t>(kPeakShare * static_cast<double>(heights.size() - 1));
    std::nth_element(heights.begin(), heights.begin() + place, heights.end());
    return heights[static_cast<std::size_t>(place)];
}

struct Mean {
    double sum = 0.0;
    double count = 0.0;

    void add(double value) {
        sum += value;
        count += 1.0;
    }
    double value() const { return sum / count; }
};

/// From the line between two opposite neighbours, when both are there.
void addDeparture(const ComponentCells& cells, double change, Cell before, Cell after, Mean& departure) {
    if (before == ComponentCells::kNone || after == ComponentCells::kNone) {
        return;
    }
    const auto line = static_cast<double>(cells.change(before) + cells.change(after)) / 2.0;
    departure.add(std::abs(change - line));
}

/// What only the single cells tell.
void measureSurface(const ComponentCells& cells, Traits& traits) {
    double flat = 0.0;
    Mean inner;
    Mean departure;
    for (Cell cell = 0; cell < cells.count(); ++cell) {
        const auto change = static_cast<double>(cells.change(cell));
        flat += change >= kFlatTop * traits.peakMetres ? 1.0 : 0.0;
        addDeparture(cells, change, cells.left(cell), cells.right(cell), departure);
        addDeparture(cells, change, cells.above(cell), cells.below(cell), departure);
        if (cells.neighbours(cell) < 4) {
            continue;
        }
        bool besideRim = false;
        cells.forNeighbours(
            cell, [&](Cell neighbour) { besideRim = besideRim || cells.neighbours(neighbour) < 4; });
        if (besideRim) {
            inner.add(change);
        }
    }
    traits.flatShare = flat / cells.count();
    if (inner.count > 0.0) {
        traits.edgeSteepness = inner.value() / traits.peakMetres;
    }
    if (departure.count > 0.0) {
        traits.roughness = departure.value() / traits.meanMetres;
    }
}

} // namespace

double smallestRectangle(const Ring& ring) {
    const Ring hull = convexHull(ring);
    double smallest = std::numeric_limits<double>::max();
    // One side of the smallest rectangle lies along a side of the hull.
    for (std::size_t i = 0; i < hull.size() && hull.size() > 2; ++i) {
        const Point& a = hull[i];
        const Point& b = hull[(i + 1) % hull.size()];
        const double side = std::hypot(b.x - a.x, b.y - a.y);
        double left = 0.0;
        double right = 0.0;
        double farthest = 0.0;
        for (const Point& p : hull) {
            const double along = ((p.x - a.x) * (b.x - a.x) + (p.y - a.y) * (b.y - a.y)) / side;
            left = std::min(left, along);
            right = std::max(right, along);
            farthest = std::max(farthest, cross(a, b, p) / side);
        }
        smallest = std::min(smallest, (right - left) * farthest);
    }
    return smallest < std::numeric_limits<double>::max() ? smallest : 0.0;
}

Traits measureTraits(const Component& component, const Polygon& cellOutline) {
    Traits traits;
    traits.fill = component.runs.front().sign > 0;
    const auto cells = static_cast<double>(component.cells);
    double sum = 0.0;
    double explained = 0.0;
    bool restless = false;
    for (const Run& run : component.runs) {
        sum += static_cast<double>(run.raised + run.sunk) * kSumUnitMetres;
        explained += run.explainedByShift;
        restless = restless || run.restless;
        traits.peakMetres =
            std::max(traits.peakMetres, static_cast<double>(std::max(run.highest, -run.lowest)));
    }
    traits.meanMetres = std::abs(sum) / cells;
    traits.explainedByShift = restless ? 0.0 : explained / cells;
    traits.widthCells = 2.0 * cells / rimCells(cellOutline);
    traits.rectangularity = cells / smallestRectangle(cellOutline.outer);
    if (component.isExamined()) {
        traits.peakMetres = static_cast<double>(peakOf(component.heights));
        measureSurface(ComponentCells(component), traits);
    }
    return traits;
}

} // namespace detect
