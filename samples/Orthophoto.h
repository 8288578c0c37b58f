#pragma once

#include "samples/Palette.h"

namespace samples {

/// Three bytes (red, green, blue) for each cell, row after row: colours under the sun of the epoch, with the
/// shadows of houses, trees and relief.
std::vector<std::uint8_t> renderOrthophoto(const Scene& scene, const Surface& surface, int epoch);

} // namespace samples
