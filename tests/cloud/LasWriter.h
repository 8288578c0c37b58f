#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace cloud::test {

/// One point as a test gives it.
struct Return {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    int classification = 1;
    bool isWithheld = false;
};

/// A LAS file as surveys deliver them, written byte by byte and apart from the reader. Everything public may be
/// changed before write().
struct LasWriter {
    int minorVersion = 2;
    int pointFormat = 3;
    int extraBytes = 0; ///< of each point beyond its format
    std::array<double, 3> scale{0.01, 0.01, 0.01};
    std::array<double, 3> offset{0.0, 0.0, 0.0};
    std::vector<Return> points;
    std::string wkt;
    bool isWktAtTheEnd = false; ///< as an extended record behind the points, 1.4 only
    std::vector<std::uint16_t> geoKeys;
    std::vector<double> geoDoubles;
    std::string geoTexts;
    int globalEncoding = 0; ///< 1: GPS times count from a day of the calendar
    double gpsTime = 0.0;   ///< of every point, where the format keeps it
    int creationDay = 0;
    int creationYear = 0;
    int claimedPoints = -1;                             ///< what the head says; -1: the truth
    std::array<double, 3> claimedOffset{0.0, 0.0, 0.0}; ///< beyond the true one
    double boundsShrunkBy =
        0.0; ///< the head claims bounds that much too small to the west, east, south and north

    /// The file's bytes.
    std::vector<std::uint8_t> bytes() const;
    void write(const std::string& path) const;
};

} // namespace cloud::test
