#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor project …`: what changes a project as a whole.
int runProject(const std::vector<std::string>& arguments);

} // namespace cli
