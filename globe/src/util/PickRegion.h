/// Which part of a viewport a pick picture shows, and how finely.
#pragma once

#include <osg/Matrixd>
#include <osg/Vec2d>
#include <osg/Vec2i>

#include <vector>

namespace osgEarth {
namespace Util {

/// The neighbourhood of some positions: one pixel for each pixel of the viewport, or fewer where that would
/// exceed the largest picture.
class PickRegion {
public:
    PickRegion() = default;

    /// Positions and viewport size in pixels of the viewport. The buffer counts pixels of a picture of
    /// `largest` pixels over the whole viewport, separately across and up.
    PickRegion(const std::vector<osg::Vec2d>& positions, const osg::Vec2d& viewportSize, int largest,
               int buffer);

    int columns() const { return m_columns; }
    int rows() const { return m_rows; }

    /// Pixels of the picture per pixel of the viewport.
    osg::Vec2d scale() const;

    /// To be multiplied to the right of the viewport's projection.
    osg::Matrixd projectionOffset() const;

    /// The picture's pixels within the buffer around a position, nearest first.
    std::vector<osg::Vec2i> pixelsAround(const osg::Vec2d& position) const;

private:
    osg::Vec2d m_viewportSize;
    osg::Vec2d m_lower; // in viewport pixels
    osg::Vec2d m_size;
    osg::Vec2d m_reach; // the buffer in viewport pixels
    int m_columns = 0;
    int m_rows = 0;
};

} // namespace Util
} // namespace osgEarth
