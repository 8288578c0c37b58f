#pragma once

#include "detect/Detection.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace inspection {

/// Stations that follow each other and are searched at once.
struct SearchGroup {
    std::size_t first = 0; ///< index of the first of them
    std::size_t count = 0;
    std::optional<detect::Box> window; ///< around the windows of all of them
    double cells = 0.0;                ///< in that window
};

/// Divides search windows that follow each other along a line into groups, so that as few cells as possible are looked
/// at in all, where a group looks at the box around its windows, and each group costs something besides. Windows of
/// neighbouring stations overlap by their margins: one by one they look at much ground many times. A group has a bounded
/// number of cells unless a single window has more. A window that is not known (everything is searched) is a group of
/// its own. `cellArea` is in the units of the boxes.
std::vector<SearchGroup> searchGroups(const std::vector<std::optional<detect::Box>>& windows,
                                      double cellArea);

} // namespace inspection
