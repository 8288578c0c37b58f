#include "workbench/inspectiondata/compute/ComputeAnomalies.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/compute/ResultStore.h"
#include "workbench/inspectiondata/compute/StationDetection.h"
#include "workbench/inspectiondata/database/ConnectionLost.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/RasterPlace.h"

#include <QElapsedTimer>

#include <gdal_priv.h>

#include <algorithm>
#include <iterator>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

Unexpected refusal(const KV_MySQL_Exception& exception) {
    const QString cause = QString::fromUtf8(exception.what());
    return Unexpected(Failure{cause, QStringLiteral("数据库操作失败：") + cause});
}

// Share of the co-registration in the whole progress.
constexpr double kCoregistrationShare = 0.15;

Status checkRasters(const ProjectDescription& project) {
    for (const QString& file : {project.oldEpoch().dsm, project.newEpoch().dsm}) {
        if (!rasterExists(file)) {
            return fileFailure(file, "no such file", "文件不存在");
        }
    }
    return {};
}

bool isAmong(const std::vector<KV_Station>& stations, const KV_Station& station) {
    return std::any_of(stations.begin(), stations.end(),
                       [&station](const KV_Station& each) { return each.m_id == station.m_id; });
}

/// Those of the groups of `all` whose stations are chosen.
Result<std::vector<SearchGroup>> wholeGroups(const std::vector<KV_Station>& all,
                                             const std::vector<SearchGroup>& groups,
                                             const std::vector<KV_Station>& chosen) {
    std::vector<SearchGroup> whole;
    for (const SearchGroup& group : groups) {
        const auto first = all.begin() + static_cast<std::ptrdiff_t>(group.first);
        const auto end = first + static_cast<std::ptrdiff_t>(group.count);
        const auto count = std::count_if(
            first, end, [&chosen](const KV_Station& station) { return isAmong(chosen, station); });
        if (count == static_cast<std::ptrdiff_t>(group.count)) {
            whole.push_back(group);
        } else if (count > 0) {
            return Unexpected(Failure{
                QStringLiteral("stations %1-%2 are searched together and go into one piece")
                    .arg(first->m_id)
                    .arg((end - 1)->m_id),
                QStringLiteral("站段 %1-%2 一起检测，须在同一部分中").arg(first->m_id).arg((end - 1)->m_id)});
        }
    }
    return whole;
}

/// The parts of one computation, so that each step stays short.
class Computation {
public:
    Computation(const ComputationRequest& request, const ComputationProgress& progress)
        : m_request(request), m_progress(progress), m_store(request.project) {}

    Result<ComputationSummary> run(KV_MySQL& database);

private:
    Status chooseStations(KV_MySQL& database);
    Status coregister();
    Result<std::vector<SearchGroup>> groupsOf(const StationDetection& detection);
    Status detectAll();
    Status detectGroup(const StationDetection& detection, const SearchGroup& group, double from,
                       double share);
    detect::Progress part(double from, double share, const ComputationStep& step) const;
    ComputationSummary summary() const;

    const ComputationRequest& m_request;
    const ComputationProgress& m_progress;
    ResultStore m_store;
    std::vector<KV_Station> m_all;
    std::vector<KV_Station> m_chosen;
    detect::Coregistration m_coregistration;
    std::vector<StationChanges> m_changes;
    double m_coregistrationSeconds = 0.0;
};

detect::Progress Computation::part(double from, double share, const ComputationStep& step) const {
    return [this, from, share, step](double fraction) {
        return !m_progress || m_progress(from + share * fraction, step);
    };
}

Status Computation::chooseStations(KV_MySQL& database) {
    m_all = readStations(database);
    if (m_request.stationIds.empty()) {
        m_chosen = m_all;
    }
    for (const std::uint32_t id : m_request.stationIds) {
        const auto same = [id](const KV_Station& station) { return station.m_id == id; };
        if (std::any_of(m_chosen.begin(), m_chosen.end(), same)) {
            continue;
        }
        const auto found = std::find_if(m_all.begin(), m_all.end(), same);
        if (found == m_all.end()) {
            return fileFailure(m_request.project.folder, QStringLiteral("has no station %1").arg(id),
                               QStringLiteral("没有编号为 %1 的站段").arg(id));
        }
        m_chosen.push_back(*found);
    }
    return {};
}

Status Computation::coregister() {
    const detect::Progress progress =
        part(0.0, kCoregistrationShare, {ComputationStep::Sort::Coregistration, {}});
    if (!progress(0.0)) {
        return cancelled();
    }
    QElapsedTimer timer;
    timer.start();
    auto found = m_request.coregistration ? Result<detect::Coregistration>(*m_request.coregistration)
                                          : coregisterPair(m_request.project, m_request.threads, progress);
    m_coregistrationSeconds = double(timer.elapsed()) / 1000.0;
    if (!found) {
        return failed(found);
    }
    m_coregistration = *std::move(found);
    return {};
}

Status Computation::detectGroup(const StationDetection& detection, const SearchGroup& group, double from,
                                double share) {
    const auto first = m_chosen.begin() + static_cast<std::ptrdiff_t>(group.first);
    const std::vector<KV_Station> stations(first, first + static_cast<std::ptrdiff_t>(group.count));
    const auto rasters = m_store.newRasters(stations.front().m_id);
    if (!rasters) {
        return failed(rasters);
    }
    const ComputationStep step{ComputationStep::Sort::Search, fromGbk(stations.front().m_name), group.count};
    auto found = detection.find(stations, group.window, m_coregistration, m_request.threads, *rasters,
                                part(from, share, step));
    if (!found) {
        return failed(found);
    }
    std::move(found->begin(), found->end(), std::back_inserter(m_changes));
    return {};
}

Result<std::vector<SearchGroup>> Computation::groupsOf(const StationDetection& detection) {
    if (m_request.grouping == Grouping::OfTheChosen) {
        return detection.groupsOf(m_chosen);
    }
    std::vector<SearchGroup> groups = detection.groupsOf(m_all);
    auto chosen = wholeGroups(m_all, groups, m_chosen);
    if (!chosen) {
        return failed(chosen);
    }
    m_chosen = m_all; // among which the groups count
    return *std::move(chosen);
}

Status Computation::detectAll() {
    const auto prepared = StationDetection::prepare(m_request.project, m_all);
    if (!prepared) {
        return failed(prepared);
    }
    const auto groups = groupsOf(*prepared);
    if (!groups) {
        return failed(groups);
    }
    double allCells = 0.0;
    for (const SearchGroup& group : *groups) {
        allCells += 1.0 + group.cells;
    }
    double from = kCoregistrationShare;
    for (const SearchGroup& group : *groups) {
        const double share = (1.0 - kCoregistrationShare) * (1.0 + group.cells) / allCells;
        if (auto done = detectGroup(*prepared, group, from, share); !done) {
            return failed(done);
        }
        from += share;
    }
    return {};
}

ComputationSummary Computation::summary() const {
    ComputationSummary summary = summaryOf(m_changes, m_coregistration);
    summary.detectionSeconds += m_coregistrationSeconds;
    return summary;
}

Result<ComputationSummary> Computation::run(KV_MySQL& database) {
    if (auto done = checkRasters(m_request.project); !done) {
        return failed(done);
    }
    try {
        if (auto done = chooseStations(database); !done) {
            return failed(done);
        }
        if (auto done = coregister(); !done) {
            return failed(done);
        }
        if (auto done = detectAll(); !done) {
            return failed(done);
        }
        if (m_progress && !m_progress(1.0, {ComputationStep::Sort::Storing, {}})) {
            return cancelled();
        }
        m_store.store(database, m_changes, m_coregistration);
    } catch (const mysqlhelper::ConnectionLost& loss) {
        return Unexpected(Failure{QString::fromUtf8(loss.what()), loss.told()});
    } catch (const KV_MySQL_Exception& exception) {
        return refusal(exception);
    }
    return summary();
}

} // namespace

Result<detect::Coregistration> coregisterPair(const ProjectDescription& project, int threads,
                                              const detect::Progress& progress) {
    if (auto done = checkRasters(project); !done) {
        return failed(done);
    }
    GDALAllRegister();
    detect::Request request;
    request.oldRaster = project.oldEpoch().dsm.toStdString();
    request.newRaster = project.newEpoch().dsm.toStdString();
    request.parameters = project.parameters.detection();
    request.parameters.threads = threads;
    auto estimate = detect::estimateCoregistration(request, progress);
    if (!estimate && estimate.error().cancelled) {
        return cancelled();
    }
    if (!estimate) {
        const QString message = QString::fromStdString(estimate.error().message);
        return Unexpected(Failure{message, QStringLiteral("配准失败：") + message});
    }
    return *std::move(estimate);
}

ComputationSummary summaryOf(const std::vector<StationChanges>& changes,
                             const detect::Coregistration& coregistration) {
    ComputationSummary summary;
    summary.coregistration = coregistration;
    for (const StationChanges& station : changes) {
        summary.stationIds.push_back(station.stationId);
        summary.anomalies += static_cast<int>(station.anomalies.size());
        summary.cells += station.cells();
        summary.detectionSeconds += station.seconds();
    }
    return summary;
}

Result<ComputationSummary> computeAnomalies(const ComputationRequest& request,
                                            const ComputationProgress& progress) {
    try {
        KV_MySQL database(request.project.databaseUrl().toStdString());
        return computeAnomalies(request, database, progress);
    } catch (const KV_MySQL_Exception& exception) {
        return refusal(exception);
    }
}

Result<ComputationSummary> computeAnomalies(const ComputationRequest& request, KV_MySQL& database,
                                            const ComputationProgress& progress) {
    GDALAllRegister();
    QElapsedTimer timer;
    timer.start();
    auto result = Computation(request, progress).run(database);
    if (result) {
        result->seconds = double(timer.elapsed()) / 1000.0;
    }
    return result;
}

} // namespace inspection
