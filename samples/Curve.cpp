#include "samples/Curve.h"

namespace samples {

namespace {
constexpr float kFarMetres = 1.0e6F;

double distanceBetween(Point a, Point b) {
    return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y));
}

std::size_t segmentAt(const Curve& curve, double distance) {
    const auto after = std::upper_bound(curve.along.begin(), curve.along.end(), distance);
    const auto index = static_cast<std::size_t>(std::max<std::ptrdiff_t>(1, after - curve.along.begin()));
    return std::min(index, curve.points.size() - 1) - 1;
}

Point splinePoint(const std::vector<Point>& controls, std::size_t segment, double t) {
    const auto control = [&](std::ptrdiff_t offset) {
        const auto last = static_cast<std::ptrdiff_t>(controls.size()) - 1;
        const auto index = std::clamp<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(segment) + offset, 0, last);
        return controls[static_cast<std::size_t>(index)];
    };
    const auto blend = [t](double a, double b, double c, double d) {
        return 0.5 * (2.0 * b +
                      t * ((c - a) + t * ((2.0 * a - 5.0 * b + 4.0 * c - d) + t * (3.0 * (b - c) + d - a))));
    };
    const Point a = control(-1), b = control(0), c = control(1), d = control(2);
    return {blend(a.x, b.x, c.x, d.x), blend(a.y, b.y, c.y, d.y)};
}
} // namespace

Point Curve::at(double distance) const {
    const std::size_t i = segmentAt(*this, distance);
    const double share = std::clamp((distance - along[i]) / (along[i + 1] - along[i]), 0.0, 1.0);
    return {points[i].x + (points[i + 1].x - points[i].x) * share,
            points[i].y + (points[i + 1].y - points[i].y) * share};
}

Point Curve::direction(double distance) const {
    const std::size_t i = segmentAt(*this, distance);
    const double length = along[i + 1] - along[i];
    return {(points[i + 1].x - points[i].x) / length, (points[i + 1].y - points[i].y) / length};
}

double Curve::alongAtX(double x) const {
    for (std::size_t i = 1; i < points.size(); ++i) {
        if (points[i].x >= x && points[i - 1].x <= x) {
            return along[i - 1] +
                   (along[i] - along[i - 1]) * (x - points[i - 1].x) / (points[i].x - points[i - 1].x);
        }
    }
    return x < points.front().x ? 0.0 : length();
}

Curve polygonalCurve(std::vector<Point> vertices) {
    Curve curve;
    curve.points = std::move(vertices);
    curve.along.push_back(0.0);
    for (std::size_t i = 1; i < curve.points.size(); ++i) {
        curve.along.push_back(curve.along.back() + distanceBetween(curve.points[i - 1], curve.points[i]));
    }
    return curve;
}

Curve smoothCurve(const std::vector<Point>& controls, double spacingMetres) {
    std::vector<Point> vertices{controls.front()};
    for (std::size_t segment = 0; segment + 1 < controls.size(); ++segment) {
        const double length = distanceBetween(controls[segment], controls[segment + 1]);
        const int steps = std::max(2, static_cast<int>(length / spacingMetres));
        for (int step = 1; step <= steps; ++step) {
            vertices.push_back(splinePoint(controls, segment, static_cast<double>(step) / steps));
        }
    }
    return polygonalCurve(std::move(vertices));
}

LineField::LineField(const Lattice& lattice, const Curve& curve, double reachMetres)
    : m_lateral(lattice, kFarMetres), m_along(lattice) {
    for (std::size_t i = 0; i + 1 < curve.points.size(); ++i) {
        stamp(curve.points[i], curve.points[i + 1], curve.along[i], reachMetres);
    }
}

void LineField::stamp(Point from, Point to, double alongFrom, double reachMetres) {
    const Lattice& lattice = m_lateral.lattice();
    const double length = distanceBetween(from, to);
    const double ux = (to.x - from.x) / length;
    const double uy = (to.y - from.y) / length;
    const auto index = [&](double value, double origin, int count) {
        return std::clamp(static_cast<int>(std::floor((value - origin) / lattice.stepMetres)), 0, count - 1);
    };
    const int lastColumn = index(std::max(from.x, to.x) + reachMetres, lattice.west, lattice.columns);
    const int lastRow = index(std::max(from.y, to.y) + reachMetres, lattice.south, lattice.rows);
    for (int r = index(std::min(from.y, to.y) - reachMetres, lattice.south, lattice.rows); r <= lastRow;
         ++r) {
        for (int c = index(std::min(from.x, to.x) - reachMetres, lattice.west, lattice.columns);
             c <= lastColumn; ++c) {
            const double dx = lattice.x(c) - from.x;
            const double dy = lattice.y(r) - from.y;
            const double along = std::clamp(dx * ux + dy * uy, 0.0, length);
            const double distance = distanceBetween({dx, dy}, {along * ux, along * uy});
            if (distance > reachMetres || distance >= std::fabs(static_cast<double>(m_lateral.at(c, r)))) {
                continue;
            }
            m_lateral.at(c, r) = static_cast<float>(ux * dy - uy * dx < 0.0 ? -distance : distance);
            m_along.at(c, r) = static_cast<float>(alongFrom + along);
        }
    }
}

bool LineField::isNear(double x, double y) const {
    // A node beyond the reach says nothing about the side, so all four around the place must be near.
    const Lattice& lattice = m_lateral.lattice();
    const int c = static_cast<int>(std::floor((x - lattice.west) / lattice.stepMetres));
    const int r = static_cast<int>(std::floor((y - lattice.south) / lattice.stepMetres));
    const auto near = [&](int column, int row) { return m_lateral.clamped(column, row) < kFarMetres; };
    return near(c, r) && near(c + 1, r) && near(c, r + 1) && near(c + 1, r + 1);
}

std::optional<LinePosition> LineField::find(double x, double y) const {
    if (!isNear(x, y)) {
        return std::nullopt;
    }
    return LinePosition{m_lateral.sample(x, y), m_along.sample(x, y)};
}

float LineField::distance(double x, double y) const {
    return isNear(x, y) ? std::fabs(m_lateral.sample(x, y)) : kFarMetres;
}

} // namespace samples
