#include "host/inspection/Station.h"

#include "host/inspection/Records.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/Driver.h"
#include "workbench/inspectiondata/database/ElevationDifference.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/CurrentProject.h"

#include <algorithm>

using inspection::CurrentProject;
using inspection::takeField;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;

namespace {

/// The open project's database, null while there is none.
KV_MySQL* openDatabase() {
    PipelineDataSet* data = CurrentProject::get().data;
    return data && data->GetConncetDBState() ? data->GetMySQL() : nullptr;
}

} // namespace

KV_DiffData::KV_DiffData() = default;
KV_DiffData::~KV_DiffData() = default;
KV_DiffData::KV_DiffData(const KV_DiffData&) = default;
KV_DiffData& KV_DiffData::operator=(const KV_DiffData&) = default;

bool KV_DiffData::GetdZ(double x, double y, double& dz) const {
    return m_elevationDifference && m_elevationDifference->at(x, y, dz);
}

bool KV_DiffData::GetdiffdataByname(const std::string& name, SdiffData& data) const {
    const auto found = std::find_if(m_anomalies.begin(), m_anomalies.end(),
                                    [&](const SdiffData& anomaly) { return anomaly.name == name; });
    if (found == m_anomalies.end()) {
        return false;
    }
    data = *found;
    return true;
}

bool KV_DiffData::GetdiffdataBycoor(double x, double y, SdiffData& data) const {
    const SdiffData* smallest = nullptr;
    for (const SdiffData& anomaly : m_anomalies) {
        const bool inBounds =
            x >= anomaly.xMin && x <= anomaly.xMax && y >= anomaly.yMin && y <= anomaly.yMax;
        const bool smaller = !smallest || anomaly.areaSquareMetres < smallest->areaSquareMetres;
        if (inBounds && smaller && inspection::outlineContains(anomaly.outlineWkt, x, y)) {
            smallest = &anomaly;
        }
    }
    if (!smallest) {
        return false;
    }
    data = *smallest;
    return true;
}

void KV_Station::init_from_sqldata(const KV_Record& row) {
    takeField(row, "id", m_id);
    takeField(row, "name", m_name);
    takeField(row, "srs", m_srs);
    takeField(row, "x_min", m_xMin);
    takeField(row, "y_min", m_yMin);
    takeField(row, "x_max", m_xMax);
    takeField(row, "y_max", m_yMax);
    takeField(row, "start_m", m_startMetres);
    takeField(row, "end_m", m_endMetres);
}

KV_StationItem::KV_StationItem() = default;
KV_StationItem::KV_StationItem(const KV_Station& station) : m_station(station) {}

bool KV_StationItem::readdom() {
    KV_MySQL* database = openDatabase();
    if (!database) {
        return false;
    }
    try {
        const QString table = QString::fromStdString(CurrentProject::get().data->Gettablename(KV_STATION));
        const KV_Rows& rows = database->driver().queryKept("select * from " + table + " where id=?",
                                                           {std::int64_t{m_station.m_id}});
        if (rows.empty()) {
            return false;
        }
        m_station.m_tableKind = KV_STATION;
        m_station.init_from_sqldata(rows.front());
        return true;
    } catch (const KV_MySQL_Exception&) {
        return false;
    }
}

bool KV_StationItem::readdiffvz() {
    KV_MySQL* database = openDatabase();
    const auto* project = CurrentProject::get().description;
    if (!database || !project) {
        return false;
    }
    try {
        const auto result = inspection::readStationResult(*database, m_station.m_id, project->pair());
        auto& difference = m_diffData.m_elevationDifference;
        const QString path = result ? project->resultFile(result->dzRaster) : QString();
        if (path.isEmpty()) {
            difference.reset();
            return false;
        }
        const std::string file = path.toStdString();
        if (!difference || difference->file() != file) {
            difference = KV_ElevationDifference::open(file);
        }
        return difference != nullptr;
    } catch (const KV_MySQL_Exception&) {
        return false;
    }
}

bool KV_StationItem::readclassfi() {
    KV_MySQL* database = openDatabase();
    const auto* project = CurrentProject::get().description;
    if (!database || !project) {
        return false;
    }
    try {
        m_diffData.m_anomalies = inspection::readAnomalies(*database, m_station.m_id, project->pair());
        return true;
    } catch (const KV_MySQL_Exception&) {
        return false;
    }
}
