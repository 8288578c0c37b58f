#include "bench/StationStrips.h"

#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/Project.h"

using namespace inspection;

namespace {

constexpr double kWidthMetres = SmallProject::kColumns * SmallProject::kCellMetres;

void replaceStations(mysqlhelper::KV_MySQL& database, int count) {
    KV_Station strip = readStations(database).front();
    database.execute("delete from station");
    for (int index = 0; index < count; ++index) {
        strip.m_name = "strip " + std::to_string(index + 1);
        strip.m_xMin = SmallProject::kLeft + index * kWidthMetres / count;
        strip.m_xMax = SmallProject::kLeft + (index + 1) * kWidthMetres / count;
        mysqlhelper::KV_Record fields = stationRecord(strip);
        fields["id"] = std::int64_t{index + 1};
        database.insertRecord("station", fields);
    }
}

} // namespace

bool computeInStrips(const SmallProject& files, int count) {
    const auto opened = Project::open(files.folder());
    if (!opened) {
        return false;
    }
    ComputationRequest request;
    request.project = opened->description();
    const auto database = PipelineDatabase::open(request.project, Project::Access::Exclusive);
    if (!database) {
        return false;
    }
    replaceStations(*(*database)->GetMySQL(), count);
    return computeAnomalies(request).has_value();
}

double middleOfLastStrip(int count) {
    return SmallProject::kLeft + kWidthMetres - kWidthMetres / count / 2.0;
}
