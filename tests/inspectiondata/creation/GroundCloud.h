#pragma once

#include "tests/cloud/LasWriter.h"
#include "tests/support/SmallProject.h"

#include "workbench/inspectiondata/project/Georeference.h"

/// Writes a point cloud over the ground of the small project, four returns in each cell of its rasters, of the columns
/// from `first` to `last`; with the project's system in its head unless `crs` is empty.
inline void writeGroundCloud(const QString& file, double (*ground)(int column, int row), int first = 0,
                             int last = SmallProject::kColumns, const QString& crs = "EPSG:4547") {
    cloud::test::LasWriter writer;
    writer.minorVersion = 4;
    writer.pointFormat = 6;
    writer.offset = {500000.0, 3400000.0, 0.0};
    for (int row = 0; row < SmallProject::kRows; ++row) {
        for (int column = first; column < last; ++column) {
            for (const auto& [right, down] : {std::pair(0.2, 0.3), {0.7, 0.3}, {0.3, 0.8}, {0.8, 0.7}}) {
                writer.points.push_back({SmallProject::kLeft + (column + right) * SmallProject::kCellMetres,
                                         SmallProject::kTop - (row + down) * SmallProject::kCellMetres,
                                         ground(column, row), column % 2 == 0 ? 2 : 1});
            }
        }
    }
    if (!crs.isEmpty()) {
        char* wkt = nullptr;
        inspection::referenceOf(crs)->exportToWkt(&wkt);
        writer.wkt = wkt;
        writer.globalEncoding = 16; // the reference system is text
        CPLFree(wkt);
    }
    writer.write(file.toStdString());
}
