// An outline as the database keeps it, in Well-Known Text.
#include "detect/GdalErrors.h"
#include "tests/fuzz/Input.h"
#include "workbench/inspectiondata/database/Outline.h"

#include <ogr_geometry.h>

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    detect::silenceLibraries();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string wkt = fuzz::textOf(data, size);
    const auto vertices = inspection::outlineVertices(wkt);
    inspection::outlineContains(wkt, 0.0, 0.0);
    if (!vertices.empty()) {
        fuzz::require(inspection::outlineVertices(inspection::outlineWkt(vertices)) == vertices);
    }
    return 0;
}
