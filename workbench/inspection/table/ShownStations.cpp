#include "workbench/inspection/table/ShownStations.h"

#include "host/Gbk.h"
#include "workbench/inspection/session/Log.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/table/ProjectSurroundings.h"

#include <QObject>

#include <algorithm>
#include <numeric>
#include <set>
#include <utility>

namespace inspection {

QString emptyTableHint(std::size_t stations, std::size_t anomalies, bool showsDeleted) {
    if (stations == 0) {
        return QObject::tr("在左侧单击站段，此处列出它的异常");
    }
    if (showsDeleted) {
        return QObject::tr("没有已删除的异常");
    }
    return anomalies == 0 ? QObject::tr("所选站段没有异常；显示“未计算”的站段，勾选后单击“计算异常”")
                          : QObject::tr("没有符合筛选条件的异常");
}

ShownStations::ShownStations(Session& session, ProjectSurroundings& surroundings)
    : m_session(session), m_surroundings(surroundings) {}

void ShownStations::show(std::vector<KV_StationItem> items) {
    m_items = std::move(items);
    m_places.clear();
    for (std::size_t place = 0; place < m_items.size(); ++place) {
        m_places.emplace(m_items[place].GetStationId(), place);
    }
    readDeleted();
    measureAnew();
}

void ShownStations::take(const KV_StationItem& item) {
    const auto known = m_places.find(item.GetStationId());
    if (known == m_places.end()) {
        show(item.GetStationId() == 0 ? std::vector<KV_StationItem>() : std::vector{item});
    } else {
        m_items[known->second] = item;
    }
}

const KV_StationItem* ShownStations::item(std::uint32_t stationId) const {
    const auto found = m_places.find(stationId);
    return found == m_places.end() ? nullptr : &m_items[found->second];
}

void ShownStations::readDeleted() {
    m_deleted.clear();
    if (m_items.empty() || !m_session.connection()) {
        return;
    }
    try {
        m_deleted = readDeletedAnomalies(*m_session.connection(), m_session.project()->description().pair());
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "Deleted anomalies cannot be read:" << exception.what();
    }
    m_deleted.erase(std::remove_if(m_deleted.begin(), m_deleted.end(),
                                   [this](const DeletedAnomaly& each) { return !item(each.stationId); }),
                    m_deleted.end());
}

const std::vector<std::shared_ptr<const TableStation>>& ShownStations::measureAnew() {
    m_stations.clear();
    for (const KV_StationItem& item : m_items) {
        const KV_Station& station = item.m_station;
        m_stations.push_back(std::make_shared<TableStation>(
            TableStation{station.m_id, fromGbk(station.m_name), m_surroundings.around(station),
                         m_surroundings.pipeline()}));
    }
    return m_stations;
}

std::vector<AnomalyRow> ShownStations::rows() {
    std::vector<AnomalyRow> rows;
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        for (const SdiffData& anomaly : m_items[i].m_diffData.m_anomalies) {
            rows.emplace_back(anomaly, m_stations[i], false);
        }
    }
    for (const DeletedAnomaly& each : m_deleted) {
        rows.emplace_back(each.anomaly, m_stations[m_places.at(each.stationId)], true);
    }
    return rows;
}

std::vector<AnomalyRow> ShownStations::deletedRows(const std::vector<AnomalyChange>& changes) const {
    std::vector<AnomalyRow> rows;
    for (const AnomalyChange& change : changes) {
        const auto place = m_places.find(change.stationId);
        if (change.isMarked && place != m_places.end()) {
            rows.emplace_back(change.anomaly, m_stations[place->second], true);
        }
    }
    return rows;
}

std::size_t ShownStations::anomalyCount() const {
    return std::accumulate(m_items.begin(), m_items.end(), std::size_t{0},
                           [](std::size_t count, const KV_StationItem& item) {
                               return count + item.m_diffData.m_anomalies.size();
                           });
}

QString ShownStations::summary() const {
    std::ptrdiff_t all = 0;
    std::ptrdiff_t fills = 0;
    std::ptrdiff_t judged = 0;
    for (const KV_StationItem& item : m_items) {
        const std::vector<SdiffData>& anomalies = item.m_diffData.m_anomalies;
        all += static_cast<std::ptrdiff_t>(anomalies.size());
        fills +=
            std::count_if(anomalies.begin(), anomalies.end(), [](const auto& each) { return each.isFill; });
        judged += std::count_if(anomalies.begin(), anomalies.end(),
                                [](const auto& each) { return !each.attribute.empty(); });
    }
    const QString where = m_items.size() == 1 ? fromGbk(m_items.front().m_station.m_name)
                                              : QObject::tr("%1 个站段").arg(m_items.size());
    return QObject::tr("%1：共 %2 处异常，填方 %3，挖方 %4，已判定 %5")
        .arg(where)
        .arg(all)
        .arg(fills)
        .arg(all - fills)
        .arg(judged);
}

void ShownStations::apply(const std::vector<AnomalyChange>& changes) {
    std::set<std::int64_t> changed;
    for (const AnomalyChange& change : changes) {
        changed.insert(change.anomaly.id);
    }
    m_deleted.erase(
        std::remove_if(m_deleted.begin(), m_deleted.end(),
                       [&](const DeletedAnomaly& each) { return changed.count(each.anomaly.id) != 0; }),
        m_deleted.end());
    for (const AnomalyChange& change : changes) {
        if (change.isMarked && item(change.stationId)) {
            m_deleted.push_back({change.stationId, change.anomaly});
        }
    }
    for (const auto& [stationId, those] : byStation(changes)) {
        if (const auto place = m_places.find(stationId); place != m_places.end()) {
            applyChanges(those, stationId, m_items[place->second].m_diffData.m_anomalies);
        }
    }
}

} // namespace inspection
