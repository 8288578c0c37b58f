#pragma once

#include "detect/Detection.h"

#include <utility>

namespace detect {

/// Keeps the anomalies of a run in memory.
class KeptAnomalies : public AnomalyReceiver {
public:
    Status begin(const std::string& /*srsWkt*/) override { return {}; }
    Status take(Anomaly anomaly) override {
        m_anomalies.push_back(std::move(anomaly));
        return {};
    }

    /// What was kept, which is then gone from here.
    std::vector<Anomaly> handOver() { return std::exchange(m_anomalies, {}); }
    /// The outcome of the run together with what was kept.
    Result<Changes> resultOf(Result<RunReport> outcome) {
        return std::move(outcome).map(
            [this](RunReport&& report) { return Changes{std::move(report), handOver()}; });
    }

private:
    std::vector<Anomaly> m_anomalies;
};

} // namespace detect
