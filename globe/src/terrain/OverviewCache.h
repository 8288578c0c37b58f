// Where the reduced pictures of rasters are kept beside which nothing can be written.
#pragma once
#include <cstdint>
#include <filesystem>
#include <string>

class GDALDataset;

namespace osgEarth {

/// Below the user's cache folder; empty without one.
std::filesystem::path overviewCacheFolder();

/// The name of a raster's entry, a virtual raster NAME.vrt with its reduced pictures in NAME.vrt.ovr. A changed raster has
/// another.
std::string overviewCacheName(const std::string& openName, GDALDataset& dataset);

/// Remembers that the entry is in use today.
void noteUse(const std::filesystem::path& entry);

/// Removes the entries that were used longest ago, until those that remain take at most so many bytes. The one of the last
/// use stays in any case.
void trimOverviewCache(const std::filesystem::path& folder, std::uintmax_t mostBytes);

} // namespace osgEarth
