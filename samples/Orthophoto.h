#pragma once

#include "samples/Palette.h"

namespace samples {

/// The light of one survey flight.
struct Daylight {
    double sunAzimuthDegrees = 315.0; ///< clockwise from north
    double sunElevationDegrees = 45.0;
    Colour sun{1.0F, 1.0F, 1.0F};
    Colour sky{0.5F, 0.5F, 0.5F};
};

Daylight daylightOf(int epoch);

/// 0 in the sun .. 1 in the shadow of something, with a soft rim. The sun must stand in the north half of the
/// sky.
Grid<std::uint8_t> castShadows(const Surface& surface, const Daylight& light);

/// Three bytes (red, green, blue) for each cell, row after row: colours under the sun of the epoch, with the
/// shadows of houses, trees and relief.
std::vector<std::uint8_t> renderOrthophoto(const Scene& scene, const Surface& surface, int epoch);

} // namespace samples
