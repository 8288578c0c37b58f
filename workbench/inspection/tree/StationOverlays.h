#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspection/scene/OverlayPicture.h"

#include <QColor>
#include <QObject>
#include <QTimer>

#include <cstdint>
#include <deque>
#include <set>
#include <utility>
#include <vector>

namespace inspection {

class AnomalyOverlays;
class Session;
class StationRecords;

/// Brings the anomalies of the checked stations onto the globe: at once as long as these are some hundred; the
/// others follow little by little, so that the window answers meanwhile. GUI thread.
class StationOverlays : public QObject {
    Q_OBJECT

public:
    /// All three must outlive it.
    StationOverlays(Session& session, StationRecords& records, AnomalyOverlays& overlays);

    /// Shows the station's anomalies in place of what was shown of it before.
    void show(std::uint32_t stationId);
    void hide(std::uint32_t stationId);
    void hideAll();
    /// Also when its turn has yet to come.
    bool isShown(std::uint32_t stationId) const;
    /// Whether the project has other colours than what was shown last.
    bool areOutdated() const { return colours() != m_shownColours; }

signals:
    /// Overlays are on the globe, new ones in place of old ones.
    void shown();

private:
    void showNow(const KV_StationItem& station);
    /// Some of those that wait.
    void showSome();
    std::pair<QColor, QColor> colours() const;

    Session& m_session;
    StationRecords& m_records;
    AnomalyOverlays& m_overlays;
    std::pair<QColor, QColor> m_shownColours; ///< of fill and cut
    std::size_t m_shownAtOnce = 0;            ///< anomalies, since the window could answer
    std::deque<std::uint32_t> m_queue;        ///< in order; also some that do not wait any more
    std::set<std::uint32_t> m_waiting;
    QTimer m_next;
};

} // namespace inspection
