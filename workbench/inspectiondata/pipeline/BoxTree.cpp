#include "workbench/inspectiondata/pipeline/BoxTree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <queue>
#include <utility>

namespace inspection {

namespace {

constexpr std::size_t kBelow = 8; ///< boxes within one of the next level

struct Waiting {
    double least = 0.0;
    std::size_t level = 0;
    std::size_t index = 0;

    /// The queue gives out the greatest.
    bool operator<(const Waiting& other) const { return least > other.least; }
};

} // namespace

double distanceBetween(const OGREnvelope& one, const OGREnvelope& other) {
    const double x = std::max({0.0, one.MinX - other.MaxX, other.MinX - one.MaxX});
    const double y = std::max({0.0, one.MinY - other.MaxY, other.MinY - one.MaxY});
    return std::hypot(x, y);
}

BoxTree::BoxTree(std::vector<OGREnvelope> boxes) {
    if (boxes.empty()) {
        return;
    }
    m_levels.push_back(std::move(boxes));
    while (m_levels.back().size() > 1) {
        const std::vector<OGREnvelope>& below = m_levels.back();
        std::vector<OGREnvelope> level((below.size() + kBelow - 1) / kBelow);
        for (std::size_t i = 0; i < below.size(); ++i) {
            level[i / kBelow].Merge(below[i]);
        }
        m_levels.push_back(std::move(level));
    }
}

void BoxTree::nearestFirst(const OGREnvelope& from, const Measure& measure) const {
    std::priority_queue<Waiting> waiting;
    if (!isEmpty()) {
        waiting.push({0.0, m_levels.size() - 1, 0});
    }
    double nearest = std::numeric_limits<double>::infinity();
    while (!waiting.empty() && waiting.top().least <= nearest) {
        const Waiting next = waiting.top();
        waiting.pop();
        if (next.level == 0) {
            nearest = measure(next.index, next.least);
            continue;
        }
        const std::vector<OGREnvelope>& below = m_levels[next.level - 1];
        const std::size_t end = std::min(below.size(), (next.index + 1) * kBelow);
        for (std::size_t i = next.index * kBelow; i < end; ++i) {
            waiting.push({distanceBetween(from, below[i]), next.level - 1, i});
        }
    }
}

} // namespace inspection
