#pragma once

#include "detect/search/Component.h"

#include <cstdint>
#include <vector>

namespace detect {

/// The cells of an examined component, numbered in row order as its heights are, and which lie side by side.
class ComponentCells {
public:
    using Cell = std::uint32_t;
    static constexpr Cell kNone = 0xFFFFFFFFU;

    /// `component` is in row order, examined, and outlives this.
    explicit ComponentCells(const Component& component);

    Cell count() const { return static_cast<Cell>(m_above.size()); }
    /// dZ in the direction of the change: positive where the ground rose in a fill or sank in a cut; metres.
    float change(Cell cell) const { return m_sign * m_component.heights[cell]; }

    Cell left(Cell cell) const { return m_ends[cell] & First ? kNone : cell - 1; }
    Cell right(Cell cell) const { return m_ends[cell] & Last ? kNone : cell + 1; }
    Cell above(Cell cell) const { return m_above[cell]; }
    Cell below(Cell cell) const { return m_below[cell]; }

    /// Calls `visit` with each of the up to four neighbours.
    template<class Visit>
    void forNeighbours(Cell cell, const Visit& visit) const {
        for (const Cell neighbour : {above(cell), left(cell), right(cell), below(cell)}) {
            if (neighbour != kNone) {
                visit(neighbour);
            }
        }
    }
    int neighbours(Cell cell) const;

private:
    enum End : std::uint8_t { First = 1, Last = 2 };

    void link(const Run& upper, const Run& lower);

    const Component& m_component;
    float m_sign;
    std::vector<std::uint8_t> m_ends; ///< whether a cell is the first or last of its run
    std::vector<Cell> m_above;
    std::vector<Cell> m_below;
};

} // namespace detect
