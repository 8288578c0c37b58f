#include "cli/ProjectInfo.h"

#include "cli/OpenedProject.h"
#include "detect/GdalErrors.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/output/ProjectFigures.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/ProjectFile.h"
#include "workbench/inspectiondata/project/RasterPlace.h"
#include "workbench/inspectiondata/text/CoregistrationText.h"

#include <QFileInfo>
#include <QJsonArray>

#include <gdal_priv.h>

#include <array>

namespace cli {

namespace {

QJsonArray epochs(const inspection::ProjectDescription& project) {
    QJsonArray array;
    for (const inspection::Epoch& epoch : project.epochs) {
        array.append(QJsonObject{{"key", project.keyOf(epoch)},
                                 {"date", epoch.date},
                                 {"dsm", epoch.dsm},
                                 {"dom", epoch.dom},
                                 {"dsm_exists", inspection::rasterExists(epoch.dsm)}});
    }
    return array;
}

QJsonArray pairOf(const inspection::EpochPair& pair) {
    return {pair.older, pair.newer};
}

QJsonArray comparisons(const std::vector<inspection::Comparison>& comparisons) {
    QJsonArray array;
    for (const inspection::Comparison& comparison : comparisons) {
        array.append(QJsonObject{{"pair", pairOf(comparison.pair)},
                                 {"computed_at", comparison.computedAt},
                                 {"stations", static_cast<qint64>(comparison.stations)},
                                 {"anomalies", static_cast<qint64>(comparison.anomalies)},
                                 {"judged", static_cast<qint64>(comparison.judged)},
                                 {"deleted", static_cast<qint64>(comparison.deleted)}});
    }
    return array;
}

QJsonArray baseLayers(const inspection::ProjectDescription& project) {
    QJsonArray array;
    for (const inspection::BaseLayer& layer : project.baseLayers) {
        array.append(QJsonObject{{"name", layer.name},
                                 {"source", inspection::shownSource(layer.source)},
                                 {"visible", layer.visible},
                                 {"opacity", layer.opacity}});
    }
    return array;
}

/// What the latest computation of the compared pair did; null while there is no account of one.
QJsonValue detection(const std::optional<inspection::DetectionAccount>& account) {
    if (!account) {
        return {};
    }
    const detect::Coregistration& done = account->coregistration;
    QJsonObject rejected;
    rejected["core"] = static_cast<qint64>(account->rejections.core);
    rejected["area"] = static_cast<qint64>(account->rejections.area);
    rejected["sliver"] = static_cast<qint64>(account->rejections.sliver);
    rejected["speckle"] = static_cast<qint64>(account->rejections.speckle);
    const auto doubt = inspection::doubtOf(done.nmadAfterMetres, account->parameters);
    return QJsonObject{{"computed_at", account->computedAt},
                       {"stations", account->stations},
                       {"coregistration", inspection::coregistrationName(done.method)},
                       {"reason", QString::fromStdString(done.reason)},
                       {"refusal", QString::fromStdString(done.refusal)},
                       {"dx_m", done.dxMetres},
                       {"dy_m", done.dyMetres},
                       {"dz_m", done.dzMetres},
                       {"nmad_before_m", done.nmadBeforeMetres},
                       {"nmad_after_m", done.nmadAfterMetres},
                       {"sigma_m", done.sigmaMetres},
                       {"rejected", rejected},
                       {"doubt", doubt ? QJsonValue(*doubt) : QJsonValue()}};
}

QJsonObject stationOf(const inspection::StationFigures& figures) {
    const KV_Station& station = figures.station;
    QJsonObject json{{"id", static_cast<qint64>(station.m_id)},
                     {"name", fromGbk(station.m_name)},
                     {"start_m", station.m_startMetres},
                     {"end_m", station.m_endMetres},
                     {"bounds", QJsonArray{station.m_xMin, station.m_yMin, station.m_xMax, station.m_yMax}},
                     {"anomalies", static_cast<qint64>(figures.anomalies)}};
    json["computed_at"] = figures.computedAt ? QJsonValue(*figures.computedAt) : QJsonValue();
    return json;
}

} // namespace

inspection::Result<QJsonObject> projectInfo(const QString& folder) {
    const auto access = inspection::Project::Access::ReadOnly;
    const auto project = inspection::Project::open(folder, access);
    if (!project) {
        return failed(project);
    }
    const auto& description = project->description();
    QJsonObject json{{"type", "project"},
                     {"name", description.name},
                     {"folder", description.folder},
                     {"crs", description.crs},
                     {"epochs", epochs(description)},
                     {"compared", pairOf(description.pair())},
                     {"base_layers", baseLayers(description)},
                     {"parameters", inspection::parametersAsStored(description.parameters)},
                     {"stations", QJsonArray()}};
    const QString file = description.databaseFile();
    if (!file.isEmpty() && !QFileInfo::exists(file)) {
        return json;
    }
    const auto opened = openProject(folder.toStdString(), access);
    if (!opened) {
        return failed(opened);
    }
    const auto read = inspection::readProjectFigures(description, *opened->database->GetMySQL());
    if (!read) {
        return failed(read);
    }
    const auto& figures = *read;
    json["comparisons"] = comparisons(figures.comparisons);
    json["detection"] = detection(figures.account);
    QJsonArray stations;
    for (const auto& station : figures.stations) {
        stations.append(stationOf(station));
    }
    json["stations"] = stations;
    json["anomalies"] = static_cast<qint64>(figures.anomalies());
    json["special_points"] = static_cast<qint64>(figures.specialPoints);
    json["special_areas"] = static_cast<qint64>(figures.specialAreas);
    json["high_consequence_areas"] = static_cast<qint64>(figures.highConsequenceAreas);
    return json;
}

inspection::Result<QJsonObject> rasterInfo(const QString& file) {
    GDALAllRegister();
    const detect::GdalErrors errors;
    const GDALDatasetUniquePtr raster(
        GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_RASTER | GDAL_OF_VERBOSE_ERROR));
    if (!raster || raster->GetRasterCount() < 1) {
        return inspection::fileFailure(file,
                                       "not a readable raster: " + QString::fromStdString(errors.first()),
                                       "无法作为栅格打开：" + QString::fromStdString(errors.first()));
    }
    GDALRasterBand* band = raster->GetRasterBand(1);
    QJsonObject json{{"type", "raster"},
                     {"file", file},
                     {"driver", raster->GetDriverName()},
                     {"columns", raster->GetRasterXSize()},
                     {"rows", raster->GetRasterYSize()},
                     {"bands", raster->GetRasterCount()},
                     {"data_type", GDALGetDataTypeName(band->GetRasterDataType())},
                     {"overviews", band->GetOverviewCount()}};
    const OGRSpatialReference* reference = raster->GetSpatialRef();
    json["crs"] = !reference ? QJsonValue() : QJsonValue(inspection::definitionOf(*reference));
    std::array<double, 6> t{};
    if (raster->GetGeoTransform(t.data()) == CE_None) {
        json["cell_size"] = QJsonArray{std::hypot(t[1], t[4]), std::hypot(t[2], t[5])};
        json["origin"] = QJsonArray{t[0], t[3]};
    }
    int hasNoData = 0;
    const double noData = band->GetNoDataValue(&hasNoData);
    json["no_data"] = hasNoData == 0       ? QJsonValue()
                      : std::isnan(noData) ? QJsonValue("nan")
                                           : QJsonValue(noData);
    return json;
}

} // namespace cli
