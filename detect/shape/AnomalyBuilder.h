#pragma once

#include "detect/heights/Grid.h"
#include "detect/search/LevelOfDetection.h"
#include "detect/shape/AnomalyOrder.h"
#include "detect/shape/Bodies.h"
#include "detect/shape/Traits.h"

#include <vector>

namespace detect {

/// Judges finished components and makes anomalies of those that pass.
class AnomalyBuilder {
public:
    /// What is found goes to `found`, which must live as long.
    AnomalyBuilder(const Grid& grid, const Parameters& parameters, const Coregistration& coregistration,
                   AnomalyOrder& found);

    /// Takes a finished component, whose runs it brings in row order when they are worth a look. Makes an
    /// anomaly of each of its bodies that reaches its level of detection, has the least area, and that none
    /// of the rules turns away.
    void consider(Component& component);

    /// False for a finished component that consider() would turn away at first sight.
    bool mayPass(const Component& component) const;

    const Rejections& rejections() const { return m_rejections; }

private:
    void judge(const Component& body);
    bool passes(const Traits& traits);
    Anomaly measure(const std::vector<Run>& runs) const;
    void measureUncertainty(const std::vector<Run>& runs, Anomaly& anomaly) const;
    void outline(const Polygon& cellOutline, Anomaly& anomaly) const;
    Ring toMap(const Ring& cells) const;
    BodyLimits bodyLimits(std::int32_t row) const;

    Grid m_grid;
    Parameters m_parameters;
    LevelOfDetection m_level;
    double m_correlatedCells;
    double m_sigmaMetres; ///< of a cell on stable ground
    AnomalyOrder& m_found;
    Rejections m_rejections;
};

} // namespace detect
