#include "workbench/inspectiondata/creation/HeightSystem.h"

#include "detect/GdalErrors.h"
#include "workbench/inspectiondata/creation/SurveyMosaic.h"

#include <QFile>

#include <gdal_priv.h>
#include <gdal_utils.h>

#include <array>
#include <cmath>

namespace inspection {

namespace {

OGRSpatialReference verticalPart(const OGRSpatialReference& reference) {
    OGRSpatialReference part;
    if (const OGR_SRSNode* node = reference.GetAttrNode("COMPD_CS|VERT_CS")) {
        char* wkt = nullptr;
        node->exportToWkt(&wkt);
        part.importFromWkt(wkt);
        CPLFree(wkt);
    }
    return part;
}

/// The plane together with what heights count from.
OGRSpatialReference withHeights(const OGRSpatialReference& plane, const HeightSystem& heights) {
    OGRSpatialReference whole = plane;
    if (heights == kEllipsoid) {
        whole.PromoteTo3D(nullptr);
    } else if (const auto vertical = referenceOf(heights)) {
        whole.SetCompoundCS("plane and height", &plane, &*vertical);
    }
    whole.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return whole;
}

/// WKT 2 alone knows planes with heights above the ellipsoid.
QByteArray definition(const OGRSpatialReference& reference) {
    char* wkt = nullptr;
    const std::array<const char*, 2> options{"FORMAT=WKT2_2019", nullptr};
    reference.exportToWkt(&wkt, options.data());
    const QByteArray text(wkt);
    CPLFree(wkt);
    return text;
}

int gdalProgress(double fraction, const char*, void* progress) {
    return (*static_cast<const std::function<bool(double)>*>(progress))(fraction) ? TRUE : FALSE;
}

std::vector<QByteArray> warpArguments(const OGRSpatialReference& from, const OGRSpatialReference& to,
                                      GDALDataset& source) {
    std::array<double, 6> grid{};
    source.GetGeoTransform(grid.data());
    const auto number = [](double value) { return QByteArray::number(value, 'g', 17); };
    const int columns = source.GetRasterXSize();
    const int rows = source.GetRasterYSize();
    std::vector<QByteArray> arguments{"-s_srs", definition(from), "-t_srs", definition(to)};
    for (const QByteArray& argument :
         {QByteArray("-te"), number(grid[0]), number(grid[3] + rows * grid[5]),
          number(grid[0] + columns * grid[1]), number(grid[3]), QByteArray("-ts"),
          QByteArray::number(columns), QByteArray::number(rows),
          // Each cell falls on itself: nothing is interpolated but the difference of the systems.
          QByteArray("-r"), QByteArray("near"), QByteArray("-of"), QByteArray("GTiff"), QByteArray("-ot"),
          QByteArray("Float32"), QByteArray("-dstnodata"), QByteArray("nan"), QByteArray("-co"),
          QByteArray("TILED=YES"), QByteArray("-co"), QByteArray("COMPRESS=DEFLATE"), QByteArray("-co"),
          QByteArray("BIGTIFF=IF_SAFER"), QByteArray("-wo"), QByteArray("NUM_THREADS=2")}) {
        arguments.push_back(argument);
    }
    return arguments;
}

/// Whether PROJ knows heights of the system above the ellipsoid there, and has the grid for it. Without the grid it would
/// take them as they are and say nothing. Asked for WGS 84, which every system is tied to: between the planes of two
/// datums an approximation is right for heights.
bool isTiedToEllipsoid(const HeightSystem& system, const detect::Box& degrees) {
    if (system == kEllipsoid) {
        return true;
    }
    const detect::GdalErrors errors;
    const OGRSpatialReference source = withHeights(wgs84(), system);
    const OGRSpatialReference target = withHeights(wgs84(), kEllipsoid);
    OGRCoordinateTransformationOptions options;
    options.SetBallparkAllowed(false);
    const Transformation transformation(OGRCreateCoordinateTransformation(&source, &target, options));
    double x = (degrees.xMin + degrees.xMax) / 2.0;
    double y = (degrees.yMin + degrees.yMax) / 2.0;
    double z = 0.0;
    return transformation && transformation->Transform(1, &x, &y, &z) != 0 && std::isfinite(z);
}

} // namespace

HeightSystem heightSystemOf(const OGRSpatialReference& reference) {
    if (reference.IsCompound() != 0) {
        return definitionOf(verticalPart(reference));
    }
    constexpr int kAxesInSpace = 3;
    return reference.GetAxesCount() == kAxesInSpace ? kEllipsoid : HeightSystem();
}

std::optional<HeightSystem> heightSystem(const QString& text) {
    if (text == kEllipsoid) {
        return kEllipsoid;
    }
    const auto reference = referenceOf(text);
    return reference && reference->IsVertical() != 0 && reference->IsCompound() == 0
               ? std::optional(definitionOf(*reference))
               : std::nullopt;
}

QString heightSystemTitle(const HeightSystem& system) {
    if (system.isEmpty()) {
        return QStringLiteral("高程系统未知");
    }
    const auto reference = referenceOf(system);
    return reference ? QString::fromUtf8(reference->GetName()) : QStringLiteral("椭球高");
}

bool canConvertHeights(const SurveyRaster& raster, const HeightSystem& from, const HeightSystem& to) {
    const auto box = transformedBox(raster.box, raster.reference, wgs84());
    return box && isTiedToEllipsoid(from, *box) && isTiedToEllipsoid(to, *box);
}

Status writeConvertedHeights(const SurveyRaster& raster, const HeightSystem& from, const HeightSystem& to,
                             const QString& file, const std::function<bool(double fraction)>& progress) {
    const auto source = openMosaic(raster, TileValues::Metres);
    if (!source) {
        return failed(source);
    }
    const detect::GdalErrors errors;
    const auto arguments =
        warpArguments(withHeights(raster.reference, from), withHeights(raster.reference, to), **source);
    CPLStringList list;
    for (const QByteArray& argument : arguments) {
        list.AddString(argument.constData());
    }
    bool stopped = false;
    std::function<bool(double)> watched = [&](double fraction) {
        stopped = !progress(fraction);
        return !stopped;
    };
    GDALWarpAppOptions* options = GDALWarpAppOptionsNew(list.List(), nullptr);
    GDALWarpAppOptionsSetProgress(options, gdalProgress, &watched);
    GDALDatasetH input = GDALDataset::ToHandle(source->get());
    GDALDatasetH output = GDALWarp(file.toUtf8().constData(), nullptr, 1, &input, options, nullptr);
    GDALWarpAppOptionsFree(options);
    const bool made = output != nullptr;
    GDALClose(output);
    if (made && !stopped && !errors.any()) {
        return {};
    }
    QFile::remove(file);
    return stopped ? Status(cancelled())
                   : fileFailure(file, "cannot be written: " + QString::fromStdString(errors.first()),
                                 "无法写入");
}

} // namespace inspection
