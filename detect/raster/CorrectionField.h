#pragma once

#include "detect/heights/Grid.h"

#include <vector>

namespace detect {

/// A smooth surface of heights over the old grid, given at nodes in the middles of square blocks of cells, and by
/// cubic convolution (Keys 1981) between them; level beyond the outermost nodes. Safe to read from several threads.
class CorrectionField {
public:
    /// Where the nodes are: block (column, row) spans `spacing` cells from spacing * column on, blocks being
    /// counted from the corner of the old grid.
    struct Nodes {
        int spacing = 1; ///< cells
        int firstColumn = 0;
        int firstRow = 0;
        int columns = 0;
        int rows = 0;

        std::size_t count() const {
            return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
        }
    };

    /// `metres`: what is added to the new heights at the nodes, row by row.
    CorrectionField(const Nodes& nodes, std::vector<float> metres);

    const Nodes& nodes() const { return m_nodes; }
    const std::vector<float>& metres() const { return m_metres; }
    /// At the centre of a cell.
    double at(int column, int row) const;
    /// Adds the field to packed rows of heights for a window of old cells. What a cell gets depends on its own
    /// column and row only. Missing heights (NaN) stay missing.
    void addTo(const CellWindow& window, float* heights) const;

private:
    struct Weights {
        std::array<int, 4> nodes{}; ///< columns or rows of the nodes
        std::array<float, 4> shares{};
    };

    /// Columns beside each other that lean on the same nodes, with the shares of each.
    struct Stretch {
        std::array<int, 4> nodes{};
        std::array<std::vector<float>, 4> shares;
    };

    Weights weightsAt(int cell, int firstNode, int nodeCount) const;
    std::vector<Stretch> stretchesOf(const CellWindow& window) const;

    Nodes m_nodes;
    std::vector<float> m_metres;
};

} // namespace detect
