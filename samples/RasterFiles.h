#pragma once

#include "samples/Surface.h"

#include <string>

namespace samples {

/// Writes a DSM as a tiled, compressed Float32 GeoTIFF with overviews: the surface plus the noise of a survey
/// (standard deviation about 2.5 cm: partly independent per cell, partly common to a metre or two), rounded
/// to 1/1024 m. Another `noiseSeed` is another survey. Returns an error line that names the file.
std::optional<std::string> writeHeights(const std::string& path, const Surface& surface,
                                        std::uint32_t noiseSeed);

/// Writes an orthophoto (three bytes for each cell) as a tiled JPEG GeoTIFF with overviews.
std::optional<std::string> writePhoto(const std::string& path, const RasterFrame& frame,
                                      std::vector<std::uint8_t>& pixels);

} // namespace samples
