#pragma once

#include <string>
#include <vector>

namespace cli {

/// corridor rasterize: a surface model of point clouds.
int runRasterize(const std::vector<std::string>& arguments);

} // namespace cli
