#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor project set`: changes line, stations, name and files of a project. Exit status as in Command.h.
int runSetProject(const std::vector<std::string>& arguments);

} // namespace cli
