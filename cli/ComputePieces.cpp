#include "cli/ComputePieces.h"

#include "cli/ComputeOutcome.h"
#include "cli/MissingNote.h"
#include "cli/OpenedProject.h"
#include "cli/PairOption.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "workbench/inspectiondata/pieces/CollectPieces.h"
#include "workbench/inspectiondata/pieces/ComputationPlan.h"
#include "workbench/inspectiondata/pieces/ComputePiece.h"
#include "workbench/inspectiondata/pieces/CoregistrationFile.h"

#include <cstdio>

namespace cli {

using inspection::ComputationRequest;
using inspection::Project;
using inspection::ProjectDescription;
using inspection::Result;

namespace {

constexpr auto kCommand = "compute";

inspection::Result<ComputationRequest> requestFor(const ComputeTask& task,
                                                  const ProjectDescription& project) {
    ComputationRequest request;
    request.project = project;
    request.threads = task.threads;
    if (!task.stations.empty()) {
        const auto stations = inspection::readProjectStations(project);
        if (!stations) {
            return failed(stations);
        }
        auto ids = stationsIn(task.stations, *stations);
        if (!ids) {
            return failed(ids);
        }
        request.stationIds = *std::move(ids);
    }
    if (task.options.has("--coregistration")) {
        auto read = inspection::readCoregistrationFile(
            project, QString::fromStdString(task.options.value("--coregistration")));
        if (!read) {
            return failed(read);
        }
        request.coregistration = *std::move(read);
    }
    return request;
}

Result<inspection::ComputationSummary> computeWithProgress(const ComputationRequest& request,
                                                           const QString& folder) {
    const StopOnSignal stopOnSignal;
    ProgressLine line("计算异常", false);
    return inspection::computePiece(request, folder, [&](double fraction, const auto&) {
        line.show(fraction);
        return !stopOnSignal.asked();
    });
}

/// "1、2、5"
QString listed(const std::vector<std::uint32_t>& ids) {
    QStringList texts;
    for (const std::uint32_t id : ids) {
        texts << QString::number(id);
    }
    return texts.join(QStringLiteral("、"));
}

void tell(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
          const inspection::CollectedPieces& collected) {
    if (!collected.unchanged.empty()) {
        note(kCommand, QStringLiteral("站段 %1 的这些结果已在项目中").arg(listed(collected.unchanged)));
    }
    if (!collected.missing.empty()) {
        note(kCommand, QStringLiteral("没有站段 %1 的结果，项目中原有的保留").arg(listed(collected.missing)));
    }
    if (!collected.stored.stationIds.empty()) {
        printStations(database, project.pair(), collected.stored);
        printOutcome(project, collected.stored);
    }
}

} // namespace

Result<ProjectDescription> describedProject(const ComputeTask& task) {
    const auto project = Project::open(QString::fromStdString(task.folder), Project::Access::ReadOnly);
    if (!project) {
        return failed(project);
    }
    const auto paired = withPair(project->description(), task.options);
    if (!paired) {
        return failed(paired);
    }
    const auto there = needSurfaces(*paired);
    return there ? paired : failed(there);
}

int computePieceOf(const ComputeTask& task) {
    const auto project = describedProject(task);
    if (!project) {
        return fail(kCommand, project.error());
    }
    const auto request = requestFor(task, *project);
    if (!request) {
        return fail(kCommand, request.error());
    }
    const auto summary = computeWithProgress(*request, QString::fromStdString(task.options.value("--piece")));
    if (!summary) {
        return fail(kCommand, summary.error());
    }
    printOutcome(*project, *summary);
    return kStatusDone;
}

int collectInto(const ComputeTask& task) {
    const auto opened = openProject(task.folder, Project::Access::Exclusive);
    if (!opened) {
        return fail(kCommand, opened.error());
    }
    const auto project = withPair(opened->project.description(), task.options);
    if (!project) {
        return fail(kCommand, project.error());
    }
    QStringList folders;
    for (auto folder = task.options.positional.begin() + 1; folder != task.options.positional.end();
         ++folder) {
        folders << QString::fromStdString(*folder);
    }
    mysqlhelper::KV_MySQL& database = *opened->database->GetMySQL();
    Result<inspection::CollectedPieces> collected;
    {
        const StopOnSignal stopOnSignal;
        ProgressLine line("汇总结果", false);
        collected = inspection::collectPieces(*project, database, folders, [&](double done) {
            line.show(done);
            return !stopOnSignal.asked();
        });
    }
    if (!collected) {
        return fail(kCommand, collected.error());
    }
    tell(*project, database, *collected);
    return kStatusDone;
}

} // namespace cli
