#pragma once

#include "samples/Grid.h"

#include <optional>
#include <vector>

namespace samples {

/// Site coordinates: metres east (x) and north (y) of the south-west corner of the sample.
struct Point {
    double x = 0.0;
    double y = 0.0;
};

/// A line with the distance from its start at every vertex (plan metres). At least two vertices, no two of
/// them at one place.
struct Curve {
    std::vector<Point> points;
    std::vector<double> along;

    double length() const { return along.empty() ? 0.0 : along.back(); }
    /// The point `distance` metres from the start, clamped to the ends.
    Point at(double distance) const;
    /// Unit direction of travel there.
    Point direction(double distance) const;
    /// Distance from the start where the line first reaches `x`, clamped to the ends; for lines that run from
    /// west to east.
    double alongAtX(double x) const;
};

/// The straight segments between the vertices.
Curve polygonalCurve(std::vector<Point> vertices);

/// Catmull-Rom spline (Catmull, Rom 1974) through the control points, vertices about `spacingMetres` apart.
Curve smoothCurve(const std::vector<Point>& controls, double spacingMetres);

/// Position relative to a curve.
struct LinePosition {
    float lateralMetres; ///< to the left of the direction of travel positive
    float alongMetres;
};

/// Lateral offset and distance along, known in a band around a curve and interpolated between the nodes of a
/// lattice, of a metre here. Made once, so that millions of cells need not search the curve.
class LineField {
public:
    LineField() = default;
    LineField(const Lattice& lattice, const Curve& curve, double reachMetres);

    /// Nothing farther from the curve than about the reach.
    std::optional<LinePosition> find(double x, double y) const;
    /// Distance from the curve; a great number beyond the reach.
    float distance(double x, double y) const;

private:
    bool isNear(double x, double y) const;
    void stamp(Point from, Point to, double alongFrom, double reachMetres);

    Field m_lateral;
    Field m_along;
};

} // namespace samples
