#include "workbench/inspectiondata/compute/ComputeAnomalies.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/compute/ResultStore.h"
#include "workbench/inspectiondata/compute/StationDetection.h"
#include "workbench/inspectiondata/database/ConnectionLost.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QElapsedTimer>
#include <QFileInfo>

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

/// The parts of one computation, so that each step stays short.
class Computation {
public:
    Computation(const ComputationRequest& request, const ComputationProgress& progress)
        : m_request(request), m_progress(progress), m_store(request.project) {}

    Result<ComputationSummary> run(KV_MySQL& database);

private:
    Status checkRasters() const;
    Status chooseStations(KV_MySQL& database);
    Status coregister();
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

Status Computation::checkRasters() const {
    for (const QString& file : {m_request.project.oldEpoch().dsm, m_request.project.newEpoch().dsm}) {
        if (!QFileInfo::exists(file)) {
            return fileFailure(file, "no such file", "文件不存在");
        }
    }
    return {};
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
    detect::Request request;
    request.oldRaster = m_request.project.oldEpoch().dsm.toStdString();
    request.newRaster = m_request.project.newEpoch().dsm.toStdString();
    request.parameters = m_request.project.parameters.detection();
    request.parameters.threads = m_request.threads;
    QElapsedTimer timer;
    timer.start();
    const auto estimate = detect::estimateCoregistration(request, progress);
    m_coregistrationSeconds = double(timer.elapsed()) / 1000.0;
    if (!estimate && estimate.error().cancelled) {
        return cancelled();
    }
    if (!estimate) {
        const QString message = QString::fromStdString(estimate.error().message);
        return Unexpected(Failure{message, QStringLiteral("配准失败：") + message});
    }
    m_coregistration = *estimate;
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

Status Computation::detectAll() {
    const auto prepared = StationDetection::prepare(m_request.project, m_all);
    if (!prepared) {
        return failed(prepared);
    }
    const std::vector<SearchGroup> groups = prepared->groupsOf(m_chosen);
    double allCells = 0.0;
    for (const SearchGroup& group : groups) {
        allCells += 1.0 + group.cells;
    }
    double from = kCoregistrationShare;
    for (const SearchGroup& group : groups) {
        const double share = (1.0 - kCoregistrationShare) * (1.0 + group.cells) / allCells;
        if (auto done = detectGroup(*prepared, group, from, share); !done) {
            return failed(done);
        }
        from += share;
    }
    return {};
}

ComputationSummary Computation::summary() const {
    ComputationSummary summary;
    summary.coregistration = m_coregistration;
    summary.detectionSeconds = m_coregistrationSeconds;
    for (const StationChanges& changes : m_changes) {
        summary.stationIds.push_back(changes.stationId);
        summary.anomalies += static_cast<int>(changes.anomalies.size());
        summary.cells += changes.cells();
        summary.detectionSeconds += changes.seconds();
    }
    return summary;
}

Result<ComputationSummary> Computation::run(KV_MySQL& database) {
    if (auto done = checkRasters(); !done) {
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
