#pragma once

#include <optional>
#include <string>

// Descriptions of a server's tiles, as GDAL opens them (GDAL_WMS, GDAL_WMTS).
namespace osgEarth {

// The same raster out of its cache alone, however old that is. Empty when it has none.
std::string cacheOnly(const std::string& location);

// What to open in place of a location. A map service (GDAL_WMTS) tells in a document what it offers; that is kept beside the
// tiles for a day, and used longer while the server does not give it, so that the cache shows without the server. Asks
// the server, as patiently as the description says. Empty, with `trouble` as GDAL says it, when there is no such document.
// All other locations come back as they are. Any thread.
std::optional<std::string> readyToOpen(const std::string& location, std::string& trouble);

} // namespace osgEarth
