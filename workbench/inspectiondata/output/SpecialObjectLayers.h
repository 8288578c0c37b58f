#pragma once

#include "workbench/inspectiondata/output/ShapeLayers.h"

#include <vector>

namespace inspection {

/// Layers "special_points", "special_areas", "high_consequence_areas" and "nodes" (of the pipe), in the project's
/// reference system, heights left out. Each is there even when nothing is in it, so that it takes the place of what was
/// written before. The fields are those that an import takes. A vertex that the system cannot hold leaves its object
/// out. The objects must outlive the layers. Any thread.
std::vector<ShapeLayer> specialObjectLayers(const ProjectObjects& objects,
                                            const OGRSpatialReference& reference);

} // namespace inspection
