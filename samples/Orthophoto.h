#pragma once

#include "samples/Palette.h"

namespace samples {

/// Three bytes (red, green, blue) for each cell, row after row: colours under the sun of the epoch, with the
/// shadows of houses, trees and relief. `surface` is that of the epoch, 0 or 1; each has its own hour and sky.
/// Uses all processors; the result does not depend on their number.
std::vector<std::uint8_t> renderOrthophoto(const Scene& scene, const Surface& surface, int epoch);

} // namespace samples
