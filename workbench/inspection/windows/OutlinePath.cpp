#include "workbench/inspection/windows/OutlinePath.h"

#include "workbench/inspection/database/Outline.h"

#include <algorithm>
#include <cmath>

namespace inspection {

QPainterPath outlinePath(const std::string& wkt) {
    QPainterPath path;
    path.setFillRule(Qt::OddEvenFill);
    for (const auto& ring : outlineRings(wkt)) {
        const bool known = std::all_of(ring.begin(), ring.end(), [](const osg::Vec3d& vertex) {
            return std::isfinite(vertex.x()) && std::isfinite(vertex.y());
        });
        if (ring.size() < 3 || !known) {
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
