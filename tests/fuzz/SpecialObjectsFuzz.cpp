// A table of special objects; the first byte chooses their type.
#include "detect/GdalErrors.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/MemoryFile.h"
#include "workbench/inspectiondata/database/SpecialObjectFile.h"

#include <gdal_priv.h>

#include <cmath>

namespace {

constexpr KV_ObjectType kTypes[] = {KV_SPECIAL_POINT, KV_SPECIAL_AREA, KV_HIGH_CONSEQUENCE_AREA};

/// Bytes of other formats are their drivers' affair.
bool isTable(const std::string& path) {
    GDALDriverH driver = GDALIdentifyDriverEx(path.c_str(), GDAL_OF_VECTOR, nullptr, nullptr);
    return driver && std::string(GDALGetDescription(driver)) == "CSV";
}

void checkPlace(const osg::Vec3d& place) {
    fuzz::require(std::isfinite(place.z()) && std::abs(place.y()) <= 90.0 && std::abs(place.x()) <= 540.0);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    detect::silenceLibraries();
    GDALAllRegister();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return -1;
    }
    const fuzz::MemoryFile file("/vsimem/objects.csv", data + 1, size - 1);
    if (!isTable(file.path())) {
        return -1;
    }
    const inspection::SpecialObjectFile source{QString::fromStdString(file.path()), kTypes[data[0] % 3],
                                               QStringLiteral("EPSG:4326"), QString()};
    const auto rows = inspection::readSpecialObjects(source, inspection::SpecialObjectNames(), {});
    if (!rows) {
        return 0;
    }
    for (const auto& record : rows->records) {
        fuzz::require(!record->GetName().empty());
        checkPlace(record->GetCoor());
    }
    return 0;
}
