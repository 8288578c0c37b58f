#include "workbench/inspectiondata/pieces/ComparisonIdentity.h"

#include "detect/GdalErrors.h"
#include "workbench/inspectiondata/project/ProjectFile.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QJsonArray>

#include <gdal_priv.h>

#include <algorithm>
#include <array>

namespace inspection {

namespace {

constexpr int kTilesAcross = 8;
constexpr int kMostCells = 1 << 12; ///< of a tile

template<class T>
void add(QCryptographicHash& hash, const T* figures, std::size_t count) {
    hash.addData(QByteArrayView(reinterpret_cast<const char*>(figures), qsizetype(count * sizeof(T))));
}

void addGrid(QCryptographicHash& hash, GDALDataset& raster) {
    std::array<double, 6> transform{};
    raster.GetGeoTransform(transform.data());
    add(hash, transform.data(), transform.size());
    const std::array<int, 2> size{raster.GetRasterXSize(), raster.GetRasterYSize()};
    add(hash, size.data(), size.size());
}

/// The first cell of one of the tiles that are spread evenly from the first to the last one.
int tileAt(int index, int cells, int tileCells) {
    const int tiles = (cells - 1) / tileCells;
    return tiles * index / (kTilesAcross - 1) * tileCells;
}

/// Beginnings of tiles, so that few are decoded, however large the raster is.
bool addCells(QCryptographicHash& hash, GDALDataset& raster) {
    GDALRasterBand* band = raster.GetRasterBand(1);
    int tileColumns = 0;
    int tileRows = 0;
    band->GetBlockSize(&tileColumns, &tileRows);
    std::vector<double> cells;
    for (int index = 0; index < kTilesAcross * kTilesAcross; ++index) {
        const int column = tileAt(index % kTilesAcross, raster.GetRasterXSize(), tileColumns);
        const int row = tileAt(index / kTilesAcross, raster.GetRasterYSize(), tileRows);
        const int columns = std::min({tileColumns, raster.GetRasterXSize() - column, kMostCells});
        const int rows =
            std::min({tileRows, raster.GetRasterYSize() - row, std::max(1, kMostCells / columns)});
        cells.assign(std::size_t(columns) * std::size_t(rows), 0.0);
        if (band->RasterIO(GF_Read, column, row, columns, rows, cells.data(), columns, rows, GDT_Float64, 0,
                           0, nullptr) != CE_None) {
            return false;
        }
        add(hash, cells.data(), cells.size());
    }
    return true;
}

Result<QString> surfaceDigest(const QString& file) {
    GDALAllRegister();
    const detect::GdalErrors errors;
    const GDALDatasetUniquePtr raster(GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_RASTER));
    QCryptographicHash hash(QCryptographicHash::Sha256);
    const qint64 bytes = QFileInfo(file).size();
    add(hash, &bytes, 1);
    if (raster) {
        addGrid(hash, *raster);
    }
    if (!raster || raster->GetRasterCount() < 1 || !addCells(hash, *raster)) {
        return fileFailure(file, "not a readable raster: " + QString::fromStdString(errors.first()),
                           "无法读取栅格");
    }
    return QString::fromLatin1(hash.result().toHex());
}

QJsonObject detectionParameters(const ProjectDescription& project) {
    QJsonObject parameters = parametersAsStored(project.parameters);
    for (const char* shown : {"fill_colour", "cut_colour", "overlay_mode"}) {
        parameters.remove(QLatin1String(shown));
    }
    return parameters;
}

struct Difference {
    const char* key;
    const char* cause;
    const char* userCause;
};

constexpr Difference kDifferences[] = {
    {"pair", "is of another pair of epochs", "对比的期次与项目当前所选的不同"},
    {"crs", "is of another reference system", "坐标系与项目不同"},
    {"parameters", "was computed with other parameters", "检测参数与项目不同"},
    {"old", "is of another old surface model", "旧期表面模型与项目的不是同一数据"},
    {"new", "is of another new surface model", "新期表面模型与项目的不是同一数据"},
};

} // namespace

Result<QJsonObject> comparisonIdentity(const ProjectDescription& project) {
    const auto older = surfaceDigest(project.oldEpoch().dsm);
    const auto newer = older ? surfaceDigest(project.newEpoch().dsm) : older;
    if (!newer) {
        return failed(newer);
    }
    const EpochPair pair = project.pair();
    return QJsonObject{{"pair", QJsonArray{pair.older, pair.newer}},
                       {"crs", project.crs},
                       {"parameters", detectionParameters(project)},
                       {"old", *older},
                       {"new", *newer}};
}

Status expectIdentity(const QString& file, const QJsonObject& found, const QJsonObject& expected) {
    for (const Difference& each : kDifferences) {
        if (found[QLatin1String(each.key)] != expected[QLatin1String(each.key)]) {
            return fileFailure(file, each.cause, each.userCause);
        }
    }
    return {};
}

} // namespace inspection
