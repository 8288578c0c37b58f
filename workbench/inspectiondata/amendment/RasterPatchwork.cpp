#include "workbench/inspectiondata/amendment/RasterPatchwork.h"

#include "detect/GdalErrors.h"

#include <QFile>

#include <gdal_priv.h>
#include <gdal_utils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace inspection {

namespace {

int gdalProgress(double fraction, const char*, void* progress) {
    return (*static_cast<const std::function<bool(double)>*>(progress))(fraction) ? TRUE : FALSE;
}

Unexpected unwritable(const QString& file, const detect::GdalErrors& errors) {
    QFile::remove(file);
    return fileFailure(file, "cannot be written: " + QString::fromStdString(errors.first()),
                       "无法写入，磁盘可能已满");
}

/// All rasters as one, in memory.
GDALDatasetUniquePtr joined(const QStringList& rasters) {
    std::vector<QByteArray> names;
    std::vector<const char*> list;
    for (const QString& raster : rasters) {
        names.push_back(raster.toUtf8());
    }
    std::transform(names.begin(), names.end(), std::back_inserter(list),
                   [](const QByteArray& name) { return name.constData(); });
    return GDALDatasetUniquePtr(GDALDataset::FromHandle(
        GDALBuildVRT("", static_cast<int>(list.size()), nullptr, list.data(), nullptr, nullptr)));
}

struct CellWindow {
    int left = 0;
    int top = 0;
    int columns = 0;
    int rows = 0;
};

/// The whole cells around the box, as far as the raster goes.
CellWindow windowOf(GDALDataset& raster, const detect::Box& box) {
    std::array<double, 6> grid{};
    raster.GetGeoTransform(grid.data());
    constexpr double kSlack = 1e-6; // of a cell
    const auto cells = [&](double from, double to, int count) {
        const int first = std::clamp(static_cast<int>(std::floor(from + kSlack)), 0, count);
        const int last = std::clamp(static_cast<int>(std::ceil(to - kSlack)), 0, count);
        return std::pair(first, std::max(0, last - first));
    };
    const auto [left, columns] =
        cells((box.xMin - grid[0]) / grid[1], (box.xMax - grid[0]) / grid[1], raster.GetRasterXSize());
    const auto [top, rows] =
        cells((box.yMax - grid[3]) / grid[5], (box.yMin - grid[3]) / grid[5], raster.GetRasterYSize());
    return {left, top, columns, rows};
}

std::int64_t cellsWithValue(GDALDataset& raster) {
    GDALRasterBand* band = raster.GetRasterBand(1);
    int hasNoData = 0;
    const double noData = band->GetNoDataValue(&hasNoData);
    std::vector<float> row(static_cast<std::size_t>(raster.GetRasterXSize()));
    std::int64_t count = 0;
    for (int y = 0; y < raster.GetRasterYSize(); ++y) {
        if (band->RasterIO(GF_Read, 0, y, raster.GetRasterXSize(), 1, row.data(), raster.GetRasterXSize(), 1,
                           GDT_Float32, 0, 0, nullptr) != CE_None) {
            return count;
        }
        count += std::count_if(row.begin(), row.end(), [&](float value) {
            return std::isfinite(value) && (hasNoData == 0 || value != static_cast<float>(noData));
        });
    }
    return count;
}

GDALDatasetUniquePtr cutOut(GDALDataset& raster, const CellWindow& window, const QString& file,
                            std::function<bool(double)>& progress) {
    CPLStringList arguments;
    for (const QString& argument :
         {QStringLiteral("-srcwin"), QString::number(window.left), QString::number(window.top),
          QString::number(window.columns), QString::number(window.rows), QStringLiteral("-of"),
          QStringLiteral("GTiff"), QStringLiteral("-co"), QStringLiteral("TILED=YES"), QStringLiteral("-co"),
          QStringLiteral("COMPRESS=DEFLATE"), QStringLiteral("-co"), QStringLiteral("BIGTIFF=IF_SAFER")}) {
        arguments.AddString(argument.toUtf8().constData());
    }
    GDALTranslateOptions* options = GDALTranslateOptionsNew(arguments.List(), nullptr);
    GDALTranslateOptionsSetProgress(options, gdalProgress, &progress);
    GDALDatasetUniquePtr made(GDALDataset::FromHandle(
        GDALTranslate(file.toUtf8().constData(), GDALDataset::ToHandle(&raster), options, nullptr)));
    GDALTranslateOptionsFree(options);
    return made;
}

} // namespace

Result<std::int64_t> writePatchwork(const QStringList& rasters, const detect::Box& box, const QString& file,
                                    const std::function<bool(double fraction)>& progress) {
    GDALAllRegister();
    const detect::GdalErrors errors;
    const GDALDatasetUniquePtr whole = joined(rasters);
    if (!whole || errors.any()) {
        return fileFailure(rasters.front(), "cannot be read: " + QString::fromStdString(errors.first()),
                           "无法读取");
    }
    const CellWindow window = windowOf(*whole, box);
    if (window.columns == 0 || window.rows == 0) {
        return 0;
    }
    bool isStopped = false;
    std::function<bool(double)> watched = [&](double fraction) {
        isStopped = !progress(fraction);
        return !isStopped;
    };
    GDALDatasetUniquePtr made = cutOut(*whole, window, file, watched);
    if (made) {
        made->FlushCache(false);
    }
    if (isStopped) {
        made.reset();
        QFile::remove(file);
        return cancelled();
    }
    if (!made || errors.any()) {
        made.reset();
        return unwritable(file, errors);
    }
    const std::int64_t cells = cellsWithValue(*made);
    made.reset();
    if (errors.any()) {
        return unwritable(file, errors);
    }
    if (cells == 0) {
        QFile::remove(file);
    }
    return cells;
}

} // namespace inspection
