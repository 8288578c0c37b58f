#pragma once

#include "workbench/inspectiondata/creation/Centerline.h"
#include "workbench/inspectiondata/creation/Stretches.h"

namespace inspection {

/// Writes a project's centerline.gpkg: layer "centerline" (one line, its measures are chainages in metres; z where
/// heights are known) and "nodes" (the posts; name, km) where there is a centre line, and "stations" (boxes; id, name,
/// start_m, end_m). On failure there is no file.
Status writeCenterlineFile(const QString& file, const OGRSpatialReference& reference,
                           const std::optional<Centerline>& centerline, const std::vector<Stretch>& stations);

} // namespace inspection
