#include "tests/cloud/LasWriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>

namespace cloud::test {

namespace {

using Bytes = std::vector<std::uint8_t>;

template<typename Number>
void put(Bytes& bytes, std::size_t at, Number number) {
    if (bytes.size() < at + sizeof number) {
        bytes.resize(at + sizeof number);
    }
    std::memcpy(&bytes[at], &number, sizeof number); // the tests run where the least byte is first
}

void putText(Bytes& bytes, std::size_t at, const std::string& text, std::size_t room) {
    for (std::size_t i = 0; i < room; ++i) {
        put<std::uint8_t>(bytes, at + i, i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0);
    }
}

void putRecord(Bytes& bytes, std::uint16_t id, const void* content, std::size_t size, bool isExtended) {
    const std::size_t at = bytes.size();
    putText(bytes, at, "", 2);
    putText(bytes, at + 2, "LASF_Projection", 16);
    put<std::uint16_t>(bytes, at + 18, id);
    if (isExtended) {
        put<std::uint64_t>(bytes, at + 20, size);
    } else {
        put<std::uint16_t>(bytes, at + 20, static_cast<std::uint16_t>(size));
    }
    putText(bytes, at + (isExtended ? 28 : 22), "", 32);
    const auto* first = static_cast<const std::uint8_t*>(content);
    bytes.insert(bytes.end(), first, first + size);
}

constexpr std::array<std::size_t, 11> kRecordBytes{20, 28, 26, 34, 57, 63, 30, 36, 38, 59, 67};

void putPoint(Bytes& bytes, const LasWriter& file, const Return& point) {
    const std::size_t at = bytes.size();
    bytes.resize(at + kRecordBytes[static_cast<std::size_t>(file.pointFormat)] +
                 static_cast<std::size_t>(file.extraBytes));
    const std::array<double, 3> place{point.x, point.y, point.z};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        put(bytes, at + 4 * axis,
            static_cast<std::int32_t>(std::lround((place[axis] - file.offset[axis]) / file.scale[axis])));
    }
    if (file.pointFormat != 0 && file.pointFormat != 2) {
        put(bytes, at + (file.pointFormat >= 6 ? 22 : 20), file.gpsTime);
    }
    const auto kind = static_cast<std::uint8_t>(point.classification);
    if (file.pointFormat >= 6) {
        put<std::uint8_t>(bytes, at + 14, 0x11);
        put<std::uint8_t>(bytes, at + 15, point.isWithheld ? 0x04 : 0);
        put(bytes, at + 16, kind);
    } else {
        put<std::uint8_t>(bytes, at + 14, 0x09);
        put(bytes, at + 15, static_cast<std::uint8_t>(kind | (point.isWithheld ? 0x80 : 0)));
    }
}

} // namespace

std::vector<std::uint8_t> LasWriter::bytes() const {
    const std::size_t headBytes = minorVersion >= 4 ? 375 : minorVersion == 3 ? 235 : 227;
    Bytes file(headBytes);
    std::uint32_t records = 0;
    const auto record = [&](std::uint16_t id, const void* content, std::size_t size) {
        if (size > 0) {
            putRecord(file, id, content, size, false);
            ++records;
        }
    };
    record(34735, geoKeys.data(), geoKeys.size() * 2);
    record(34736, geoDoubles.data(), geoDoubles.size() * 8);
    record(34737, geoTexts.c_str(), geoTexts.empty() ? 0 : geoTexts.size() + 1);
    if (!isWktAtTheEnd) {
        record(2112, wkt.c_str(), wkt.empty() ? 0 : wkt.size() + 1);
    }
    const auto firstPoint = static_cast<std::uint32_t>(file.size());
    for (const Return& point : points) {
        putPoint(file, *this, point);
    }
    const std::uint64_t end = file.size();
    if (isWktAtTheEnd) {
        putRecord(file, 2112, wkt.c_str(), wkt.size() + 1, true);
    }

    const std::uint64_t count = claimedPoints < 0 ? points.size() : static_cast<std::uint64_t>(claimedPoints);
    putText(file, 0, "LASF", 4);
    put<std::uint8_t>(file, 24, 1);
    put(file, 25, static_cast<std::uint8_t>(minorVersion));
    put(file, 6, static_cast<std::uint16_t>(globalEncoding));
    put(file, 90, static_cast<std::uint16_t>(creationDay));
    put(file, 92, static_cast<std::uint16_t>(creationYear));
    put(file, 94, static_cast<std::uint16_t>(headBytes));
    put(file, 96, firstPoint);
    put(file, 100, records);
    put(file, 104, static_cast<std::uint8_t>(pointFormat));
    put(file, 105,
        static_cast<std::uint16_t>(kRecordBytes[static_cast<std::size_t>(pointFormat)] +
                                   static_cast<std::size_t>(extraBytes)));
    put(file, 107, minorVersion >= 4 ? 0U : static_cast<std::uint32_t>(count));
    for (std::size_t axis = 0; axis < 3; ++axis) {
        double least = std::numeric_limits<double>::infinity();
        double most = -least;
        for (const Return& point : points) {
            const double value = axis == 0 ? point.x : axis == 1 ? point.y : point.z;
            least = std::min(least, value);
            most = std::max(most, value);
        }
        put(file, 131 + 8 * axis, scale[axis]);
        put(file, 155 + 8 * axis, offset[axis] + claimedOffset[axis]);
        put(file, 179 + 16 * axis, points.empty() ? 0.0 : most - (axis < 2 ? boundsShrunkBy : 0.0));
        put(file, 187 + 16 * axis, points.empty() ? 0.0 : least + (axis < 2 ? boundsShrunkBy : 0.0));
    }
    if (minorVersion >= 4) {
        put<std::uint64_t>(file, 235, isWktAtTheEnd ? end : 0);
        put<std::uint32_t>(file, 243, isWktAtTheEnd ? 1 : 0);
        put(file, 247, count);
    }
    return file;
}

void LasWriter::write(const std::string& path) const {
    const Bytes file = bytes();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
}

} // namespace cloud::test
