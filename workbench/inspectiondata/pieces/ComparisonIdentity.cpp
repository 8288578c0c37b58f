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

constexpr int kWindowsAcross = 8;
constexpr int kCellsAcross = 64;

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

/// Windows spread over the raster: a small share of its tiles, however large it is.
bool addCells(QCryptographicHash& hash, GDALDataset& raster) {
    const int columns = std::min(kCellsAcross, raster.GetRasterXSize());
    const int rows = std::min(kCellsAcross, raster.GetRasterYSize());
    std::vector<double> cells(std::size_t(columns) * std::size_t(rows));
    for (int window = 0; window < kWindowsAcross * kWindowsAcross; ++window) {
        const auto place = [](int index, int all, int size) {
            return static_cast<int>(std::int64_t{all - size} * index / (kWindowsAcross - 1));
        };
        const int column = place(window % kWindowsAcross, raster.GetRasterXSize(), columns);
        const int row = place(window / kWindowsAcross, raster.GetRasterYSize(), rows);
        if (raster.GetRasterBand(1)->RasterIO(GF_Read, column, row, columns, rows, cells.data(), columns,
                                              rows, GDT_Float64, 0, 0, nullptr) != CE_None) {
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
