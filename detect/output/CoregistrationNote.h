#pragma once

#include "detect/Detection.h"

#include <string>
#include <vector>

namespace detect {

/// What a user should know about a co-registration, a line for each (Chinese, UTF-8): what Auto chose and why, why
/// no shift was made, and what a local field may have taken with it.
std::vector<std::string> notesOn(const Coregistration& coregistration);

} // namespace detect
