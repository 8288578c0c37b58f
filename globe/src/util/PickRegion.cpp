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
    : _viewportSize(viewportSize), _reach(std::max(viewportSize.x() * buffer / largest, 1.0),
                                          std::max(viewportSize.y() * buffer / largest, 1.0)) {
    osg::BoundingBoxd box;
    for (const osg::Vec2d& position : positions)
        box.expandBy(position.x(), position.y(), 0.0);
    _lower.set(std::floor(box.xMin() - _reach.x()), std::floor(box.yMin() - _reach.y()));
    _size.set(std::floor(box.xMax() + _reach.x()) + 1.0 - _lower.x(),
              std::floor(box.yMax() + _reach.y()) + 1.0 - _lower.y());
    _columns = pixelsFor(_size.x(), largest);
    _rows = pixelsFor(_size.y(), largest);
}

osg::Vec2d PickRegion::scale() const {
    return {_columns / _size.x(), _rows / _size.y()};
}

osg::Matrixd PickRegion::projectionOffset() const {
    const osg::Vec2d center = _lower + _size * 0.5;
    const osg::Vec3d ndc(2.0 * center.x() / _viewportSize.x() - 1.0,
                         2.0 * center.y() / _viewportSize.y() - 1.0, 0.0);
    return osg::Matrixd::translate(-ndc) *
           osg::Matrixd::scale(_viewportSize.x() / _size.x(), _viewportSize.y() / _size.y(), 1.0);
}

std::vector<osg::Vec2i> PickRegion::pixelsAround(const osg::Vec2d& position) const {
    struct Candidate {
        double distance2;
        osg::Vec2i pixel;
    };
    const osg::Vec2d perPixel = scale();
    const osg::Vec2d center((position.x() - _lower.x()) * perPixel.x(),
                            (position.y() - _lower.y()) * perPixel.y());
    const osg::Vec2i middle(static_cast<int>(std::floor(center.x())),
                            static_cast<int>(std::floor(center.y())));
    const int across = std::max(static_cast<int>(std::lround(_reach.x() * perPixel.x())), 1);
    const int up = std::max(static_cast<int>(std::lround(_reach.y() * perPixel.y())), 1);
    std::vector<Candidate> candidates;
    for (int dy = -up; dy <= up; ++dy)
        for (int dx = -across; dx <= across; ++dx) {
            const osg::Vec2i pixel(middle.x() + dx, middle.y() + dy);
            if (pixel.x() < 0 || pixel.y() < 0 || pixel.x() >= _columns || pixel.y() >= _rows)
                continue;
            const double x = dx / perPixel.x();
            const double y = dy / perPixel.y();
            candidates.push_back({x * x + y * y, pixel});
        }
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Candidate& a, const Candidate& b) { return a.distance2 < b.distance2; });
    std::vector<osg::Vec2i> pixels;
    pixels.reserve(candidates.size());
    for (const Candidate& candidate : candidates)
        pixels.push_back(candidate.pixel);
    return pixels;
}

} // namespace Util
} // namespace osgEarth
