#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor check`: what is wrong in a project, a line each on standard output, or as JSON. Changes nothing.
/// `arguments` come after the command's name. Returns the exit status: 0 nothing is wrong, 1 something is, or
/// the project cannot be opened, 2 wrong use.
int runCheck(const std::vector<std::string>& arguments);

} // namespace cli
