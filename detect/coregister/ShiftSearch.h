#pragma once

#include "detect/coregister/RobustFit.h"
#include "detect/raster/CellFrame.h"

namespace detect {

/// Looks for the shift, and the tilt plane if asked, that brings the new epoch onto the old one; see Coregister.h.
class ShiftSearch {
public:
    /// All must outlive it.
    ShiftSearch(const PairLayout& layout, const StableSample& sample, int threads, const Progress& progress);

    /// Improves a co-registration that holds the bias: adds shift and plane, or the reason of a refusal.
    Status improve(Coregistration& found, bool tilt);
    /// The same from what varies within each block of the sample alone: dZ and slopes less their means over it. A
    /// misfit that varies slowly looks like a shift where slopes are one-sided; within a block it is level.
    Status improveWithinBlocks(Coregistration& found);
    /// Of the last fit that improve() made.
    const ShiftEvidence& evidence() const { return m_evidence; }

    /// The sample as the co-registration leaves it.
    Result<EquationSet> readAt(const Coregistration& found) const;
    /// Whether there are enough to fit anything.
    static bool spansEnough(const EquationSet& equations);
    /// Takes over the last adjustment's heights, the bias once more as the level of what it leaves, and what is
    /// to be told.
    void finish(const EquationSet& equations, const Adjustment& last, Coregistration& found) const;

    /// Length of the shift in cells of the old raster.
    double cellsOf(const Coregistration& found) const;
    double cellMetres() const { return m_frame.cellMetres(); }

private:
    /// Why no shift is told; an empty reason when one is.
    struct Refusal {
        std::string reason;
    };

    Status level(Coregistration& found) const;
    Result<Refusal> findShift(Coregistration& found);
    bool trustworthy(const ShiftEvidence& evidence) const;
    bool preciseEnough(const ShiftEvidence& evidence) const;
    bool advance(const Adjustment& step, Coregistration& found) const;
    bool outside(const Coregistration& found) const;
    HeightCorrection correctionOf(const Coregistration& found) const {
        return {found, m_layout.oldRaster.grid};
    }

    const PairLayout& m_layout;
    const StableSample& m_sample;
    const int m_threads;
    const Progress& m_progress;
    CellFrame m_frame;
    bool m_tilt = false;
    bool m_withinBlocks = false;
    ShiftEvidence m_evidence;
};

} // namespace detect
