#include "cli/ComputePieces.h"

#include "cli/OpenedProject.h"
#include "cli/Printable.h"
#include "cli/ProgressLine.h"
#include "cli/StopOnSignal.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/pieces/ComputationPlan.h"
#include "workbench/inspectiondata/pieces/CoregistrationFile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace cli {

using inspection::ComputationPlan;
using inspection::ProjectDescription;
using inspection::SearchGroup;

namespace {

constexpr auto kCommand = "compute";

/// As `--stations` takes it.
QString rangeOf(const ComputationPlan& plan, const SearchGroup& group) {
    const std::uint32_t first = plan.stations[group.first].m_id;
    const std::uint32_t last = plan.stations[group.first + group.count - 1].m_id;
    return group.count == 1 ? QString::number(first) : QStringLiteral("%1-%2").arg(first).arg(last);
}

qint64 wholeCells(double cells) {
    return static_cast<qint64>(cells);
}

QJsonObject jsonOf(const ComputationPlan& plan, std::size_t index) {
    const SearchGroup& group = plan.groups[index];
    QJsonArray stations;
    for (std::size_t i = group.first; i < group.first + group.count; ++i) {
        stations.append(QJsonObject{{"id", static_cast<qint64>(plan.stations[i].m_id)},
                                    {"name", fromGbk(plan.stations[i].m_name)},
                                    {"cells", wholeCells(plan.cells[i])}});
    }
    return {{"stations", rangeOf(plan, group)}, {"cells", wholeCells(group.cells)}, {"each", stations}};
}

void printJson(const ProjectDescription& project, const ComputationPlan& plan) {
    QJsonArray groups;
    for (std::size_t i = 0; i < plan.groups.size(); ++i) {
        groups.append(jsonOf(plan, i));
    }
    const inspection::EpochPair pair = project.pair();
    const QJsonObject json{{"folder", project.folder},
                           {"pair", QJsonArray{pair.older, pair.newer}},
                           {"rasters", QJsonArray{project.oldEpoch().dsm, project.newEpoch().dsm}},
                           {"groups", groups}};
    std::fputs(QJsonDocument(json).toJson().constData(), stdout);
}

void printText(const ProjectDescription& project, const ComputationPlan& plan) {
    std::printf("对比 %s\n", printable(inspection::pairTitle(project.pair())).c_str());
    std::printf("旧期 %s\n新期 %s\n", printable(project.oldEpoch().dsm).c_str(),
                printable(project.newEpoch().dsm).c_str());
    double cells = 0.0;
    for (std::size_t index = 0; index < plan.groups.size(); ++index) {
        const SearchGroup& group = plan.groups[index];
        cells += group.cells;
        std::printf("第 %zu 组  站段 %s  像元 %lld\n", index + 1, qPrintable(rangeOf(plan, group)),
                    static_cast<long long>(group.cells));
        for (std::size_t i = group.first; i < group.first + group.count; ++i) {
            std::printf("  站段 %u  %s  像元 %lld\n", plan.stations[i].m_id,
                        printable(gbkToUtf8(plan.stations[i].m_name)).c_str(),
                        static_cast<long long>(plan.cells[i]));
        }
    }
    std::printf("共 %zu 个站段，%zu 组，像元 %lld\n", plan.stations.size(), plan.groups.size(),
                static_cast<long long>(cells));
}

inspection::Status writeCoregistration(const ComputeTask& task, const ProjectDescription& project) {
    inspection::Result<detect::Coregistration> found;
    {
        const StopOnSignal stopOnSignal;
        ProgressLine line("配准", false);
        found = inspection::coregisterPair(project, task.threads, [&](double done) {
            line.show(done);
            return !stopOnSignal.asked();
        });
    }
    return !found ? failed(found)
                  : inspection::writeCoregistrationFile(
                        project, *found, QString::fromStdString(task.options.value("--coregistration")));
}

} // namespace

int printPlan(const ComputeTask& task) {
    const auto project = describedProject(task);
    if (!project) {
        return fail(kCommand, project.error());
    }
    const auto plan = inspection::planComputation(*project);
    if (!plan) {
        return fail(kCommand, plan.error());
    }
    if (task.options.has("--coregistration")) {
        if (const auto written = writeCoregistration(task, *project); !written) {
            return fail(kCommand, written.error());
        }
    }
    const auto print = task.options.has("--json") ? printJson : printText;
    print(*project, *plan);
    return kStatusDone;
}

} // namespace cli
