#pragma once

#include "detect/Detection.h"

#include <utility>

namespace detect {

/// Keeps the anomalies of a run in memory.
class KeptAnomalies : public AnomalyReceiver {
public:
    std::optional<Failure> begin(const std::string& /*srsWkt*/) override { return std::nullopt; }
    std::optional<Failure> take(Anomaly anomaly) override {
        m_anomalies.push_back(std::move(anomaly));
        return std::nullopt;
    }

    /// What was kept, which is then gone from here.
    std::vector<Anomaly> handOver() { return std::exchange(m_anomalies, {}); }
    /// The outcome of the run together with what was kept.
    std::variant<Result, Failure> resultOf(std::variant<RunReport, Failure> outcome) {
        if (auto* failure = std::get_if<Failure>(&outcome)) {
            return std::move(*failure);
        }
        return Result{std::get<RunReport>(std::move(outcome)), handOver()};
    }

private:
    std::vector<Anomaly> m_anomalies;
};

} // namespace detect
