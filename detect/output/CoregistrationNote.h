#pragma once

#include "detect/Detection.h"

#include <string>
#include <vector>

namespace detect {

/// Why the changes of a run cannot be trusted and what to try, in one line (Chinese, UTF-8); empty where they can.
std::string doubtAbout(const RunReport& report, const Parameters& parameters);

/// What a user should know about a run, a line for each (Chinese, UTF-8): why it cannot be trusted, what Auto chose
/// and why, why no shift was made, and what a local field may have taken with it.
std::vector<std::string> notesOn(const RunReport& report, const Parameters& parameters);

} // namespace detect
