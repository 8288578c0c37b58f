#include "workbench/inspectiondata/creation/SurveyRaster.h"

#include "detect/GdalErrors.h"
#include "workbench/inspectiondata/creation/HeightSystem.h"
#include "workbench/inspectiondata/creation/SurveyCloud.h"
#include "workbench/inspectiondata/project/RasterPlace.h"

#include <QDate>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace inspection {

namespace {

constexpr int kEarliestYear = 1990; // digits before it are the number of a block rather than a flight

QString isoDate(int year, int month, int day) {
    const QDate date(year, month, day);
    const bool likely = date.isValid() && year >= kEarliestYear && date <= QDate::currentDate();
    return likely ? date.toString(Qt::ISODate) : QString();
}

QString dateInText(const QString& text) {
    static const QRegularExpression pattern(
        QStringLiteral("(?<!\\d)(\\d{4})(?:(\\d{2})(\\d{2})|[-_.年](\\d{1,2})[-_.月](\\d{1,2}))(?!\\d)"));
    auto matches = pattern.globalMatch(text);
    while (matches.hasNext()) {
        const auto match = matches.next();
        const bool compact = !match.captured(2).isEmpty();
        const QString date = isoDate(match.captured(1).toInt(), match.captured(compact ? 2 : 4).toInt(),
                                     match.captured(compact ? 3 : 5).toInt());
        if (!date.isEmpty()) {
            return date;
        }
    }
    return {};
}

QString dateOfTags(GDALDataset& raster) {
    const QString stamp = QString::fromUtf8(raster.GetMetadataItem("TIFFTAG_DATETIME")).left(10);
    const QDate date = QDate::fromString(stamp, QStringLiteral("yyyy:MM:dd"));
    return date.isValid() ? date.toString(Qt::ISODate) : QString();
}

detect::Box boxOf(std::array<double, 6> transform, int columns, int rows) {
    detect::Box box{HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    for (int corner = 0; corner < 4; ++corner) {
        const int column = corner % 2 * columns;
        const int row = corner / 2 * rows;
        double x = 0.0;
        double y = 0.0;
        GDALApplyGeoTransform(transform.data(), column, row, &x, &y);
        box = {std::min(box.xMin, x), std::min(box.yMin, y), std::max(box.xMax, x), std::max(box.yMax, y)};
    }
    return box;
}

bool holdsColours(GDALDataset& raster) {
    constexpr int kColours = 3;
    return raster.GetRasterCount() >= kColours && raster.GetRasterBand(1)->GetRasterDataType() == GDT_Byte;
}

Result<SurveyRaster> readHead(const QString& file) {
    const detect::GdalErrors errors;
    const GDALDatasetUniquePtr raster(GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_RASTER));
    if (!raster || raster->GetRasterCount() < 1) {
        return fileFailure(file, "not a readable raster: " + QString::fromStdString(errors.first()),
                           "无法读取栅格");
    }
    std::array<double, 6> transform{};
    const OGRSpatialReference* reference = raster->GetSpatialRef();
    if (!reference || raster->GetGeoTransform(transform.data()) != CE_None) {
        return fileFailure(file, "has no reference system", "没有坐标系");
    }
    SurveyRaster head;
    head.files << absoluteRaster(file);
    head.reference = planeOf(*reference);
    head.heights = heightSystemOf(*reference);
    head.box = boxOf(transform, raster->GetRasterXSize(), raster->GetRasterYSize());
    head.boxes = {head.box};
    head.cells = double(raster->GetRasterXSize()) * raster->GetRasterYSize();
    head.cellWidth = std::hypot(transform[1], transform[4]);
    head.cellHeight = std::hypot(transform[2], transform[5]);
    head.isPicture = holdsColours(*raster);
    head.date = dateOfTags(*raster);
    return head;
}

bool isRaster(const QString& file) {
    const QByteArray name = file.toUtf8();
    return GDALIdentifyDriverEx(name.constData(), GDAL_OF_RASTER, nullptr, nullptr) != nullptr;
}

/// Rasters of the folder itself, by name. Reduced pictures and masks lie beside what they belong to.
QStringList rastersIn(const QString& folder) {
    static const QStringList companions{"ovr", "msk", "xml"};
    QStringList rasters;
    for (const QFileInfo& file : QDir(folder).entryInfoList(QDir::Files, QDir::Name)) {
        if (!companions.contains(file.suffix().toLower()) && isRaster(file.absoluteFilePath())) {
            rasters << file.absoluteFilePath();
        }
    }
    return rasters;
}

Status addTile(SurveyRaster& mosaic, const SurveyRaster& tile) {
    const QString& file = tile.files.front();
    if (!sameReference(mosaic.reference, tile.reference) || mosaic.heights != tile.heights) {
        return fileFailure(file, "is in another reference system than " + mosaic.files.front(),
                           QStringLiteral("坐标系与 %1 不同").arg(mosaic.files.front()));
    }
    if (mosaic.isPicture != tile.isPicture) {
        return fileFailure(file, "is of another kind than " + mosaic.files.front(),
                           QStringLiteral("与 %1 不是同一种数据").arg(mosaic.files.front()));
    }
    mosaic.files << tile.files;
    mosaic.boxes.insert(mosaic.boxes.end(), tile.boxes.begin(), tile.boxes.end());
    mosaic.box = {std::min(mosaic.box.xMin, tile.box.xMin), std::min(mosaic.box.yMin, tile.box.yMin),
                  std::max(mosaic.box.xMax, tile.box.xMax), std::max(mosaic.box.yMax, tile.box.yMax)};
    mosaic.cells += tile.cells;
    if (mosaic.date.isEmpty()) {
        mosaic.date = tile.date;
    }
    return {};
}

Result<SurveyRaster> readMosaic(const QString& folder) {
    const QStringList files = rastersIn(folder);
    if (files.isEmpty()) {
        return fileFailure(folder, "holds no raster", "文件夹中没有栅格");
    }
    auto mosaic = readHead(files.front());
    for (qsizetype i = 1; i < files.size() && mosaic; ++i) {
        const auto tile = readHead(files[i]);
        if (!tile) {
            return failed(tile);
        }
        if (const auto added = addTile(*mosaic, *tile); !added) {
            return failed(added);
        }
    }
    return mosaic;
}

/// A name was given by somebody who knew the flight; a tag may tell when the raster was computed.
QString flightDate(const QFileInfo& file, const QString& tag) {
    const QString named = dateInText(file.fileName());
    if (!named.isEmpty()) {
        return named;
    }
    return !tag.isEmpty() ? tag : dateInName(file.absolutePath());
}

} // namespace

OGRSpatialReference planeOf(const OGRSpatialReference& reference) {
    OGRSpatialReference plane = reference;
    plane.StripVertical();
    plane.DemoteTo2D(nullptr);
    plane.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return plane;
}

QString dateInName(const QString& path) {
    const QStringList parts = QDir::fromNativeSeparators(path).split('/', Qt::SkipEmptyParts);
    constexpr qsizetype kNames = 3; // what lies further out is a disk or a user
    for (qsizetype i = parts.size() - 1; i >= qMax<qsizetype>(0, parts.size() - kNames); --i) {
        const QString date = dateInText(parts[i]);
        if (!date.isEmpty()) {
            return date;
        }
    }
    return {};
}

Result<SurveyRaster> surveyRaster(const QString& fileOrFolder, const QString& crs) {
    GDALAllRegister();
    const QFileInfo info(fileOrFolder);
    if (!rasterExists(fileOrFolder)) {
        return fileFailure(fileOrFolder, "no such file", "文件不存在");
    }
    auto raster = isOnServer(fileOrFolder)    ? readHead(fileOrFolder)
                  : holdsClouds(fileOrFolder) ? surveyCloud(fileOrFolder, crs)
                  : info.isDir()              ? readMosaic(fileOrFolder)
                                              : readHead(fileOrFolder);
    if (raster) {
        raster->date = flightDate(info, raster->date);
    }
    return raster;
}

} // namespace inspection
