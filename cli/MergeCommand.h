#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor merge A.gpkg B.gpkg … --out ALL.gpkg`: puts the results of `corridor detect --window` together;
/// the arguments after the command's name. Returns the exit status.
int runMerge(const std::vector<std::string>& arguments);

} // namespace cli
