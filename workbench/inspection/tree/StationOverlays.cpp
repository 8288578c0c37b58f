#include "workbench/inspection/tree/StationOverlays.h"

#include "workbench/inspection/scene/AnomalyOverlays.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/tree/StationRecords.h"

#include <QElapsedTimer>

namespace inspection {

namespace {

constexpr std::size_t kMostAtOnce = 300;     ///< anomalies
constexpr std::size_t kStationsOfARead = 16; ///< whose anomalies are read by one statement
constexpr qint64 kMostMilliseconds = 20;     ///< until the window can answer again

} // namespace

StationOverlays::StationOverlays(Session& session, StationRecords& records, AnomalyOverlays& overlays)
    : m_session(session), m_records(records), m_overlays(overlays) {
    m_next.setSingleShot(true);
    connect(&m_next, &QTimer::timeout, this, &StationOverlays::showSome);
}

void StationOverlays::show(std::uint32_t stationId) {
    m_next.start(0);
    if (m_shownAtOnce >= kMostAtOnce) {
        m_waiting.insert(stationId);
        m_queue.push_back(stationId);
        return;
    }
    if (const KV_StationItem* station = m_records.read(stationId)) {
        m_waiting.erase(stationId);
        m_shownAtOnce += station->m_diffData.m_anomalies.size();
        showNow(*station);
        emit shown();
    }
}

void StationOverlays::showNow(const KV_StationItem& station) {
    OverlayStyle style;
    m_shownColours = colours();
    style.fill = m_shownColours.first;
    style.cut = m_shownColours.second;
    style.srs = QString::fromStdString(station.m_station.m_srs);
    style.dzRaster = m_records.differenceRaster(station.GetStationId());
    m_overlays.show(station, style);
}

void StationOverlays::showSome() {
    m_shownAtOnce = 0;
    QElapsedTimer timer;
    timer.start();
    while (!m_waiting.empty() && timer.elapsed() < kMostMilliseconds) {
        std::vector<std::uint32_t> ids;
        while (!m_queue.empty() && ids.size() < kStationsOfARead) {
            if (m_waiting.erase(m_queue.front()) != 0) {
                ids.push_back(m_queue.front());
            }
            m_queue.pop_front();
        }
        for (const KV_StationItem* station : m_records.read(ids)) {
            showNow(*station);
        }
        emit shown();
    }
    if (!m_waiting.empty()) {
        m_next.start(0);
    }
}

void StationOverlays::hide(std::uint32_t stationId) {
    m_waiting.erase(stationId);
    m_overlays.hide(stationId);
}

void StationOverlays::hideAll() {
    m_waiting.clear();
    m_queue.clear();
    m_overlays.hideAll();
}

bool StationOverlays::isShown(std::uint32_t stationId) const {
    return m_waiting.count(stationId) != 0 || m_overlays.isShown(stationId);
}

std::pair<QColor, QColor> StationOverlays::colours() const {
    const ProjectParameters parameters = m_session.parameters();
    return {parameters.fillColour, parameters.cutColour};
}

} // namespace inspection
