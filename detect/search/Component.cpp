#include "detect/search/Component.h"

#include <algorithm>

namespace detect {

namespace {

constexpr std::size_t kEptRuns = 64;
constexpr std::size_t kEptHeights = 1024;

template<class T>
void empty(std::vector<T>& values, std::size_t keptCapacity) {
    values.clear();
    if (values.capacity() > keptCapacity) {
        std::vector<T>().swap(values);
    }
}

void extend(Run& before, const Run& run) {
    before.end = run.end;
    before.gap = before.gap && run.gap;
    before.restless = before.restless || run.restless;
    before.lowest = std::min(before.lowest, run.lowest);
    before.highest = std::max(before.highest, run.highest);
    before.strongest = std::max(before.strongest, run.strongest);
    before.raised += run.raised;
    before.sunk += run.sunk;
    before.variance += run.variance;
    before.explainedByShift += run.explainedByShift;
    before.addCores(run.cores, run.coresBegin, run.coresEnd);
}

} // namespace

void Component::add(const Run& run, const float* runHeights) {
    const bool keepHeights =
        (cells == 0 || isExamined()) && runHeights && cells + run.cells() <= kMostExaminedCells;
    runs.push_back(run);
    runs.back().heights = heights.size();
    cells += run.cells();
    if (keepHeights) {
        heights.insert(heights.end(), runHeights, runHeights + run.cells());
    } else {
        empty(heights, kEptHeights);
    }
}

void Component::takeOver(Component& other) {
    const bool keepHeights = isExamined() && other.isExamined() && cells + other.cells <= kMostExaminedCells;
    const std::size_t first = runs.size();
    runs.insert(runs.end(), other.runs.begin(), other.runs.end());
    for (std::size_t i = first; i < runs.size(); ++i) {
        runs[i].heights += heights.size();
    }
    cells += other.cells;
    if (keepHeights) {
        heights.insert(heights.end(), other.heights.begin(), other.heights.end());
    } else {
        empty(heights, kEptHeights);
    }
    other.clear();
}

void Component::clear() {
    empty(runs, kEptRuns);
    empty(heights, kEptHeights);
    cells = 0;
}

bool Component::touches(const BlockEdges& edges) const {
    return std::any_of(runs.begin(), runs.end(), [&edges](const Run& run) { return edges.touches(run); });
}

void Component::moveTo(MeasuredRuns& other) {
    const bool examined = isExamined();
    for (const Run& run : runs) {
        other.append(run, examined ? heights.data() + run.heights : nullptr);
    }
    clear();
}

void Component::putInRowOrder() {
    std::sort(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.isBefore(b); });
    std::vector<float> ordered;
    const bool examined = isExamined();
    ordered.reserve(heights.size());
    std::size_t kept = 0;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        Run run = runs[i];
        if (examined) {
            const auto from = heights.begin() + static_cast<std::ptrdiff_t>(run.heights);
            run.heights = ordered.size();
            ordered.insert(ordered.end(), from, from + run.cells());
        }
        if (kept > 0 && runs[kept - 1].row == run.row && runs[kept - 1].end == run.begin) {
            extend(runs[kept - 1], run);
        } else {
            runs[kept++] = run;
        }
    }
    runs.resize(kept);
    heights = std::move(ordered);
}

} // namespace detect
