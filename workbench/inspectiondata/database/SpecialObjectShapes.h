#pragma once

#include <osg/Vec3d>

#include <QString>

#include <variant>
#include <vector>

class OGRCoordinateTransformation;
class OGRGeometry;

namespace inspection {

/// What a special object's geometry has to be.
enum class ShapeKind { Point, Polygon };

/// Where one special object lies: longitude, latitude in degrees and height in metres, 0 where the source has
/// none.
struct SpecialObjectShape {
    osg::Vec3d centre;
    std::vector<osg::Vec3d> vertices; ///< outer ring, first point not repeated; empty for a point
};

/// The parts of one geometry in their order.
struct SpecialObjectShapes {
    std::vector<SpecialObjectShape> parts;
    int holes = 0; ///< rings that were left out
};

/// Splits a geometry, which may be null, into points or outer rings. Arcs become chords. A ring across the
/// antimeridian goes the short way, with longitudes beyond 180 degrees if need be, as drawn ones have them.
/// Gives the cause, in Chinese, when there is no geometry, a part is of another kind or empty, a ring has
/// fewer than three different vertices, or a coordinate is not finite or, once transformed, no place on the
/// Earth.
std::variant<SpecialObjectShapes, QString> shapesOf(const OGRGeometry* geometry, ShapeKind kind,
                                                    OGRCoordinateTransformation& toGeographic);

} // namespace inspection
