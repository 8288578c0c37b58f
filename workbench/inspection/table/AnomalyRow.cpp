#include "workbench/inspection/table/AnomalyRow.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <cmath>
#include <limits>
#include <utility>

namespace inspection {

AnomalyRow::AnomalyRow(SdiffData anomaly, std::shared_ptr<const TableStation> station, bool isDeleted)
    : m_anomaly(std::move(anomaly)), m_station(std::move(station)), m_isDeleted(isDeleted) {}

const std::optional<double>& AnomalyRow::pipeMetres() const {
    if (!m_pipeMetres) {
        m_pipeMetres =
            m_station->surroundings ? m_station->surroundings->pipeMetres(m_anomaly) : std::nullopt;
    }
    return *m_pipeMetres;
}

const std::vector<std::string>& AnomalyRow::highConsequenceAreas() const {
    if (!m_highConsequenceAreas) {
        m_highConsequenceAreas = m_station->surroundings
                                     ? m_station->surroundings->highConsequenceAreas(m_anomaly)
                                     : std::vector<std::string>();
    }
    return *m_highConsequenceAreas;
}

std::optional<double> AnomalyRow::chainageMetres() const {
    if (!m_chainageMetres) {
        const auto position =
            m_station->pipeline ? m_station->pipeline->positionOf({m_anomaly.x, m_anomaly.y}) : std::nullopt;
        m_chainageMetres = position ? position->chainageMetres : std::numeric_limits<double>::quiet_NaN();
    }
    return std::isnan(*m_chainageMetres) ? std::nullopt : m_chainageMetres;
}

const QString& AnomalyRow::searched() const {
    if (m_searched.isNull()) {
        // A line each, so that no word is found across two of them.
        const QStringList lines{fromGbk(m_anomaly.name), m_station->name, kindText(m_anomaly),
                                fromGbk(m_anomaly.attribute).simplified(), fromGbk(m_anomaly.suggested)};
        m_searched = lines.join('\n').toCaseFolded();
    }
    return m_searched;
}

void AnomalyRow::setAnomaly(const SdiffData& anomaly) {
    if (m_anomaly.outlineWkt != anomaly.outlineWkt) {
        forgetMeasures();
    }
    m_anomaly = anomaly;
    m_searched = QString();
}

void AnomalyRow::setStation(std::shared_ptr<const TableStation> station) {
    m_station = std::move(station);
    m_searched = QString();
    forgetMeasures();
}

void AnomalyRow::forgetMeasures() {
    m_pipeMetres.reset();
    m_highConsequenceAreas.reset();
    m_chainageMetres.reset();
}

} // namespace inspection
