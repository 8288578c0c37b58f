#pragma once

#include "detect/Detection.h"

#include <map>

namespace detect {

/// Anomalies come as they are found, and leave in the order of their first cells, named A0001 and on.
class AnomalyOrder {
public:
    explicit AnomalyOrder(AnomalyReceiver& receiver) : m_receiver(receiver) {}

    void add(Anomaly anomaly);
    /// Hands over what begins above the row; nothing that begins there may be added any more.
    Status releaseAbove(std::int32_t row);
    Status releaseAll();
    /// So many were handed over.
    std::int64_t released() const { return m_released; }

private:
    AnomalyReceiver& m_receiver;
    std::multimap<Cell, Anomaly> m_waiting; ///< a damaged piece may repeat a cell; it loses nothing
    std::int64_t m_released = 0;
};

} // namespace detect
