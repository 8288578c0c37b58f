#pragma once

#include <optional>
#include <string>
#include <vector>

namespace detect::test {

/// One known change or one anomaly and how well it is met.
struct ScoredChange {
    std::string name;
    std::string match;    ///< name of the anomaly found there; empty for a change that was missed
    double overlap = 0.0; ///< intersection over union with the match
    double volumeCubicMetres = 0.0;
    double foundCubicMetres = 0.0;
    std::string knownClass;
    std::string suggestedClass;
};

/// A detection result against the known changes.
struct TruthScore {
    std::vector<ScoredChange> changes;
    std::vector<std::string> falseAnomalies; ///< anomalies that match no change
    double recall = 0.0;                     ///< changes that were found
    double precision = 0.0;                  ///< anomalies that are changes
    double worstVolumeError = 0.0; ///< largest |found - known| / known of the changes that were found
    double volumeError = 0.0;      ///< the same of all their volumes together
};

/// Scores `resultPath` (layer `anomalies`: name, kind, volume_m3, suggested) against `truthPath` (layer
/// `changes`: name, kind, volume_m3, class); both are brought into the truth's reference system.
///
/// A change and an anomaly match when they are of one kind and intersection over union reaches 0.3, or the
/// centroid of one lies inside the other and the smaller is at least a quarter of the larger. Every one
/// matches once; pairs of greater overlap go first. Nothing when a file cannot be read.
std::optional<TruthScore> scoreAgainstTruth(const std::string& truthPath, const std::string& resultPath);

} // namespace detect::test
