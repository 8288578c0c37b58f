#include "PickRegion.h"

#include <osg/BoundingBox>

#include <algorithm>
#include <cmath>

namespace osgEarth {
namespace Util {
namespace {

int pixelsFor(double size, int largest) {
    return std::clamp(static_cast<int>(std::lround(size)), 1, largest);
}

} // namespace

// Limits lie on whole pixels, so that at full resolution a pick pixel is exactly a pixel of the viewport.
PickRegion::PickRegion(const std::vector<osg::Vec2d>& positions, const osg::Vec2d& viewportSize, int largest,
                       int buffer)
    : m_viewportSize(viewportSize), m_reach(std::max(viewportSize.x() * buffer / largest, 1.0),
                                            std::max(viewportSize.y() * buffer / largest, 1.0)) {
    osg::BoundingBoxd box;
    for (const osg::Vec2d& position : positions) {
        box.expandBy(position.x(), position.y(), 0.0);
    }
    m_lower.set(std::floor(box.xMin() - m_reach.x()), std::floor(box.yMin() - m_reach.y()));
    m_size.set(std::floor(box.xMax() + m_reach.x()) + 1.0 - m_lower.x(),
               std::floor(box.yMax() + m_reach.y()) + 1.0 - m_lower.y());
    m_columns = pixelsFor(m_size.x(), largest);
    m_rows = pixelsFor(m_size.y(), largest);
}

osg::Vec2d PickRegion::scale() const {
    return {m_columns / m_size.x(), m_rows / m_size.y()};
}

osg::Matrixd PickRegion::projectionOffset() const {
    const osg::Vec2d center = m_lower + m_size * 0.5;
    const osg::Vec3d ndc(2.0 * center.x() / m_viewportSize.x() - 1.0,
                         2.0 * center.y() / m_viewportSize.y() - 1.0, 0.0);
    return osg::Matrixd::translate(-ndc) *
           osg::Matrixd::scale(m_viewportSize.x() / m_size.x(), m_viewportSize.y() / m_size.y(), 1.0);
}

std::vector<osg::Vec2i> PickRegion::pixelsAround(const osg::Vec2d& position) const {
    struct Candidate {
        double distance2;
        osg::Vec2i pixel;
    };
    const osg::Vec2d perPixel = scale();
    const osg::Vec2d center((position.x() - m_lower.x()) * perPixel.x(),
                            (position.y() - m_lower.y()) * perPixel.y());
    const osg::Vec2i middle(static_cast<int>(std::floor(center.x())),
                            static_cast<int>(std::floor(center.y())));
    const int across = std::max(static_cast<int>(std::lround(m_reach.x() * perPixel.x())), 1);
    const int up = std::max(static_cast<int>(std::lround(m_reach.y() * perPixel.y())), 1);
    std::vector<Candidate> candidates;
    for (int dy = -up; dy <= up; ++dy) {
        for (int dx = -across; dx <= across; ++dx) {
            const osg::Vec2i pixel(middle.x() + dx, middle.y() + dy);
            if (pixel.x() < 0 || pixel.y() < 0 || pixel.x() >= m_columns || pixel.y() >= m_rows) {
                continue;
            }
            const double x = dx / perPixel.x();
            const double y = dy / perPixel.y();
            candidates.push_back({x * x + y * y, pixel});
        }
    }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& a, const Candidate& b) { return a.distance2 < b.distance2; });
    std::vector<osg::Vec2i> pixels;
    pixels.reserve(candidates.size());
    for (const Candidate& candidate : candidates) {
        pixels.push_back(candidate.pixel);
    }
    return pixels;
}

} // namespace Util
} // namespace osgEarth
