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
    const std::vector<Stretch> stretches = stretchesOf(window);
    const int firstNode = stretches.front().nodes.front();
    const int lastNode = stretches.back().nodes.back();
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
        for (const Stretch& stretch : stretches) {
            const float a = line[static_cast<std::size_t>(stretch.nodes[0])];
            const float b = line[static_cast<std::size_t>(stretch.nodes[1])];
            const float c = line[static_cast<std::size_t>(stretch.nodes[2])];
            const float d = line[static_cast<std::size_t>(stretch.nodes[3])];
            const std::size_t cells = stretch.shares[0].size();
            for (std::size_t i = 0; i < cells; ++i) {
                to[i] += stretch.shares[0][i] * a + stretch.shares[1][i] * b + stretch.shares[2][i] * c +
                         stretch.shares[3][i] * d;
            }
            to += cells;
        }
    }
}

/// The columns of a window, those together that lean on the same nodes.
std::vector<CorrectionField::Stretch> CorrectionField::stretchesOf(const CellWindow& window) const {
    std::vector<Stretch> stretches;
    for (int column = window.column; column < window.column + window.columns; ++column) {
        const Weights weights = weightsAt(column, m_nodes.firstColumn, m_nodes.columns);
        if (stretches.empty() || stretches.back().nodes != weights.nodes) {
            stretches.emplace_back().nodes = weights.nodes;
        }
        for (std::size_t i = 0; i < weights.shares.size(); ++i) {
            stretches.back().shares[i].push_back(weights.shares[i]);
        }
    }
    return stretches;
}

} // namespace detect
