#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor project create …`: a project of the files of a survey. Returns the exit status: 0 done, also when rows of
/// the objects that come along were refused; 1 failed, with nothing made; 2 wrong use.
int runCreateProject(const std::vector<std::string>& arguments);

} // namespace cli
