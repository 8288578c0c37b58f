#pragma once

#include "detect/search/Component.h"

#include <functional>
#include <vector>

namespace detect {

/// Connected components of runs that arrive in row order, whatever blocks they were found in.
///
/// Cells are connected over their four sides: a component's interior is then connected in the sense of simple
/// features, so that its outline is one valid polygon (eight neighbours would need multipolygons). Runs of
/// different sign never join. Fillable gap cells are filled first, from the rows as they were measured. Keeps
/// the runs of components that may still grow, and nothing else.
class Labeller {
public:
    /// Takes a finished component, its runs in any order and gaps still marked.
    using Receiver = std::function<void(Component&)>;

    explicit Labeller(Receiver receiver) : m_receiver(std::move(receiver)) {}

    /// For a piece of a larger raster: a gap on one of these edges, which a neighbouring piece may fill, is
    /// taken for filled, so that whatever it might join is handed over as one.
    void keepOpen(const BlockEdges& edges) { m_open = edges; }

    /// Runs come in row order, left to right, with their gap cells. `heights`: dZ of the run's cells, may be
    /// null.
    void add(const Run& run, const float* heights);
    /// No more runs: hands over what is still open.
    void finish();
    /// No component that begins above this row will be handed over any more, as long as runs come in row
    /// order.
    std::int32_t firstOpenRow() const;

private:
    struct Labelled {
        Component component;
        std::int32_t firstRow = 0;
        std::int32_t lastRow = 0;
        std::uint32_t joinedTo = 0; ///< itself unless joined
    };
    struct Row {
        std::int32_t row = -2;
        MeasuredRuns measured;    ///< as it arrived, gaps included
        std::vector<Run> members; ///< gaps filled or dropped
        std::vector<std::uint32_t> components;
    };

    void closeRow();
    void fillGaps(const Row& above, Row& row, const Row& below) const;
    bool hasSidesOfItsSign(const Row& row, std::size_t gap) const;
    void connect(const Row& above, Row& row);
    void settle(Row& above, const Row& row);
    std::uint32_t open(std::int32_t row);
    std::uint32_t root(std::uint32_t component);
    std::uint32_t join(std::uint32_t a, std::uint32_t b);
    void handOver(std::uint32_t component);

    Receiver m_receiver;
    BlockEdges m_open = kNothingOpen;
    std::vector<Labelled> m_components;
    std::vector<std::uint32_t> m_free;
    std::vector<std::uint32_t> m_joined; ///< free once the current row is connected
    Row m_above;                         ///< connected already
    Row m_current;                       ///< complete, waits for the row below to fill its gaps
    Row m_arriving;                      ///< the row below
};

} // namespace detect
