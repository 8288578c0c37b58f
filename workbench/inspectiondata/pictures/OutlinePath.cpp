#include "workbench/inspectiondata/pictures/OutlinePath.h"

#include "workbench/inspectiondata/database/Outline.h"

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

/// No reference system has coordinates beyond this; a painter's arithmetic overflows far beyond it.
constexpr double kFarthest = 1.0e9;

bool isOnTheMap(const osg::Vec3d& vertex) {
    return std::abs(vertex.x()) < kFarthest && std::abs(vertex.y()) < kFarthest; // false for NaN, too
}

} // namespace

QPainterPath outlinePath(const std::string& wkt) {
    QPainterPath path;
    path.setFillRule(Qt::OddEvenFill);
    for (const auto& ring : outlineRings(wkt)) {
        if (ring.size() < 3 || !std::all_of(ring.begin(), ring.end(), isOnTheMap)) {
            continue;
        }
        path.moveTo(ring.front().x(), ring.front().y());
        for (std::size_t i = 1; i < ring.size(); ++i) {
            path.lineTo(ring[i].x(), ring[i].y());
        }
        path.closeSubpath();
    }
    return path;
}

} // namespace inspection
