#pragma once

#include <cpl_json.h>

#include <string>

namespace detect {

/// The text of an object, whose numbers come back to the last bit when it is read: GDAL's own text cuts a number where
/// five zeros or nines follow each other. In lines with an indent of two blanks if `isPretty`, otherwise in one. Names
/// of members are written as they stand, without escapes.
std::string jsonText(const CPLJSONObject& object, bool isPretty);

} // namespace detect
