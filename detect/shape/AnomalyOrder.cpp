#include "detect/shape/AnomalyOrder.h"

#include <cstdio>
#include <limits>

namespace detect {

namespace {

std::string numbered(std::int64_t number) {
    char name[32];
    std::snprintf(name, sizeof name, "A%04lld", static_cast<long long>(number));
    return name;
}

} // namespace

void AnomalyOrder::add(Anomaly anomaly) {
    const Cell first = anomaly.first;
    m_waiting.emplace(first, std::move(anomaly));
}

Status AnomalyOrder::releaseAbove(std::int32_t row) {
    while (!m_waiting.empty() && m_waiting.begin()->first.row < row) {
        Anomaly anomaly = std::move(m_waiting.extract(m_waiting.begin()).mapped());
        anomaly.name = numbered(++m_released);
        if (auto done = m_receiver.take(std::move(anomaly)); !done) {
            return failed(done);
        }
    }
    return {};
}

Status AnomalyOrder::releaseAll() {
    return releaseAbove(std::numeric_limits<std::int32_t>::max());
}

} // namespace detect
