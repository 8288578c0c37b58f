#pragma once

#include "detect/Detection.h"

#include <optional>
#include <string>

namespace detect {

/// A co-registration as JSON from which it comes back to the last bit, its local field included: the figures of a summary,
/// and `field` with the place of its nodes (spacing, first_column, first_row, columns, rows) and `metres`, their heights as
/// Base64 of little-endian Float32.
std::string coregistrationText(const Coregistration& coregistration);

/// Nothing for a text that is not coregistrationText's.
std::optional<Coregistration> readCoregistration(const std::string& text);

} // namespace detect
