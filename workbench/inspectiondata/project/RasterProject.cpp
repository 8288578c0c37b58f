#include "workbench/inspectiondata/project/RasterProject.h"

#include "detect/GdalErrors.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/ProjectFile.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace inspection {

namespace {

constexpr int kMostStations = 12;
constexpr double kCellsPerStation = 4e6;

/// What a new project wants to know of a raster.
struct RasterExtent {
    OGRSpatialReference reference;
    detect::Box box;
    double cells = 0.0;
    QString date;
};

/// The flight date that the raster tells, as an ISO date; empty when it does not.
QString dateOf(GDALDataset& raster) {
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

Result<RasterExtent> extentOf(const QString& file) {
    if (!QFileInfo::exists(file)) {
        return fileFailure(file, "no such file", "文件不存在");
    }
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
    RasterExtent extent;
    extent.reference = *reference;
    extent.reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    extent.box = boxOf(transform, raster->GetRasterXSize(), raster->GetRasterYSize());
    extent.cells = double(raster->GetRasterXSize()) * raster->GetRasterYSize();
    extent.date = dateOf(*raster);
    return extent;
}

std::optional<OGRSpatialReference> stationReference(const RasterExtent& raster) {
    if (raster.reference.IsProjected() != 0) {
        return raster.reference;
    }
    const auto box = transformedBox(raster.box, raster.reference, wgs84());
    if (!box) {
        return std::nullopt;
    }
    return projectedReferenceAt((box->xMin + box->xMax) / 2.0, (box->yMin + box->yMax) / 2.0);
}

/// Equal boxes over `area`, as near to squares as the number allows.
std::vector<detect::Box> stationGrid(const detect::Box& area, double cells) {
    const double wanted = std::clamp(std::ceil(cells / kCellsPerStation), 1.0, double(kMostStations));
    const double aspect = (area.xMax - area.xMin) / (area.yMax - area.yMin);
    const int columns = std::clamp(static_cast<int>(std::lround(std::sqrt(wanted * aspect))), 1, int(wanted));
    const int rows = std::max(1, static_cast<int>(wanted) / columns);
    const double width = (area.xMax - area.xMin) / columns;
    const double height = (area.yMax - area.yMin) / rows;
    std::vector<detect::Box> boxes;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            boxes.push_back({area.xMin + column * width, area.yMax - (row + 1) * height,
                             area.xMin + (column + 1) * width, area.yMax - row * height});
        }
    }
    return boxes;
}

OGRPolygon polygonOf(const detect::Box& box) {
    OGRLinearRing ring;
    ring.addPoint(box.xMin, box.yMin);
    ring.addPoint(box.xMax, box.yMin);
    ring.addPoint(box.xMax, box.yMax);
    ring.addPoint(box.xMin, box.yMax);
    ring.closeRings();
    OGRPolygon polygon;
    polygon.addRing(&ring);
    return polygon;
}

bool addStation(OGRLayer& layer, int id, const detect::Box& box) {
    OGRFeature feature(layer.GetLayerDefn());
    feature.SetField("id", id);
    feature.SetField("name", QStringLiteral("%1号区").arg(id).toUtf8().constData());
    feature.SetField("start_m", 0.0);
    feature.SetField("end_m", 0.0);
    const OGRPolygon polygon = polygonOf(box);
    feature.SetGeometry(&polygon);
    return layer.CreateFeature(&feature) == OGRERR_NONE;
}

bool writeLayer(const QString& file, const OGRSpatialReference& reference,
                const std::vector<detect::Box>& boxes) {
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GPKG");
    const GDALDatasetUniquePtr target(
        !driver ? nullptr : driver->Create(file.toUtf8().constData(), 0, 0, 0, GDT_Unknown, nullptr));
    OGRSpatialReference stored(reference);
    OGRLayer* layer = target ? target->CreateLayer("stations", &stored, wkbPolygon, nullptr) : nullptr;
    if (!layer) {
        return false;
    }
    OGRFieldDefn id("id", OFTInteger);
    OGRFieldDefn name("name", OFTString);
    OGRFieldDefn start("start_m", OFTReal);
    OGRFieldDefn end("end_m", OFTReal);
    bool good = true;
    for (OGRFieldDefn* field : {&id, &name, &start, &end}) {
        good = good && layer->CreateField(field) == OGRERR_NONE;
    }
    for (std::size_t i = 0; i < boxes.size() && good; ++i) {
        good = addStation(*layer, static_cast<int>(i) + 1, boxes[i]);
    }
    return good;
}

Status writeStations(const QString& file, const OGRSpatialReference& reference,
                     const std::vector<detect::Box>& boxes) {
    const QString part = file + QStringLiteral(".part.gpkg");
    const detect::GdalErrors errors;
    QFile::remove(part);
    if (!writeLayer(part, reference, boxes) || errors.any() ||
        (QFile::remove(file), !QFile::rename(part, file))) {
        QFile::remove(part);
        return fileFailure(file, "cannot be written: " + QString::fromStdString(errors.first()), "无法写入");
    }
    return {};
}

/// The description of the new project; `overlap` becomes the common area in its reference system.
Result<ProjectDescription> describe(const QString& folder, const RasterPair& rasters, const RasterExtent& old,
                                    const RasterExtent& now, detect::Box& overlap) {
    const auto reference = stationReference(old);
    const auto oldBox = reference ? transformedBox(old.box, old.reference, *reference) : std::nullopt;
    const auto newBox = reference ? transformedBox(now.box, now.reference, *reference) : std::nullopt;
    if (!oldBox || !newBox) {
        return fileFailure(rasters.newDsm, "its reference system does not go with that of " + rasters.oldDsm,
                           "两期坐标系无法相互转换");
    }
    overlap = {std::max(oldBox->xMin, newBox->xMin), std::max(oldBox->yMin, newBox->yMin),
               std::min(oldBox->xMax, newBox->xMax), std::min(oldBox->yMax, newBox->yMax)};
    if (overlap.xMin >= overlap.xMax || overlap.yMin >= overlap.yMax) {
        return fileFailure(rasters.newDsm, "does not overlap " + rasters.oldDsm, "与另一期没有重叠区域");
    }
    const auto path = [](const QString& file) {
        return file.isEmpty() ? file : QFileInfo(file).absoluteFilePath();
    };
    ProjectDescription project;
    project.folder = QDir::cleanPath(QDir(folder).absolutePath());
    project.name =
        QFileInfo(rasters.oldDsm).completeBaseName() + " – " + QFileInfo(rasters.newDsm).completeBaseName();
    project.crs = definitionOf(*reference);
    project.epochs = {{old.date, path(rasters.oldDsm), path(rasters.oldDom)},
                      {now.date, path(rasters.newDsm), path(rasters.newDom)}};
    project.centerline = project.folder + QStringLiteral("/centerline.gpkg");
    return project;
}

} // namespace

Result<ProjectDescription> writeRasterProject(const QString& folder, const RasterPair& rasters) {
    GDALAllRegister();
    const auto old = extentOf(rasters.oldDsm);
    if (!old) {
        return failed(old);
    }
    const auto now = extentOf(rasters.newDsm);
    if (!now) {
        return failed(now);
    }
    detect::Box overlap;
    auto described = describe(folder, rasters, *old, *now, overlap);
    if (!described) {
        return described;
    }
    const auto& project = *described;
    const auto boxes = stationGrid(overlap, old->cells);
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): describe() made the text out of a reference system
    if (auto done = writeStations(project.centerline, *referenceOf(project.crs), boxes); !done) {
        return failed(done);
    }
    if (auto done = writeProjectFile(project); !done) {
        QFile::remove(project.centerline);
        return failed(done);
    }
    return described;
}

} // namespace inspection
