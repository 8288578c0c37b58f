#pragma once

#include <string>
#include <vector>

namespace cli {

/// Runs a command so that it ends in one line and an exit status whatever happens: a request to end in any of its phases
/// (StopOnSignal.h), an exception that nobody expected, in any thread, and a library that gives up. What is unfinished is
/// removed. Libraries write no lines of their own.
int runSafely(const char* command, int (*run)(const std::vector<std::string>& arguments),
              const std::vector<std::string>& arguments);

} // namespace cli
