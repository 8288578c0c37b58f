#include "samples/Relief.h"

#include "samples/Noise.h"
#include "samples/Parallel.h"

#include <queue>

namespace samples {

namespace {
constexpr double kStepMetres = 8.0;
constexpr double kMarginMetres = 160.0;
constexpr double kSummitMetres = 456.0;
constexpr int kIterations = 70;

/// One landscape that erodes; cells by index, row after row.
class Landscape {
public:
    explicit Landscape(const Site& site);
    void grow();
    Field heights() const;

private:
    void markRiver(const Site& site);
    void routeWater();
    void accumulateWater();
    void raiseAndIncise();
    void creep();

    int index(int column, int row) const { return row * m_lattice.columns + column; }

    Lattice m_lattice;
    std::vector<double> m_height;
    std::vector<double> m_uplift;
    std::vector<char> m_isRiver;
    std::vector<int> m_receiver;
    std::vector<double> m_distance; ///< to the receiver, metres
    std::vector<double> m_area;     ///< drained, cells
    std::vector<int> m_upstreamOrder;
};

Landscape::Landscape(const Site& site) : m_lattice(Extent::lattice(kMarginMetres, kStepMetres)) {
    const auto count = static_cast<std::size_t>(m_lattice.columns) * static_cast<std::size_t>(m_lattice.rows);
    m_height.assign(count, 0.0);
    m_uplift.assign(count, 0.0);
    m_isRiver.assign(count, 0);
    m_receiver.assign(count, -1);
    m_distance.assign(count, kStepMetres);
    m_area.assign(count, 1.0);
    markRiver(site);
    forEachNode(m_lattice, [&](int c, int r, double x, double y) {
        const double fromValley = std::fabs(x - (665.0 + (256.0 - y) * 0.22));
        const auto noise = static_cast<double>(fractalNoise(
            static_cast<float>(x / 300.0), static_cast<float>(y / 300.0), site.noiseSeed(10), 3));
        const double valleySide =
            x < 665.0 ? 0.62 * smoothStep(90.0, 560.0, fromValley) : smoothStep(160.0, 1150.0, fromValley);
        const auto i = static_cast<std::size_t>(index(c, r));
        m_uplift[i] = 0.12 + valleySide * (1.0 + 0.45 * noise);
        if (!m_isRiver[i]) {
            m_height[i] = 0.02 * fromValley + 1.2 * (noise + 1.0);
        }
    });
}

/// Cells at the water's edge keep their height: everything else drains to them. Height 0 is the water level.
void Landscape::markRiver(const Site& site) {
    for (const double along : stepsFrom(0.0, site.river.length(), kStepMetres / 2)) {
        const Point place = site.river.at(along);
        const int column = static_cast<int>(std::lround((place.x - m_lattice.west) / kStepMetres));
        const int row = static_cast<int>(std::lround((place.y - m_lattice.south) / kStepMetres));
        if (column >= 0 && row >= 0 && column < m_lattice.columns && row < m_lattice.rows) {
            m_isRiver[static_cast<std::size_t>(index(column, row))] = 1;
        }
    }
}

void Landscape::routeWater() {
    using Entry = std::pair<double, int>; // filled height, cell
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> open;
    std::fill(m_receiver.begin(), m_receiver.end(), -1);
    m_upstreamOrder.clear();
    for (std::size_t i = 0; i < m_height.size(); ++i) {
        if (m_isRiver[i]) {
            m_receiver[i] = static_cast<int>(i);
            open.emplace(m_height[i], static_cast<int>(i));
        }
    }
    while (!open.empty()) {
        const auto [level, cell] = open.top();
        open.pop();
        m_upstreamOrder.push_back(cell);
        const int column = cell % m_lattice.columns;
        const int row = cell / m_lattice.columns;
        for (int dr = -1; dr <= 1; ++dr) {
            for (int dc = -1; dc <= 1; ++dc) {
                const int c = column + dc;
                const int r = row + dr;
                if (c < 0 || r < 0 || c >= m_lattice.columns || r >= m_lattice.rows) {
                    continue;
                }
                const auto neighbour = static_cast<std::size_t>(index(c, r));
                if (m_receiver[neighbour] >= 0) {
                    continue;
                }
                m_receiver[neighbour] = cell;
                m_distance[neighbour] = dc != 0 && dr != 0 ? kStepMetres * 1.4142135623730951 : kStepMetres;
                open.emplace(std::max(level, m_height[neighbour]), static_cast<int>(neighbour));
            }
        }
    }
}

void Landscape::accumulateWater() {
    std::fill(m_area.begin(), m_area.end(), 1.0);
    for (auto cell = m_upstreamOrder.rbegin(); cell != m_upstreamOrder.rend(); ++cell) {
        const auto i = static_cast<std::size_t>(*cell);
        if (!m_isRiver[i]) {
            m_area[static_cast<std::size_t>(m_receiver[i])] += m_area[i];
        }
    }
}

void Landscape::raiseAndIncise() {
    constexpr double kErodibility = 0.62;
    for (const int cell : m_upstreamOrder) {
        const auto i = static_cast<std::size_t>(cell);
        if (m_isRiver[i]) {
            continue;
        }
        const double factor = kErodibility * std::sqrt(m_area[i]) / m_distance[i];
        const double below = m_height[static_cast<std::size_t>(m_receiver[i])];
        const double raised = m_height[i] + m_uplift[i];
        m_height[i] = raised > below ? (raised + factor * below) / (1.0 + factor) : raised;
    }
}

void Landscape::creep() {
    constexpr double kShare = 0.60;
    std::vector<double> before = m_height;
    for (int r = 0; r < m_lattice.rows; ++r) {
        for (int c = 0; c < m_lattice.columns; ++c) {
            const auto i = static_cast<std::size_t>(index(c, r));
            if (m_isRiver[i]) {
                continue;
            }
            const auto neighbour = [&](int dc, int dr) {
                const int column = std::clamp(c + dc, 0, m_lattice.columns - 1);
                const int row = std::clamp(r + dr, 0, m_lattice.rows - 1);
                return before[static_cast<std::size_t>(index(column, row))];
            };
            const double mean =
                0.25 * (neighbour(-1, 0) + neighbour(1, 0) + neighbour(0, -1) + neighbour(0, 1));
            m_height[i] += kShare * (mean - before[i]);
        }
    }
}

void Landscape::grow() {
    for (int i = 0; i < kIterations; ++i) {
        routeWater();
        accumulateWater();
        raiseAndIncise();
        creep();
    }
}

Field Landscape::heights() const {
    constexpr double kWaterMetres = 407.5;
    const double highest = *std::max_element(m_height.begin(), m_height.end());
    const double scale = (kSummitMetres - kWaterMetres) / highest;
    Field field(m_lattice);
    forEachNode(m_lattice, [&](int c, int r, double, double) {
        field.at(c, r) =
            static_cast<float>(kWaterMetres + scale * m_height[static_cast<std::size_t>(index(c, r))]);
    });
    return field;
}
} // namespace

Field growRelief(const Site& site) {
    Landscape landscape(site);
    landscape.grow();
    return landscape.heights();
}

} // namespace samples
