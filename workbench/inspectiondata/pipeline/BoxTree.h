#pragma once

#include <ogr_core.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace inspection {

/// No point of one box is nearer than that to a point of the other.
double distanceBetween(const OGREnvelope& one, const OGREnvelope& other);

/// Boxes around the pieces of a line, in its order, by which the nearest piece is found without a look at all of them.
/// Any thread.
class BoxTree {
public:
    BoxTree() = default;
    explicit BoxTree(std::vector<OGREnvelope> boxes);

    bool isEmpty() const { return m_levels.empty(); }
    /// Tells the least distance known by now. `piece` counts as the boxes do; it is no nearer than `least`.
    using Measure = std::function<double(std::size_t piece, double least)>;
    /// Calls `measure` for the pieces by the distance of their boxes, the nearest first, until all others are farther away
    /// than what it has told last.
    void nearestFirst(const OGREnvelope& from, const Measure& measure) const;

private:
    /// The first level has the boxes; each box of another one is around some that follow each other in the level before.
    std::vector<std::vector<OGREnvelope>> m_levels;
};

} // namespace inspection
