#pragma once

#include "detect/Result.h"

#include <filesystem>
#include <string>
#include <vector>

namespace detect {

/// Where writing to this name ends, whether a file is there yet or not: itself when it is no link.
std::filesystem::path behindLinks(const std::filesystem::path& file);

/// That writing `outputs` destroys none of `inputs` and no other output; empty names are none. Compared are the files that
/// would really be touched, whatever they are called and whether they are there yet: those behind links, those that stand
/// beside a file and belong to it (the .dbf of a shapefile, overviews, logs of a database), and of a raster that GDAL reads
/// those it is made of, VRTs in VRTs included.
Status checkOutputs(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs);

} // namespace detect
