#include "workbench/inspection/table/AnomalyRow.h"

#include <cmath>
#include <limits>
#include <utility>

namespace inspection {

AnomalyRow::AnomalyRow(SdiffData anomaly, std::shared_ptr<const TableStation> station, bool isDeleted)
    : m_anomaly(std::move(anomaly)), m_station(std::move(station)), m_isDeleted(isDeleted) {}

const Surroundings& AnomalyRow::surroundings() const {
    if (!m_surroundings) {
        m_surroundings = m_station->surroundings ? m_station->surroundings->of(m_anomaly) : Surroundings();
    }
    return *m_surroundings;
}

std::optional<double> AnomalyRow::chainageMetres() const {
    if (!m_chainageMetres) {
        const auto position =
            m_station->pipeline ? m_station->pipeline->positionOf({m_anomaly.x, m_anomaly.y}) : std::nullopt;
        m_chainageMetres = position ? position->chainageMetres : std::numeric_limits<double>::quiet_NaN();
    }
    return std::isnan(*m_chainageMetres) ? std::nullopt : m_chainageMetres;
}

void AnomalyRow::setAnomaly(const SdiffData& anomaly) {
    if (m_anomaly.outlineWkt != anomaly.outlineWkt) {
        forgetMeasures();
    }
    m_anomaly = anomaly;
}

void AnomalyRow::setStation(std::shared_ptr<const TableStation> station) {
    m_station = std::move(station);
    forgetMeasures();
}

void AnomalyRow::forgetMeasures() {
    m_surroundings.reset();
    m_chainageMetres.reset();
}

} // namespace inspection
