/// The drawable of an image overlay.
#pragma once

#include <osg/Image>
#include <osg/MatrixTransform>
#include <osg/Vec2d>
#include <osgEarth/MapNode>

#include <array>

namespace osgEarth {
namespace Annotation {

/// What an overlay's picture depends on. Corners are longitude and latitude in degrees.
struct OverlayShape {
    osg::Vec2d lowerLeft;
    osg::Vec2d lowerRight;
    osg::Vec2d upperLeft;
    osg::Vec2d upperRight;
    float alpha = 1.0f;
    bool draped = true;
};

struct OverlayMesh {
    osg::ref_ptr<osg::MatrixTransform> node; ///< null without corners on the map
    std::array<osg::Vec3d, 4> corners;       ///< world; counter-clockwise from the lower left
};

/// A textured grid over the corners: on the ground, no finer than a metre and with at most 33 by 33 points,
/// or at height 0. Grids of one size share indices and texture coordinates, all share one program.
OverlayMesh overlayMesh(MapNode& mapNode, const OverlayShape& shape, osg::Image& image);

} // namespace Annotation
} // namespace osgEarth
