#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor detect`: two surface models in, anomalies out. `arguments` come after the command's name.
/// Returns the exit status: 0 done, 1 failed, 2 wrong use. Either all the asked files appear or none does.
int runDetect(const std::vector<std::string>& arguments);

} // namespace cli
