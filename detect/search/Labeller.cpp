#include "detect/search/Labeller.h"

#include <algorithm>
#include <utility>

namespace detect {

namespace {

constexpr std::uint32_t kNone = 0xFFFFFFFFU;

/// True when a measured run of this sign, not a gap, covers the column. `from` moves right with the columns
/// asked.
bool covers(const std::vector<Run>& runs, std::size_t& from, std::int32_t column, std::int8_t sign) {
    while (from < runs.size() && runs[from].end <= column) {
        ++from;
    }
    return from < runs.size() && runs[from].begin <= column && runs[from].sign == sign && !runs[from].gap;
}

} // namespace

void Labeller::add(const Run& run, const float* heights) {
    if (run.row != m_arriving.row) {
        closeRow();
        m_arriving.row = run.row;
    }
    m_arriving.measured.append(run, heights);
}

void Labeller::finish() {
    closeRow();
    closeRow();
    closeRow();
}

std::int32_t Labeller::firstOpenRow() const {
    std::int32_t first = m_arriving.row;
    if (!m_current.measured.runs.empty()) {
        first = std::min(first, m_current.row);
    }
    for (const Labelled& labelled : m_components) {
        if (labelled.component.cells > 0) {
            first = std::min(first, labelled.firstRow);
        }
    }
    return first;
}

/// Moves every row one place up: the row below is complete, so the current one can be connected.
void Labeller::closeRow() {
    if (!m_current.measured.runs.empty()) {
        fillGaps(m_above, m_current, m_arriving);
        connect(m_above, m_current);
    }
    settle(m_above, m_current);
    std::swap(m_above, m_current);
    std::swap(m_current, m_arriving);
    m_arriving.row = -2;
    m_arriving.measured.runs.clear();
    m_arriving.measured.heights.clear();
    m_arriving.members.clear();
    m_arriving.components.clear();
}

void Labeller::fillGaps(const Row& above, Row& row, const Row& below) const {
    static const std::vector<Run> nothing;
    const std::vector<Run>& upper = above.row + 1 == row.row ? above.measured.runs : nothing;
    const std::vector<Run>& lower = below.row == row.row + 1 ? below.measured.runs : nothing;
    const bool aboveUnknown = row.row == m_open.firstRow;
    const bool belowUnknown = row.row == m_open.lastRow;
    std::size_t fromUpper = 0;
    std::size_t fromLower = 0;
    for (std::size_t i = 0; i < row.measured.runs.size(); ++i) {
        const Run& run = row.measured.runs[i];
        if (!run.gap ||
            (hasSidesOfItsSign(row, i) && (aboveUnknown || covers(upper, fromUpper, run.begin, run.sign)) &&
             (belowUnknown || covers(lower, fromLower, run.begin, run.sign)))) {
            row.members.push_back(run);
        }
    }
}

/// A gap found on the edge of a block does not know its neighbour beyond.
bool Labeller::hasSidesOfItsSign(const Row& row, std::size_t gap) const {
    const std::vector<Run>& runs = row.measured.runs;
    const Run& run = runs[gap];
    const auto isSide = [&run](const Run& other) { return other.sign == run.sign && !other.gap; };
    bool left = run.begin == m_open.begin;
    for (std::size_t i = gap; !left && i > 0 && runs[i - 1].end >= run.begin; --i) {
        left = runs[i - 1].end == run.begin && isSide(runs[i - 1]);
    }
    bool right = run.end == m_open.end;
    for (std::size_t i = gap + 1; !right && i < runs.size() && runs[i].begin <= run.end; ++i) {
        right = runs[i].begin == run.end && isSide(runs[i]);
    }
    return left && right;
}

void Labeller::connect(const Row& above, Row& row) {
    const std::vector<Run>& upper = above.members;
    const bool neighbours = above.row + 1 == row.row;
    std::size_t a = 0;
    for (std::size_t b = 0; b < row.members.size(); ++b) {
        const Run& run = row.members[b];
        std::uint32_t component = kNone;
        const auto reach = [&](std::uint32_t other) {
            component = component == kNone ? root(other) : join(component, other);
        };
        if (b > 0 && row.members[b - 1].end == run.begin && row.members[b - 1].sign == run.sign) {
            reach(row.components[b - 1]);
        }
        while (neighbours && a < upper.size() && upper[a].end <= run.begin) {
            ++a;
        }
        for (std::size_t i = a; neighbours && i < upper.size() && upper[i].begin < run.end; ++i) {
            if (upper[i].sign == run.sign) {
                reach(above.components[i]);
            }
        }
        if (component == kNone) {
            component = open(run.row);
        }
        m_components[component].component.add(run, row.measured.heightsOf(run));
        m_components[component].lastRow = run.row;
        row.components.push_back(component);
    }
    for (std::uint32_t& component : row.components) {
        component = root(component);
    }
}

/// Hands over the components of the row above that did not reach this one, and forgets the row above.
void Labeller::settle(Row& above, const Row& row) {
    std::vector<std::uint32_t>& ended = above.components;
    for (std::uint32_t& component : ended) {
        component = root(component);
    }
    std::sort(ended.begin(), ended.end());
    ended.erase(std::unique(ended.begin(), ended.end()), ended.end());
    for (const std::uint32_t component : ended) {
        if (m_components[component].lastRow != row.row) {
            handOver(component);
        }
    }
    // Nothing refers to the joined ones any more.
    m_free.insert(m_free.end(), m_joined.begin(), m_joined.end());
    m_joined.clear();
    above.measured.runs.clear();
    above.measured.heights.clear();
    above.members.clear();
    above.components.clear();
}

std::uint32_t Labeller::open(std::int32_t row) {
    std::uint32_t component = static_cast<std::uint32_t>(m_components.size());
    if (m_free.empty()) {
        m_components.emplace_back();
    } else {
        component = m_free.back();
        m_free.pop_back();
    }
    m_components[component].joinedTo = component;
    m_components[component].firstRow = row;
    return component;
}

std::uint32_t Labeller::root(std::uint32_t component) {
    while (m_components[component].joinedTo != component) {
        std::uint32_t& up = m_components[component].joinedTo;
        up = m_components[up].joinedTo;
        component = up;
    }
    return component;
}

std::uint32_t Labeller::join(std::uint32_t a, std::uint32_t b) {
    a = root(a);
    b = root(b);
    if (a == b) {
        return a;
    }
    if (m_components[a].component.cells < m_components[b].component.cells) {
        std::swap(a, b);
    }
    Labelled& kept = m_components[a];
    Labelled& joined = m_components[b];
    kept.component.takeOver(joined.component);
    kept.firstRow = std::min(kept.firstRow, joined.firstRow);
    kept.lastRow = std::max(kept.lastRow, joined.lastRow);
    joined.joinedTo = a;
    m_joined.push_back(b);
    return a;
}

void Labeller::handOver(std::uint32_t component) {
    Component& finished = m_components[component].component;
    m_receiver(finished);
    finished.clear();
    m_free.push_back(component);
}

} // namespace detect
