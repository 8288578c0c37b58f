#include "workbench/inspectiondata/compute/SearchGroups.h"

#include <algorithm>
#include <limits>

namespace inspection {

namespace {

using detect::Box;

/// What opening and closing the rasters of one more search costs; measured.
constexpr double kCellsOfOneMoreSearch = 4.0e6;
/// The raster of differences of a group is one file, which stays as long as one of its stations needs it.
constexpr double kMostCells = 6.4e7;

Box around(const Box& a, const Box& b) {
    return {std::min(a.xMin, b.xMin), std::min(a.yMin, b.yMin), std::max(a.xMax, b.xMax),
            std::max(a.yMax, b.yMax)};
}

double areaOf(const Box& box) {
    return (box.xMax - box.xMin) * (box.yMax - box.yMin);
}

/// The cheapest division of the windows before each index, by its last group (Bellman 1957).
class Division {
public:
    Division(const std::vector<std::optional<Box>>& windows, double cellArea)
        : m_windows(windows), m_cellArea(cellArea), m_costs(windows.size() + 1, 0.0),
          m_last(windows.size() + 1) {
        for (std::size_t end = 1; end <= windows.size(); ++end) {
            chooseLast(end);
        }
    }

    std::vector<SearchGroup> groups() const {
        std::vector<SearchGroup> groups;
        for (std::size_t end = m_windows.size(); end > 0; end = groups.back().first) {
            groups.push_back(m_last[end]);
        }
        std::reverse(groups.begin(), groups.end());
        return groups;
    }

private:
    void chooseLast(std::size_t end) {
        m_costs[end] = std::numeric_limits<double>::infinity();
        std::optional<Box> box = m_windows[end - 1];
        for (std::size_t first = end; first-- > 0;) {
            const bool isOne = first + 1 == end;
            if (!isOne && (!box || !m_windows[first])) {
                return;
            }
            box = isOne ? box : around(*box, *m_windows[first]);
            const double cells = box ? areaOf(*box) / m_cellArea : 0.0;
            if (!isOne && cells > kMostCells) {
                return;
            }
            const double cost = m_costs[first] + cells + kCellsOfOneMoreSearch;
            if (cost < m_costs[end]) {
                m_costs[end] = cost;
                m_last[end] = {first, end - first, box, cells};
            }
        }
    }

    const std::vector<std::optional<Box>>& m_windows;
    const double m_cellArea;
    std::vector<double> m_costs;
    std::vector<SearchGroup> m_last;
};

} // namespace

std::vector<SearchGroup> searchGroups(const std::vector<std::optional<detect::Box>>& windows,
                                      double cellArea) {
    return Division(windows, cellArea).groups();
}

} // namespace inspection
