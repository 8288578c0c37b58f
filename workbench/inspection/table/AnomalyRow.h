#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspectiondata/pipeline/Surroundings.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace inspection {

/// A station whose anomalies are shown, and what they are measured against. GUI thread.
struct TableStation {
    std::uint32_t id = 0;
    QString name;
    std::shared_ptr<const StationSurroundings> surroundings; ///< null: nothing is known
    std::shared_ptr<const Pipeline> pipeline;                ///< null: nothing is known
};

/// An anomaly as a row of the table. What lies around it is measured when that is first asked for. One thread at a time;
/// several rows may be measured at once.
class AnomalyRow {
public:
    /// `station` is not null.
    AnomalyRow(SdiffData anomaly, std::shared_ptr<const TableStation> station, bool isDeleted);

    const SdiffData& anomaly() const { return m_anomaly; }
    const TableStation& station() const { return *m_station; }
    /// An inspector has deleted it; it is shown to be restored only.
    bool isDeleted() const { return m_isDeleted; }
    /// Empty where it is not known.
    const std::optional<double>& pipeMetres() const;
    const std::vector<std::string>& highConsequenceAreas() const;
    /// That of the centroid; nothing without a centre line.
    std::optional<double> chainageMetres() const;
    /// All of it in which words are looked for, case folded: name, station, kind, verdict and suggested class.
    const QString& searched() const;

    void setAnomaly(const SdiffData& anomaly);
    /// Another one, or the same with other things around it.
    void setStation(std::shared_ptr<const TableStation> station);

private:
    void forgetMeasures();

    SdiffData m_anomaly;
    std::shared_ptr<const TableStation> m_station;
    bool m_isDeleted;
    mutable std::optional<std::optional<double>> m_pipeMetres;              ///< once measured
    mutable std::optional<std::vector<std::string>> m_highConsequenceAreas; ///< the same
    mutable std::optional<double> m_chainageMetres; ///< the same, NaN without a centre line
    mutable QString m_searched;                     ///< null until it is asked for
};

} // namespace inspection
