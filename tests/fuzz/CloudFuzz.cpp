// A LAS file: its head, the reference system that it names, and its points.
#include "cloud/CloudReference.h"
#include "cloud/PointReader.h"
#include "detect/GdalErrors.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/MemoryFile.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    detect::silenceLibraries();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::MemoryFile file("/vsimem/cloud.las", data, size);
    const auto header = cloud::readLasHeader(file.path());
    if (!header) {
        return 0;
    }
    if (const auto reference = cloud::referenceOf(*header)) {
        cloud::heightUnitOf(*header, *reference);
    }
    cloud::firstTime(file.path(), *header);
    const auto reader = cloud::openPoints(file.path(), *header);
    std::vector<cloud::CloudPoint> points;
    std::uint64_t read = 0;
    while (reader && (*reader)->next(points) && !points.empty()) {
        read += points.size();
    }
    fuzz::require(read <= header->points);
    return 0;
}
