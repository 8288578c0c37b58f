#pragma once

#include "detect/search/Runs.h"

#include <vector>

namespace detect {

/// One connected change, or what is known of it so far: its runs and the dZ of their cells (metres).
struct Component {
    std::vector<Run> runs;
    /// Run by run, beginning at Run::heights; empty when there are too many cells to look at one by one.
    std::vector<float> heights;
    std::int64_t cells = 0;

    /// Larger components keep no heights: they would fill the memory, and an anomaly of a square kilometre is
    /// not judged by the shape of its cells.
    static constexpr std::int64_t kMostExaminedCells = 4'000'000;

    bool isExamined() const { return cells > 0 && static_cast<std::int64_t>(heights.size()) == cells; }

    /// Appends a run with the dZ of its cells; null when they are not known.
    void add(const Run& run, const float* runHeights);
    /// Appends all of another component and empties it.
    void takeOver(Component& other);
    /// Empties, and gives large memory back.
    void clear();

    bool touches(const BlockEdges& edges) const;
    /// Appends all to other runs and empties it.
    void moveTo(MeasuredRuns& other);

    /// Brings the runs in row order, makes those that lie side by side one (a run cut at the seam of two
    /// blocks, the runs around a filled gap), and the heights in the same order.
    void putInRowOrder();
};

} // namespace detect
