#include "detect/output/CorrectionFile.h"

#include "detect/GdalErrors.h"

#include <gdal_priv.h>

namespace detect {

namespace {

const char* const kWriteFailed = "写入局部改正栅格失败，磁盘可能已满";

struct Layout {
    Point corner; ///< column and row of the old grid
    double columnsOfCell = 1.0;
    double rowsOfCell = 1.0;
    int columns = 1;
    int rows = 1;
};

Layout layoutOf(const CorrectionField& field) {
    const CorrectionField::Nodes& nodes = field.nodes();
    const double spacing = nodes.spacing;
    return {
        {nodes.firstColumn * spacing, nodes.firstRow * spacing}, spacing, spacing, nodes.columns, nodes.rows};
}

} // namespace

Status writeCorrection(const LocalCorrection& local, const Grid& oldGrid, const CellWindow& overlap,
                       const StagedOutput& output) {
    GdalErrors errors;
    const Layout layout = local.field ? layoutOf(*local.field)
                                      : Layout{{double(overlap.column), double(overlap.row)},
                                               double(overlap.columns),
                                               double(overlap.rows)};
    std::vector<float> metres = local.field ? local.field->metres() : std::vector<float>{0.0F};
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    const char* const options[] = {"COMPRESS=DEFLATE", nullptr};
    GDALDatasetUniquePtr file(driver->Create(output.path().c_str(), layout.columns, layout.rows, 1,
                                             GDT_Float32,
                                             const_cast<char**>(options))); // only read
    if (!file) {
        return failureOf(output.target(), kWriteFailed, errors.first());
    }
    Affine toMap = oldGrid.cellToMap();
    const Point corner = toMap(layout.corner.x, layout.corner.y);
    toMap.c = {corner.x, toMap.c[1] * layout.columnsOfCell, toMap.c[2] * layout.rowsOfCell,
               corner.y, toMap.c[4] * layout.columnsOfCell, toMap.c[5] * layout.rowsOfCell};
    file->SetGeoTransform(toMap.c.data());
    file->SetSpatialRef(&oldGrid.srs());
    GDALRasterBand* band = file->GetRasterBand(1);
    band->SetUnitType("m");
    band->SetDescription("correction");
    const CPLErr written = band->RasterIO(GF_Write, 0, 0, layout.columns, layout.rows, metres.data(),
                                          layout.columns, layout.rows, GDT_Float32, 0, 0, nullptr);
    file.reset();
    if (written != CE_None || errors.any()) {
        return failureOf(output.target(), kWriteFailed, errors.first());
    }
    return {};
}

} // namespace detect
