#pragma once

#include "detect/Component.h"
#include "detect/Grid.h"

#include <utility>
#include <vector>

namespace detect {

/// An anomaly and its first cell in row order, which gives it its place among the others.
struct PlacedAnomaly {
    std::int32_t firstRow = 0;
    std::int32_t firstColumn = 0;
    Anomaly anomaly;
};

/// Judges finished components and makes anomalies of those that pass.
class AnomalyBuilder {
public:
    AnomalyBuilder(const Grid& grid, const Parameters& parameters) : m_grid(grid), m_parameters(parameters) {}

    /// Takes a finished component, whose runs it brings in row order when they are worth a look. Nothing when
    /// it never reaches the threshold, is smaller than the least area, or has no 3 x 3 block of cells
    /// (slivers along walls and edges are artefacts of registration).
    void consider(Component& component);

    /// What was found so far, in no order, without names.
    std::vector<PlacedAnomaly> take() { return std::exchange(m_found, {}); }

private:
    Anomaly measure(const std::vector<Run>& runs) const;
    void outline(const std::vector<Run>& runs, Anomaly& anomaly) const;
    Ring toMap(const Ring& cellCorners) const;

    Grid m_grid;
    Parameters m_parameters;
    std::vector<PlacedAnomaly> m_found;
};

/// Puts anomalies in the order of their first cells (row by row), named A0001 and on.
std::vector<Anomaly> inOrder(std::vector<PlacedAnomaly> found);

/// True when the runs (row order) hold a full block of 3 x 3 cells.
bool hasCore(const std::vector<Run>& runs);

} // namespace detect
