#include "workbench/inspectiondata/pieces/ComputationPlan.h"

#include "workbench/inspectiondata/compute/StationDetection.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QFileInfo>

#include <gdal_priv.h>

namespace inspection {

namespace {

Result<std::unique_ptr<PipelineDatabase>> openForStations(ProjectDescription project) {
    const QString file = project.databaseFile();
    if (file.isEmpty() || QFileInfo::exists(file)) {
        return PipelineDatabase::open(project, Project::Access::ReadOnly);
    }
    project.database = QStringLiteral(":memory:");
    return PipelineDatabase::open(project, Project::Access::Exclusive);
}

} // namespace

Result<std::vector<KV_Station>> readProjectStations(const ProjectDescription& project) {
    const auto database = openForStations(project);
    if (!database) {
        return failed(database);
    }
    try {
        return readStations(*(*database)->GetMySQL());
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(Failure{cause, QStringLiteral("数据库操作失败：") + cause});
    }
}

Result<ComputationPlan> planComputation(const ProjectDescription& project) {
    GDALAllRegister();
    auto stations = readProjectStations(project);
    if (!stations) {
        return failed(stations);
    }
    const auto detection = StationDetection::prepare(project, *stations);
    if (!detection) {
        return failed(detection);
    }
    ComputationPlan plan;
    for (const KV_Station& station : *stations) {
        plan.cells.push_back(detection->groupsOf({station}).front().cells);
    }
    plan.groups = detection->groupsOf(*stations);
    plan.stations = *std::move(stations);
    return plan;
}

} // namespace inspection
