/// Lines in the plane: cut into short pieces, or broadened to ribbons.
#pragma once

#include "Triangulation.h"

#include <osg/Vec3d>

#include <vector>

namespace osgEarth {

/// Length in x-y.
double lengthOf(const std::vector<osg::Vec3d>& line);

/// The line without points equal in x-y to the one before.
std::vector<osg::Vec3d> withoutRepeats(const std::vector<osg::Vec3d>& line);

/// The same line with no segment longer than `longestPiece` in x-y; heights are interpolated.
std::vector<osg::Vec3d> densified(const std::vector<osg::Vec3d>& line, double longestPiece);

/// A strip of that width along the line, mitred at its corners (at most three half-widths long).
TriangleMesh ribbon(const std::vector<osg::Vec3d>& line, double width);

} // namespace osgEarth
