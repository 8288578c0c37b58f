#pragma once

#include "detect/search/Labeller.h"

namespace detect {

/// Hands the runs of blocks that lie side by side to the labeller in row order, as soon as the last block of
/// a row of blocks is there.
class RowMerger {
public:
    RowMerger(int blocksAcross, Labeller& labeller)
        : m_blocksAcross(static_cast<std::size_t>(blocksAcross)), m_labeller(labeller) {}

    /// Blocks come in the plan's order.
    void add(MeasuredRuns block);

private:
    std::size_t m_blocksAcross;
    Labeller& m_labeller;
    std::vector<MeasuredRuns> m_waiting;
};

} // namespace detect
