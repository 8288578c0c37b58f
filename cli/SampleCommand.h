#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor sample DIR [--seed N] [--size CELLS]`: makes a sample project with two epochs and known changes.
/// `arguments` come after the command's name. Returns the exit status: 0 done, 1 failed, 2 wrong use. The
/// folder appears complete or not at all.
int runSample(const std::vector<std::string>& arguments);

} // namespace cli
