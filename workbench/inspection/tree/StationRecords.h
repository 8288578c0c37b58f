#pragma once

#include "host/inspection/Station.h"

#include <QString>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace inspection {

class Session;

/// The stations of the open project, and their anomalies, which are read when somebody asks for them. GUI thread.
class StationRecords {
public:
    /// `session` must outlive it.
    explicit StationRecords(Session& session) : m_session(session) {}

    /// Reads all stations. Throws KV_MySQL_Exception.
    void load();
    /// What was handed out before stays alive until the next time: a tool whose edit was answered with a message box
    /// may still hold it.
    void clear();

    const std::vector<std::unique_ptr<KV_StationItem>>& all() const { return m_items; }
    /// Null when there is no such station.
    KV_StationItem* item(std::uint32_t stationId) const;
    /// With its anomalies, as far as the database tells them.
    KV_StationItem* read(std::uint32_t stationId);
    /// The same for many, by few statements. Those that there are not are left out.
    std::vector<KV_StationItem*> read(const std::vector<std::uint32_t>& stationIds);
    bool isRead(std::uint32_t stationId) const { return m_read.count(stationId) != 0; }
    /// Anomalies are read again when somebody asks for them.
    void forgetAnomalies() { m_read.clear(); }
    /// Reads these stations and their anomalies again, which have been computed.
    void takeResults(const std::vector<std::uint32_t>& stationIds);

    /// Reads which stations have results of the compared pair. Throws KV_MySQL_Exception.
    void readResults();
    /// Also of a station without anomalies.
    bool isComputed(std::uint32_t stationId) const { return m_differences.count(stationId) != 0; }
    std::vector<std::uint32_t> computed() const;
    /// Path of its elevation differences; empty without any.
    QString differenceRaster(std::uint32_t stationId) const;

private:
    void readMany(const std::vector<std::uint32_t>& stationIds);

    Session& m_session;
    std::vector<std::unique_ptr<KV_StationItem>> m_items; ///< by id
    std::vector<std::unique_ptr<KV_StationItem>> m_formerItems;
    std::set<std::uint32_t> m_read; ///< stations whose anomalies have been read
    std::map<std::uint32_t, QString>
        m_differences; ///< of the stations with a result, within the project folder
};

} // namespace inspection
