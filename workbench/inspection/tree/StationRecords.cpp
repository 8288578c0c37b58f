#include "workbench/inspection/tree/StationRecords.h"

#include "workbench/inspection/session/Log.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <algorithm>
#include <utility>

namespace inspection {

using mysqlhelper::KV_MySQL_Exception;

void StationRecords::load() {
    for (const KV_Station& station : readStations(*m_session.connection())) {
        m_items.push_back(std::make_unique<KV_StationItem>(station));
    }
}

void StationRecords::clear() {
    m_formerItems = std::exchange(m_items, {});
    m_read.clear();
    m_differences.clear();
}

KV_StationItem* StationRecords::item(std::uint32_t stationId) const {
    const auto found =
        std::lower_bound(m_items.begin(), m_items.end(), stationId,
                         [](const auto& item, std::uint32_t id) { return item->GetStationId() < id; });
    return found != m_items.end() && (*found)->GetStationId() == stationId ? found->get() : nullptr;
}

KV_StationItem* StationRecords::read(std::uint32_t stationId) {
    KV_StationItem* station = item(stationId);
    if (station && !isRead(stationId) && station->readclassfi()) {
        m_read.insert(stationId);
    }
    return station;
}

std::vector<KV_StationItem*> StationRecords::read(const std::vector<std::uint32_t>& stationIds) {
    std::vector<std::uint32_t> unread;
    for (const std::uint32_t id : stationIds) {
        if (!isRead(id) && item(id)) {
            unread.push_back(id);
        }
    }
    readMany(unread);
    std::vector<KV_StationItem*> items;
    for (const std::uint32_t id : stationIds) {
        if (KV_StationItem* station = item(id)) {
            items.push_back(station);
        }
    }
    return items;
}

void StationRecords::readMany(const std::vector<std::uint32_t>& stationIds) {
    if (stationIds.empty() || !m_session.connection()) {
        return;
    }
    try {
        auto anomalies =
            readAnomalies(*m_session.connection(), stationIds, m_session.project()->description().pair());
        for (const std::uint32_t id : stationIds) {
            item(id)->m_diffData.m_anomalies = std::move(anomalies[id]);
            m_read.insert(id);
        }
    } catch (const KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The anomalies of stations cannot be read:" << exception.what();
    }
}

void StationRecords::takeResults(const std::vector<std::uint32_t>& stationIds) {
    try {
        readResults();
    } catch (const KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The results of stations cannot be read:" << exception.what();
    }
    for (const std::uint32_t id : stationIds) {
        m_read.erase(id);
        if (KV_StationItem* station = item(id)) {
            station->readdom();
        }
    }
    read(stationIds);
}

void StationRecords::readResults() {
    m_differences = readDifferenceRasters(*m_session.connection(), m_session.project()->description().pair());
}

std::vector<std::uint32_t> StationRecords::computed() const {
    std::vector<std::uint32_t> ids;
    for (const auto& [id, raster] : m_differences) {
        ids.push_back(id);
    }
    return ids;
}

QString StationRecords::differenceRaster(std::uint32_t stationId) const {
    const auto found = m_differences.find(stationId);
    return found == m_differences.end() ? QString()
                                        : m_session.project()->description().resultFile(found->second);
}

} // namespace inspection
