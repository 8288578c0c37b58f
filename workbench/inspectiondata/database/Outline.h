#pragma once

#include "host/Export.h"

#include <osg/Vec3d>

#include <memory>
#include <string>
#include <vector>

class OGRGeometry;

/// Outlines as Well-Known Text, as the database keeps them.
namespace inspection {

/// "POLYGON Z ((...))" of an open ring, with every digit that a double has; "POLYGON Z EMPTY" without
/// vertices.
INSPECTIONDATA_API std::string outlineWkt(const std::vector<osg::Vec3d>& vertices);

/// The geometry of a text; null for one that cannot be read, is empty or reaches beyond the Earth.
INSPECTIONDATA_API std::unique_ptr<OGRGeometry> outlineGeometry(const std::string& wkt);

/// The outer ring of a polygon, first point not repeated; empty when the text is not a polygon.
INSPECTIONDATA_API std::vector<osg::Vec3d> outlineVertices(const std::string& wkt);

/// All rings of a polygon or multipolygon, first points not repeated, outer ones and holes alike.
INSPECTIONDATA_API std::vector<std::vector<osg::Vec3d>> outlineRings(const std::string& wkt);

/// True when (x, y) lies in the polygon or on its border.
INSPECTIONDATA_API bool outlineContains(const std::string& wkt, double x, double y);

} // namespace inspection
