#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor info`: what is inside a project or a raster, as text or JSON on standard output. Changes
/// nothing. `arguments` come after the command's name. Returns the exit status: 0 done, 1 failed, 2 wrong
/// use.
int runInfo(const std::vector<std::string>& arguments);

} // namespace cli
