#include "Polylines.h"

#include <osg/Vec2d>

#include <algorithm>
#include <cmath>

namespace osgEarth {
namespace {

double pieceLength(const osg::Vec3d& a, const osg::Vec3d& b) {
    return std::hypot(b.x() - a.x(), b.y() - a.y());
}

/// Unit vector to the left of the direction from a to b.
osg::Vec2d leftOf(const osg::Vec3d& a, const osg::Vec3d& b) {
    osg::Vec2d left(a.y() - b.y(), b.x() - a.x());
    left.normalize();
    return left;
}

/// From a corner to the outline one half-width away, along the bisector.
osg::Vec2d mitre(const osg::Vec2d& before, const osg::Vec2d& after) {
    constexpr double kLongest = 3.0;
    osg::Vec2d bisector = before + after;
    if (bisector.normalize() < 1e-9) {
        return after;
    }
    return bisector * std::min(1.0 / std::max(bisector * after, 1e-9), kLongest);
}

} // namespace

double lengthOf(const std::vector<osg::Vec3d>& line) {
    double length = 0.0;
    for (std::size_t i = 1; i < line.size(); ++i) {
        length += pieceLength(line[i - 1], line[i]);
    }
    return length;
}

std::vector<osg::Vec3d> withoutRepeats(const std::vector<osg::Vec3d>& line) {
    std::vector<osg::Vec3d> result;
    for (const osg::Vec3d& point : line) {
        if (result.empty() || pieceLength(result.back(), point) > 0.0) {
            result.push_back(point);
        }
    }
    return result;
}

std::vector<osg::Vec3d> densified(const std::vector<osg::Vec3d>& line, double longestPiece) {
    std::vector<osg::Vec3d> result;
    for (const osg::Vec3d& point : line) {
        if (!result.empty()) {
            const osg::Vec3d start = result.back();
            const int pieces = static_cast<int>(std::ceil(pieceLength(start, point) / longestPiece));
            for (int i = 1; i < pieces; ++i) {
                result.push_back(start + (point - start) * (static_cast<double>(i) / pieces));
            }
        }
        result.push_back(point);
    }
    return result;
}

TriangleMesh ribbon(const std::vector<osg::Vec3d>& line, double width) {
    TriangleMesh mesh;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const osg::Vec2d before = i > 0 ? leftOf(line[i - 1], line[i]) : leftOf(line[i], line[i + 1]);
        const osg::Vec2d after = i + 1 < line.size() ? leftOf(line[i], line[i + 1]) : before;
        const osg::Vec2d aside = mitre(before, after) * (width / 2.0);
        mesh.points.push_back(line[i] + osg::Vec3d(aside.x(), aside.y(), 0.0));
        mesh.points.push_back(line[i] - osg::Vec3d(aside.x(), aside.y(), 0.0));
    }
    for (unsigned i = 0; i + 3 < mesh.points.size(); i += 2) {
        mesh.indices.insert(mesh.indices.end(), {i, i + 1, i + 3, i, i + 3, i + 2});
    }
    return mesh;
}

} // namespace osgEarth
