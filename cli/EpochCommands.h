#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor project add-epoch` and `remove-epoch`. They return the exit status.
int runAddEpoch(const std::vector<std::string>& arguments);
int runRemoveEpoch(const std::vector<std::string>& arguments);

} // namespace cli
