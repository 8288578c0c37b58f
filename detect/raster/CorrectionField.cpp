#include "detect/raster/CorrectionField.h"

#include "detect/raster/CubicWeights.h"

#include <algorithm>
#include <cmath>

namespace detect {

CorrectionField::CorrectionField(const Nodes& nodes, std::vector<float> metres)
    : m_nodes(nodes), m_metres(std::move(metres)) {}

/// Beyond the outermost nodes these stand for those that are not there.
CorrectionField::Weights CorrectionField::weightsAt(int cell, int firstNode, int nodeCount) const {
    const double place = (cell + 0.5) / m_nodes.spacing - 0.5 - firstNode;
    const double within = std::clamp(place, 0.0, static_cast<double>(nodeCount - 1));
    const int before = static_cast<int>(std::floor(within));
    Weights weights;
    weights.shares = cubicWeights(within - before);
    for (int i = 0; i < 4; ++i) {
        weights.nodes[static_cast<std::size_t>(i)] = std::clamp(before - 1 + i, 0, nodeCount - 1);
    }
    return weights;
}

double CorrectionField::at(int column, int row) const {
    float height = 0.0F;
    addTo({column, row, 1, 1}, &height);
    return static_cast<double>(height);
}

void CorrectionField::addTo(const CellWindow& window, float* heights) const {
    std::vector<float> line(static_cast<std::size_t>(m_nodes.columns));
    std::vector<Weights> across;
    across.reserve(static_cast<std::size_t>(window.columns));
    for (int column = window.column; column < window.column + window.columns; ++column) {
        across.push_back(weightsAt(column, m_nodes.firstColumn, m_nodes.columns));
    }
    const int firstNode = across.front().nodes.front();
    const int lastNode = across.back().nodes.back();
    for (int row = 0; row < window.rows; ++row) {
        const Weights down = weightsAt(window.row + row, m_nodes.firstRow, m_nodes.rows);
        for (int node = firstNode; node <= lastNode; ++node) {
            float sum = 0.0F;
            for (std::size_t i = 0; i < 4; ++i) {
                sum += down.shares[i] * m_metres[static_cast<std::size_t>(down.nodes[i]) *
                                                     static_cast<std::size_t>(m_nodes.columns) +
                                                 static_cast<std::size_t>(node)];
            }
            line[static_cast<std::size_t>(node)] = sum;
        }
        float* to = heights + std::int64_t{row} * window.columns;
        for (const Weights& w : across) {
            *to++ += w.shares[0] * line[static_cast<std::size_t>(w.nodes[0])] +
                     w.shares[1] * line[static_cast<std::size_t>(w.nodes[1])] +
                     w.shares[2] * line[static_cast<std::size_t>(w.nodes[2])] +
                     w.shares[3] * line[static_cast<std::size_t>(w.nodes[3])];
        }
    }
}

} // namespace detect
