#include "workbench/inspectiondata/database/CenterlineImport.h"

#include "detect/GdalErrors.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/database/LayerReference.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <ogrsf_frmts.h>

#include <QFileInfo>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

std::string textOf(const OGRFeature& feature, const char* field) {
    const int index = feature.GetFieldIndex(field);
    return index < 0 ? std::string() : utf8ToGbk(feature.GetFieldAsString(index));
}

double numberOf(const OGRFeature& feature, const char* field) {
    const int index = feature.GetFieldIndex(field);
    return index < 0 ? 0.0 : feature.GetFieldAsDouble(index);
}

/// False when the feature has no box.
bool stationOf(const OGRFeature& feature, const OGRSpatialReference& from, const OGRSpatialReference& to,
               KV_Station& station) {
    const OGRGeometry* geometry = feature.GetGeometryRef();
    if (!geometry || geometry->IsEmpty() != 0) {
        return false;
    }
    OGREnvelope envelope;
    geometry->getEnvelope(&envelope);
    const auto box = transformedBox({envelope.MinX, envelope.MinY, envelope.MaxX, envelope.MaxY}, from, to);
    if (!box || box->xMin >= box->xMax || box->yMin >= box->yMax) {
        return false;
    }
    const int id = feature.GetFieldIndex("id");
    station.m_id = static_cast<std::uint32_t>(id < 0 ? feature.GetFID() : feature.GetFieldAsInteger64(id));
    station.m_name = textOf(feature, "name");
    if (station.m_name.empty()) {
        station.m_name = std::to_string(station.m_id);
    }
    station.m_srs = definitionOf(to).toStdString();
    station.m_xMin = box->xMin;
    station.m_yMin = box->yMin;
    station.m_xMax = box->xMax;
    station.m_yMax = box->yMax;
    station.m_startMetres = numberOf(feature, "start_m");
    station.m_endMetres = numberOf(feature, "end_m");
    return true;
}

int importStations(OGRLayer& layer, const OGRSpatialReference& target, KV_MySQL& database) {
    const OGRSpatialReference reference = referenceOfLayer(layer, target);
    int count = 0;
    for (const auto& feature : layer) {
        KV_Station station;
        if (stationOf(*feature, reference, target, station)) {
            KV_Record fields = stationRecord(station);
            fields["id"] = std::int64_t{station.m_id};
            database.insertRecord(tableName(KV_STATION), fields);
            ++count;
        }
    }
    return count;
}

void importNodes(OGRLayer& layer, const OGRSpatialReference& otherwise, KV_MySQL& database) {
    const Transformation toGeographic = transformationBetween(referenceOfLayer(layer, otherwise), wgs84());
    for (const auto& feature : layer) {
        const OGRGeometry* geometry = feature->GetGeometryRef();
        if (!geometry || wkbFlatten(geometry->getGeometryType()) != wkbPoint || !toGeographic) {
            continue;
        }
        const OGRPoint* point = geometry->toPoint();
        double x = point->getX();
        double y = point->getY();
        if (toGeographic->Transform(1, &x, &y) == 0) {
            continue;
        }
        KV_Record fields;
        KV_BasicNode(textOf(*feature, "name"), {x, y, point->getZ()}).evalute_record(fields);
        fields["km"] = numberOf(*feature, "km");
        database.insertRecord(tableName(KV_PIPE_NODE), fields);
    }
}

} // namespace

Status importCenterline(const ProjectDescription& project, KV_MySQL& database) {
    const QString& file = project.centerline;
    if (!QFileInfo::exists(file)) {
        return fileFailure(file, "no such file, the project has no stations", "文件不存在，项目没有站段");
    }
    GDALAllRegister();
    const detect::GdalErrors errors;
    const GDALDatasetUniquePtr source(
        GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
    if (!source) {
        return fileFailure(file, "not a readable vector file: " + QString::fromStdString(errors.first()),
                           "无法读取矢量文件");
    }
    const auto reference = referenceOf(project.crs);
    OGRLayer* stations = source->GetLayerByName("stations");
    OGRLayer* nodes = source->GetLayerByName("nodes");
    KV_MySQL::Transaction transaction(database);
    if (!reference || !stations || importStations(*stations, *reference, database) == 0) {
        return fileFailure(file, "layer \"stations\" has no station", "图层 stations 中没有站段");
    }
    if (nodes) {
        importNodes(*nodes, *reference, database);
    }
    transaction.commit();
    return {};
}

} // namespace inspection
