#pragma once

#include "host/Export.h"

#include <osg/Vec3d>

#include <string>
#include <vector>

/// Outlines as Well-Known Text, as the database keeps them.
namespace inspection {

/// "POLYGON Z ((...))" of an open ring, with every digit that a double has; "POLYGON Z EMPTY" without
/// vertices.
INSPECTIONDATA_API std::string outlineWkt(const std::vector<osg::Vec3d>& vertices);

/// The outer ring of a polygon, first point not repeated; empty when the text is not a polygon.
INSPECTIONDATA_API std::vector<osg::Vec3d> outlineVertices(const std::string& wkt);

/// All rings of a polygon or multipolygon, first points not repeated, outer ones and holes alike.
INSPECTIONDATA_API std::vector<std::vector<osg::Vec3d>> outlineRings(const std::string& wkt);

/// True when (x, y) lies in the polygon or on its border.
INSPECTIONDATA_API bool outlineContains(const std::string& wkt, double x, double y);

} // namespace inspection
