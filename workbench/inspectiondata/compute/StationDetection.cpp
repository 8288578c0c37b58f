#include "workbench/inspectiondata/compute/StationDetection.h"

#include "detect/GdalErrors.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/compute/StableDifferences.h"

#include <QFile>
#include <QFileInfo>

#include <gdal_priv.h>
#include <gdal_utils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace inspection {

namespace {

// An anomaly over the edge of a station is found whole as long as it reaches no further than this.
constexpr double kMarginMetres = 100.0;
constexpr double kMarginCells = 64.0;

bool transformPoint(const Transformation& transformation, double& x, double& y) {
    return !transformation || transformation->Transform(1, &x, &y) != 0;
}

bool transformRing(const Transformation& transformation, detect::Ring& ring) {
    return std::all_of(ring.begin(), ring.end(), [&](detect::Point& point) {
        return transformPoint(transformation, point.x, point.y);
    });
}

// A tenth of a millimetre is enough for metres.
std::string ringText(const detect::Ring& ring) {
    std::string text = "(";
    std::array<char, 64> vertex{};
    for (std::size_t i = 0; i <= ring.size(); ++i) {
        const detect::Point& point = ring[i % ring.size()];
        std::snprintf(vertex.data(), vertex.size(), i == 0 ? "%.4f %.4f" : ",%.4f %.4f", point.x, point.y);
        text += vertex.data();
    }
    return text + ')';
}

void fillBounds(const detect::Ring& outline, SdiffData& record) {
    record.xMin = record.xMax = outline.front().x;
    record.yMin = record.yMax = outline.front().y;
    for (const detect::Point& point : outline) {
        record.xMin = std::min(record.xMin, point.x);
        record.yMin = std::min(record.yMin, point.y);
        record.xMax = std::max(record.xMax, point.x);
        record.yMax = std::max(record.yMax, point.y);
    }
}

/// Brings the raster to another reference system, tiled and compressed. `target` is absent on failure. Differences
/// are metres in any system: its vertical part, which might say feet, is left out.
Status warpRaster(const QString& source, const QString& target, const OGRSpatialReference& reference) {
    const detect::GdalErrors errors;
    OGRSpatialReference horizontal = reference;
    horizontal.StripVertical();
    const QByteArray definition = definitionOf(horizontal).toUtf8();
    const std::vector<const char*> arguments{
        "-t_srs", definition.constData(), "-r",  "bilinear",         "-of",  "GTiff", "-co", "TILED=YES",
        "-co",    "COMPRESS=DEFLATE",     "-co", "BIGTIFF=IF_SAFER", nullptr};
    GDALWarpAppOptions* options = GDALWarpAppOptionsNew(const_cast<char**>(arguments.data()), nullptr);
    GDALDatasetH input = GDALOpen(source.toUtf8().constData(), GA_ReadOnly);
    GDALDatasetH output =
        !input ? nullptr : GDALWarp(target.toUtf8().constData(), nullptr, 1, &input, options, nullptr);
    GDALWarpAppOptionsFree(options);
    const bool made = output != nullptr;
    GDALClose(output);
    GDALClose(input);
    if (!made || errors.any()) {
        QFile::remove(target);
        return fileFailure(target, "cannot be written: " + QString::fromStdString(errors.first()),
                           "无法写入");
    }
    return {};
}

QString groupName(const std::vector<KV_Station>& stations) {
    const QString first = fromGbk(stations.front().m_name);
    return stations.size() == 1 ? first : QStringLiteral("%1 等 %2 个").arg(first).arg(stations.size());
}

std::vector<StationChanges> changesOf(const std::vector<KV_Station>& stations) {
    std::vector<StationChanges> changes(stations.size());
    for (std::size_t i = 0; i < stations.size(); ++i) {
        changes[i].stationId = stations[i].m_id;
    }
    return changes;
}

double areaOf(const KV_Station& station) {
    return (station.m_xMax - station.m_xMin) * (station.m_yMax - station.m_yMin);
}

/// The cells in proportion to the stations' ground; the first station takes what rounding leaves, and what cannot be
/// shared.
void shareSummary(const detect::Summary& whole, const std::vector<KV_Station>& stations,
                  std::vector<StationChanges>& changes) {
    double ground = 0.0;
    for (const KV_Station& station : stations) {
        ground += areaOf(station);
    }
    std::int64_t left = whole.report.cells;
    for (std::size_t i = changes.size(); i-- > 0;) {
        detect::Summary& summary = changes[i].summary.emplace(whole);
        summary.report.found = static_cast<std::int64_t>(changes[i].anomalies.size());
        if (i > 0) {
            summary.report.rejections = {};
            summary.report.seconds = 0.0;
            summary.report.cells = ground > 0.0
                                       ? static_cast<std::int64_t>(static_cast<double>(whole.report.cells) *
                                                                   areaOf(stations[i]) / ground)
                                       : 0;
            left -= summary.report.cells;
        }
    }
    changes.front().summary->report.cells = left;
}

/// Those of `all` that share ground with one of the stations, in the order of `all`.
std::vector<KV_Station> stationsNear(const std::vector<KV_Station>& stations,
                                     const std::vector<KV_Station>& all) {
    std::vector<KV_Station> near;
    std::copy_if(all.begin(), all.end(), std::back_inserter(near), [&stations](const KV_Station& each) {
        return std::any_of(stations.begin(), stations.end(), [&each](const KV_Station& station) {
            return each.m_xMin <= station.m_xMax && station.m_xMin <= each.m_xMax &&
                   each.m_yMin <= station.m_yMax && station.m_yMin <= each.m_yMax;
        });
    });
    return near;
}

} // namespace

Result<StationDetection> StationDetection::prepare(const ProjectDescription& project,
                                                   std::vector<KV_Station> stations) {
    const QString& file = project.oldEpoch().dsm;
    const detect::GdalErrors errors;
    const GDALDatasetUniquePtr raster(GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_RASTER));
    if (!raster) {
        return fileFailure(file, "not a readable raster: " + QString::fromStdString(errors.first()),
                           "无法读取栅格");
    }
    std::array<double, 6> transform{};
    if (!raster->GetSpatialRef() || raster->GetGeoTransform(transform.data()) != CE_None) {
        return fileFailure(file, "has no reference system", "没有坐标系");
    }
    StationDetection detection;
    detection.m_project = project;
    detection.m_stations = std::move(stations);
    detection.m_rasterReference = *raster->GetSpatialRef();
    detection.m_rasterReference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    detection.m_stationReference = referenceOf(project.crs).value_or(OGRSpatialReference());
    detection.m_cellX = std::hypot(transform[1], transform[4]);
    detection.m_cellY = std::hypot(transform[2], transform[5]);
    const bool same = sameReference(detection.m_rasterReference, detection.m_stationReference);
    if (!same) {
        detection.m_toStation =
            transformationBetween(detection.m_rasterReference, detection.m_stationReference);
    }
    detection.m_toGeographic = transformationBetween(detection.m_rasterReference, wgs84());
    if ((!same && !detection.m_toStation) || !detection.m_toGeographic) {
        return fileFailure(file, "its reference system does not go with " + project.crs,
                           "坐标系无法转换到项目坐标系");
    }
    return detection;
}

std::optional<detect::Box> StationDetection::searchWindow(const KV_Station& station) const {
    const detect::Box wide{station.m_xMin - kMarginMetres, station.m_yMin - kMarginMetres,
                           station.m_xMax + kMarginMetres, station.m_yMax + kMarginMetres};
    auto box = transformedBox(wide, m_stationReference, m_rasterReference);
    if (box) {
        const double dx = kMarginCells * m_cellX;
        const double dy = kMarginCells * m_cellY;
        *box = {box->xMin - dx, box->yMin - dy, box->xMax + dx, box->yMax + dy};
    }
    return box;
}

bool StationDetection::translate(const detect::Anomaly& anomaly, SdiffData& record) const {
    record.x = anomaly.centroid.x;
    record.y = anomaly.centroid.y;
    record.lonDegrees = anomaly.centroid.x;
    record.latDegrees = anomaly.centroid.y;
    detect::Ring outline = anomaly.outline;
    if (outline.empty() || !transformPoint(m_toStation, record.x, record.y) ||
        !transformPoint(m_toGeographic, record.lonDegrees, record.latDegrees) ||
        !transformRing(m_toStation, outline)) {
        return false;
    }
    fillBounds(outline, record);
    record.outlineWkt = "POLYGON (" + ringText(outline);
    for (detect::Ring hole : anomaly.holes) {
        if (!transformRing(m_toStation, hole)) {
            return false;
        }
        record.outlineWkt += ',' + ringText(hole);
    }
    record.outlineWkt += ')';
    record.suggested = utf8ToGbk(anomaly.suggested);
    record.isFill = anomaly.kind == detect::Kind::Fill;
    record.areaSquareMetres = anomaly.areaSquareMetres;
    record.fillCubicMetres = anomaly.fillCubicMetres;
    record.cutCubicMetres = anomaly.cutCubicMetres;
    record.dzMeanMetres = anomaly.dzMeanMetres;
    record.dzMinMetres = anomaly.dzMinMetres;
    record.dzMaxMetres = anomaly.dzMaxMetres;
    record.volumeSigmaCubicMetres = anomaly.volumeSigmaCubicMetres;
    record.sigmaMetres = anomaly.sigmaMetres;
    record.levelOfDetectionMetres = anomaly.levelOfDetectionMetres;
    record.significance = anomaly.significance;
    record.suggestionConfidence = anomaly.suggestionConfidence;
    return true;
}

Unexpected StationDetection::failureAt(const std::vector<KV_Station>& stations,
                                       const detect::Failure& failure) {
    if (failure.cancelled) {
        return cancelled();
    }
    const QString message = QString::fromStdString(failure.message);
    const QString name = groupName(stations);
    return Unexpected(Failure{QStringLiteral("station %1: %2").arg(name, message),
                              QStringLiteral("站段“%1”计算失败：%2").arg(name, message)});
}

std::vector<SearchGroup> StationDetection::groupsOf(const std::vector<KV_Station>& stations) const {
    std::vector<std::optional<detect::Box>> windows;
    windows.reserve(stations.size());
    for (const KV_Station& station : stations) {
        windows.push_back(searchWindow(station));
    }
    return searchGroups(windows, m_cellX * m_cellY);
}

detect::Request StationDetection::requestFor(const std::optional<detect::Box>& window,
                                             const detect::Coregistration& coregistration,
                                             int threads) const {
    detect::Request request;
    request.oldRaster = m_project.oldEpoch().dsm.toStdString();
    request.newRaster = m_project.newEpoch().dsm.toStdString();
    request.parameters = m_project.parameters.detection();
    request.parameters.threads = threads;
    request.window = window;
    request.coregistration = coregistration;
    return request;
}

Result<std::vector<StationChanges>> StationDetection::find(const std::vector<KV_Station>& stations,
                                                           const std::optional<detect::Box>& window,
                                                           const detect::Coregistration& coregistration,
                                                           int threads, const Rasters& rasters,
                                                           const detect::Progress& progress) const {
    detect::Request request = requestFor(window, coregistration, threads);
    std::optional<detect::StagedOutput> correction;
    if (coregistration.local.field) {
        auto staged = detect::StagedOutput::beside(rasters.correction.toStdString());
        if (!staged) {
            return failureAt(stations, staged.error());
        }
        request.correctionRaster = &correction.emplace(std::move(*staged));
    }
    std::vector<StationChanges> changes = changesOf(stations);
    const QString raw = m_toStation ? rasters.dz + QStringLiteral(".unwarped.tif") : rasters.dz;
    const auto outcome = detect::detectChangesAndDz(request, raw.toStdString(), progress);
    if (!outcome && outcome.error().nothingInWindow) {
        return changes;
    }
    if (!outcome) {
        return failureAt(stations, outcome.error());
    }
    changes.front().stableDifferences = stableDifferences(raw, outcome->anomalies, coregistration);
    if (m_toStation) {
        const Status warped = warpRaster(raw, rasters.dz, m_stationReference);
        QFile::remove(raw);
        if (!warped) {
            return failed(warped);
        }
    }
    if (correction) {
        if (const auto done = correction->commit(); !done) {
            return failureAt(stations, done.error());
        }
    }
    for (StationChanges& station : changes) {
        station.dzRaster = rasters.dz;
        station.correctionRaster = correction ? rasters.correction : QString();
    }
    shareAnomalies(*outcome, stations, changes);
    shareSummary({*outcome, request.parameters}, stations, changes);
    return changes;
}

void StationDetection::shareAnomalies(const detect::Changes& found, const std::vector<KV_Station>& stations,
                                      std::vector<StationChanges>& changes) const {
    const std::vector<KV_Station> near = stationsNear(stations, m_stations);
    for (const detect::Anomaly& anomaly : found.anomalies) {
        SdiffData record;
        if (!translate(anomaly, record)) {
            continue;
        }
        const auto owner = std::find_if(near.begin(), near.end(), [&record](const KV_Station& station) {
            return record.x >= station.m_xMin && record.x < station.m_xMax && record.y >= station.m_yMin &&
                   record.y < station.m_yMax;
        });
        const auto own = std::find_if(changes.begin(), changes.end(), [&](const StationChanges& station) {
            return owner != near.end() && station.stationId == owner->m_id;
        });
        if (own != changes.end()) {
            own->anomalies.push_back(std::move(record));
        }
    }
}

} // namespace inspection
