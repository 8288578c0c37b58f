// Makes the clouds that bench/rasterize.sh measures with: four strips of a survey side by side, flown line by line over
// relief with trees, about 25 points a square metre, LAS 1.4 with point format 6; the same for the same arguments on
// every machine. Written as it is made, so that the points need no memory.
//
//     bench_make_cloud POINTS FILE.las|FILE.laz|FILE.ply       LAZ where the program was built with LASzip
//
// PLY holds places alone, from the south-western corner on, for programs that read no LAS.

#include "tests/cloud/CompressCloud.h"

#include <ogr_spatialref.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kHeadBytes = 375;
constexpr std::size_t kRecordHeadBytes = 54;
constexpr std::size_t kPointBytes = 30;
constexpr double kScale = 0.001;
constexpr double kEast = 500000.0;
constexpr double kNorth = 3400000.0;
constexpr int kStrips = 4;
constexpr int kPointsAcross = 1250;
constexpr double kSpacing = 0.2; ///< metres between points and between lines
constexpr double kStripMetres = kPointsAcross * kSpacing;

/// Even noise in 0 .. 1 (the finaliser of SplitMix64, Steele et al. 2014).
double noise(std::uint64_t number) {
    std::uint64_t z = number * 0x9E3779B97F4A7C15ULL;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    z ^= z >> 31;
    return static_cast<double>(z >> 11) / static_cast<double>(1ULL << 53);
}

template<typename Number>
void put(std::uint8_t* at, Number number) {
    std::memcpy(at, &number, sizeof number); // made where the least byte is first
}

struct Cloud {
    std::uint64_t points = 0;

    std::uint64_t pointsOfStrip() const { return (points + kStrips - 1) / kStrips; }
    double length() const {
        const std::uint64_t lines = pointsOfStrip() / kPointsAcross + 2; // jitter at the end
        return kSpacing * static_cast<double>(lines);
    }
};

std::vector<std::uint8_t> headOf(const Cloud& cloud) {
    OGRSpatialReference reference;
    reference.importFromEPSG(32650);
    char* wkt = nullptr;
    reference.exportToWkt(&wkt);
    const std::string text = wkt;
    CPLFree(wkt);
    const std::size_t firstPoint = kHeadBytes + kRecordHeadBytes + text.size() + 1;
    std::vector<std::uint8_t> head(firstPoint);
    std::memcpy(&head[0], "LASF", 4);
    put<std::uint16_t>(&head[6], 0x10); // the reference system is Well-Known Text
    head[24] = 1;
    head[25] = 4;
    put<std::uint16_t>(&head[90], 121);
    put<std::uint16_t>(&head[92], 2024);
    put<std::uint16_t>(&head[94], kHeadBytes);
    put(&head[96], static_cast<std::uint32_t>(firstPoint));
    put<std::uint32_t>(&head[100], 1);
    head[104] = 6;
    put<std::uint16_t>(&head[105], kPointBytes);
    const std::array<double, 3> offset{kEast, kNorth, 0.0};
    const std::array<double, 3> extent{kStrips * kStripMetres + 1.0, cloud.length(), 200.0};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        put(&head[131 + 8 * axis], kScale);
        put(&head[155 + 8 * axis], offset[axis]);
        put(&head[179 + 16 * axis], offset[axis] + extent[axis]);
        put(&head[187 + 16 * axis], offset[axis]);
    }
    put(&head[247], cloud.points);
    std::uint8_t* record = &head[kHeadBytes];
    const std::string owner = "LASF_Projection";
    std::copy(owner.begin(), owner.end(), record + 2);
    put<std::uint16_t>(record + 18, 2112);
    put(record + 20, static_cast<std::uint16_t>(text.size() + 1));
    std::memcpy(record + kRecordHeadBytes, text.c_str(), text.size() + 1);
    return head;
}

double ground(double x, double y) {
    return 80.0 + 9.0 * std::cos(y * 0.013) + 2.0 * std::sin(y * 0.11) + 6.0 * std::sin(x * 0.021);
}

void putPoint(std::uint8_t* record, const Cloud& cloud, std::uint64_t number) {
    const std::uint64_t strip = number / cloud.pointsOfStrip();
    const std::uint64_t inStrip = number % cloud.pointsOfStrip();
    const auto across = static_cast<double>(inStrip % kPointsAcross);
    const std::uint64_t line = inStrip / kPointsAcross;
    const auto along = static_cast<double>(line);
    const double x = static_cast<double>(strip) * kStripMetres + kSpacing * (across + noise(4 * number));
    const double y = kSpacing * (along + noise(4 * number + 1));
    const bool isTree = std::sin(x * 0.13) + std::sin(y * 0.17) > 1.1 && noise(4 * number + 2) > 0.3;
    const double height = isTree ? 12.0 * noise(4 * number + 3) : 0.05 * noise(4 * number + 3);
    put(record, static_cast<std::int32_t>(x / kScale));
    put(record + 4, static_cast<std::int32_t>(y / kScale));
    put(record + 8, static_cast<std::int32_t>((ground(x, y) + height) / kScale));
    put(record + 12, static_cast<std::uint16_t>(2000.0 + 9000.0 * noise(4 * number + 3)));
    record[14] = 0x11;
    record[15] = 0;
    record[16] = isTree ? 5 : 2;
    put(record + 18, static_cast<std::int16_t>((across - kPointsAcross / 2.0) * 8.0));
    put(record + 20, static_cast<std::uint16_t>(strip));
    put(record + 22, 3e8 + 4e-6 * static_cast<double>(number));
}

std::vector<std::uint8_t> plyHeadOf(const Cloud& cloud) {
    const std::string text = "ply\nformat binary_little_endian 1.0\nelement vertex " +
                             std::to_string(cloud.points) +
                             "\nproperty float x\nproperty float y\nproperty float z\nend_header\n";
    return {text.begin(), text.end()};
}

/// Makes the vertex of a PLY file of a record, in its place.
void makeVertex(std::uint8_t* record) {
    std::array<std::int32_t, 3> place{};
    std::memcpy(place.data(), record, sizeof place);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        put(record + 4 * axis, static_cast<float>(place[axis] * kScale));
    }
}

bool write(const Cloud& cloud, const std::string& path, bool isPly) {
    constexpr std::uint64_t kAtOnce = 65536;
    constexpr std::size_t kVertexBytes = 12;
    const std::size_t bytes = isPly ? kVertexBytes : kPointBytes;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) {
        return false;
    }
    const std::vector<std::uint8_t> head = isPly ? plyHeadOf(cloud) : headOf(cloud);
    bool isGood = std::fwrite(head.data(), head.size(), 1, file) == 1;
    std::vector<std::uint8_t> records(kAtOnce * bytes);
    for (std::uint64_t first = 0; first < cloud.points && isGood; first += kAtOnce) {
        const std::uint64_t count = std::min(kAtOnce, cloud.points - first);
        for (std::uint64_t i = 0; i < count; ++i) {
            std::array<std::uint8_t, kPointBytes> record{};
            putPoint(record.data(), cloud, first + i);
            if (isPly) {
                makeVertex(record.data());
            }
            std::memcpy(&records[i * bytes], record.data(), bytes);
        }
        isGood = std::fwrite(records.data(), bytes, count, file) == count;
    }
    return std::fclose(file) == 0 && isGood;
}

} // namespace

int main(int argc, char** argv) {
    const Cloud cloud{argc == 3 ? std::strtoull(argv[1], nullptr, 10) : 0};
    if (cloud.points == 0) {
        std::fprintf(stderr, "usage: bench_make_cloud POINTS FILE.las|FILE.laz|FILE.ply\n");
        return 2;
    }
    const std::string path = argv[2];
    const std::string ending = path.size() > 4 ? path.substr(path.size() - 4) : "";
    if (ending != ".laz") {
        return write(cloud, path, ending == ".ply") ? 0 : 1;
    }
    const std::string plain = path + ".las";
    const bool isWritten = write(cloud, plain, false) && cloud::test::compressCloud(plain, path);
    std::remove(plain.c_str());
    return isWritten ? 0 : 1;
}
