#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor project trust`: agrees to the places outside of its folder that a project leads to.
int runTrust(const std::vector<std::string>& arguments);

} // namespace cli
