#pragma once

#include "samples/Surface.h"

#include <string>

namespace samples {

// All files are GeoPackages in the reference system of the rasters. The functions return an error line that
// names the file.

/// Layers `centerline` (LineString Z: name), `nodes` (Point Z every 100 m: name, km, x, y, z) and `stations`
/// (polygons: id, name, start_m, end_m). Kilometres and metres count along the pipe in plan; z is the ground.
std::optional<std::string> writeCentreLine(const std::string& path, const Scene& scene);

/// Layer `high_consequence` (polygons: name, level 1 to 3, attribute).
std::optional<std::string> writeSpecialAreas(const std::string& path, const Scene& scene);

/// Layer `changes` (polygons: name, kind "fill" or "cut", class, volume_m3, dz_m, area_m2): the known
/// changes. The outline of a change encloses its cells with |dZ| >= 0.25 m (the largest edge-connected group
/// of them), and volume, area and mean dZ are taken over these cells, without survey noise. This is what a
/// detector finds with a threshold of 0.5 m that grows down to half of it.
std::optional<std::string> writeTruth(const std::string& path, const Scene& scene, const RasterFrame& frame,
                                      const std::vector<ChangeWindow>& windows);

} // namespace samples
