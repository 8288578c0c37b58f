#pragma once

#include "cloud/Cloud.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace cloud {

/// What the head of a LAS or LAZ file (1.0 to 1.4, ASPRS) says. Nothing of the points has been looked at.
struct LasHeader {
    std::array<int, 2> version{};
    int pointFormat = 0;          ///< 0 to 10, without the marks of compression
    bool isCompressed = false;    ///< LAZ
    int recordBytes = 0;          ///< of one point, uncompressed
    std::uint64_t points = 0;     ///< as many as the file claims
    std::uint64_t firstPoint = 0; ///< offset of the first point, bytes
    /// x = X scale[0] + offset[0], and so on, in the units of the reference system.
    std::array<double, 3> scale{};
    std::array<double, 3> offset{};
    std::array<double, 3> least{}; ///< as the file claims
    std::array<double, 3> most{};
    int creationDay = 0;  ///< of the year, from 1; 0 where it is not said
    int creationYear = 0; ///< likewise
    bool hasCalendarTime =
        false;       ///< GPS times count from a day of the calendar, not from the start of a week
    std::string wkt; ///< Well-Known Text of the reference system, empty without one
    /// GeoTIFF keys in the words of their three tags, empty without them.
    std::vector<std::uint16_t> geoKeys;
    std::vector<double> geoDoubles;
    std::string geoTexts;
};

/// Fails for a file that cannot be read, is no LAS file, is of a version or point format that is not known, or
/// ends before its own head or, uncompressed, before all the points that it claims. Any thread.
Result<LasHeader> readLasHeader(const std::string& path);

} // namespace cloud
