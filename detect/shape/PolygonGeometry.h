#pragma once

#include "detect/shape/Outline.h"

#include <ogr_geometry.h>

#include <memory>

namespace detect {

/// The same polygon as GDAL's, rings closed.
std::unique_ptr<OGRPolygon> geometryOf(const Ring& outer, const std::vector<Ring>& holes);

/// And back, without the repeated last vertices. The geometry is not empty.
Polygon polygonOf(const OGRPolygon& geometry);

} // namespace detect
