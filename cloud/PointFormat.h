#pragma once

#include "cloud/LasHeader.h"

namespace cloud {

/// What the flags of a wide format say of a point that is not to be used.
constexpr int kWithheldOfWide = 0x04;

/// Formats from 6 on are wide: they keep a point's class in a byte of its own and its flags in another, where
/// the others keep both in one.
inline bool isWide(const LasHeader& header) {
    constexpr int kFirstOfWideFormats = 6;
    return header.pointFormat >= kFirstOfWideFormats;
}

/// A point at the place that these numbers of its record mean; the rest is still to be filled in.
inline CloudPoint pointAt(const LasHeader& header, std::int32_t x, std::int32_t y, std::int32_t z) {
    CloudPoint point;
    point.x = x * header.scale[0] + header.offset[0];
    point.y = y * header.scale[1] + header.offset[1];
    point.z = z * header.scale[2] + header.offset[2];
    return point;
}

} // namespace cloud
