#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace samples {

/// A rectangle of values, row after row, both counted from 0. Nothing is checked; reading from several
/// threads is safe, and so is writing where each has rows of its own.
template<class T>
class Grid {
public:
    Grid() = default;
    Grid(int columns, int rows, T value = T())
        : m_columns(columns), m_rows(rows),
          m_cells(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), value) {}

    int columns() const { return m_columns; }
    int rows() const { return m_rows; }
    /// The first value of a row; the others and the next rows follow it.
    T* row(int row) {
        return m_cells.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(m_columns);
    }
    const T* row(int row) const {
        return m_cells.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(m_columns);
    }
    /// No check of the bounds, as in row().
    T& at(int column, int rowIndex) { return row(rowIndex)[column]; }
    const T& at(int column, int rowIndex) const { return row(rowIndex)[column]; }
    /// The value of the nearest cell inside.
    const T& clamped(int column, int rowIndex) const {
        return at(std::clamp(column, 0, m_columns - 1), std::clamp(rowIndex, 0, m_rows - 1));
    }

private:
    int m_columns = 0;
    int m_rows = 0;
    std::vector<T> m_cells;
};

/// Where the nodes of a field lie: site coordinates of node (0, 0), rows growing to the north, metres.
struct Lattice {
    double west = 0.0;
    double south = 0.0;
    double stepMetres = 1.0;
    int columns = 0;
    int rows = 0;

    double x(int column) const { return west + column * stepMetres; }
    double y(int row) const { return south + row * stepMetres; }
};

/// A smooth figure known at the nodes of a lattice over the site, which has at least two columns and two rows.
/// Beyond its rim the figure stays what it is there.
class Field {
public:
    Field() = default;
    explicit Field(const Lattice& lattice, float value = 0.0F)
        : m_lattice(lattice), m_nodes(lattice.columns, lattice.rows, value) {}

    /// Where the nodes are; values between them come from the samplers below.
    const Lattice& lattice() const { return m_lattice; }
    float& at(int column, int row) { return m_nodes.at(column, row); }
    float at(int column, int row) const { return m_nodes.at(column, row); }
    float clamped(int column, int row) const { return m_nodes.clamped(column, row); }

    /// Bilinear between the four nodes around (x, y), site coordinates.
    float sample(double x, double y) const {
        const double column =
            std::clamp((x - m_lattice.west) / m_lattice.stepMetres, 0.0, m_lattice.columns - 1.001);
        const double row =
            std::clamp((y - m_lattice.south) / m_lattice.stepMetres, 0.0, m_lattice.rows - 1.001);
        const int c = static_cast<int>(column);
        const int r = static_cast<int>(row);
        const auto shareX = static_cast<float>(column - c);
        const auto shareY = static_cast<float>(row - r);
        const float* low = m_nodes.row(r) + c;
        const float* high = m_nodes.row(r + 1) + c;
        const float southValue = low[0] + (low[1] - low[0]) * shareX;
        const float northValue = high[0] + (high[1] - high[0]) * shareX;
        return southValue + (northValue - southValue) * shareY;
    }

    /// Uniform cubic B-spline over the sixteen nodes around (x, y): smooth to the second derivative, but flatter
    /// than the nodes, through whose values it does not pass.
    float smoothSample(double x, double y) const {
        const double column = (x - m_lattice.west) / m_lattice.stepMetres;
        const double row = (y - m_lattice.south) / m_lattice.stepMetres;
        const int c = static_cast<int>(std::floor(column));
        const int r = static_cast<int>(std::floor(row));
        float weightX[4];
        float weightY[4];
        splineWeights(static_cast<float>(column - c), weightX);
        splineWeights(static_cast<float>(row - r), weightY);
        float sum = 0.0F;
        for (int dy = 0; dy < 4; ++dy) {
            for (int dx = 0; dx < 4; ++dx) {
                sum += weightX[dx] * weightY[dy] * m_nodes.clamped(c + dx - 1, r + dy - 1);
            }
        }
        return sum;
    }

private:
    /// Weights of the four nodes around a place at share `t` between the inner two; their sum is 1.
    static void splineWeights(float t, float* weights) {
        const float u = 1.0F - t;
        weights[0] = u * u * u / 6.0F;
        weights[1] = (3.0F * t * t * t - 6.0F * t * t + 4.0F) / 6.0F;
        weights[2] = (3.0F * u * u * u - 6.0F * u * u + 4.0F) / 6.0F;
        weights[3] = t * t * t / 6.0F;
    }

    Lattice m_lattice;
    Grid<float> m_nodes;
};

} // namespace samples
