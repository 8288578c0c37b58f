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
    if (!std::holds_alternative<Project>(opened)) {
        return false;
    }
    ComputationRequest request;
    request.project = std::get<Project>(opened).description();
    const auto database = PipelineDatabase::open(request.project, Project::Access::Exclusive);
    if (!std::holds_alternative<std::unique_ptr<PipelineDatabase>>(database)) {
        return false;
    }
    replaceStations(*std::get<std::unique_ptr<PipelineDatabase>>(database)->GetMySQL(), count);
    return std::holds_alternative<ComputationSummary>(computeAnomalies(request));
}

double middleOfLastStrip(int count) {
    return SmallProject::kLeft + kWidthMetres - kWidthMetres / count / 2.0;
}
