#include "detect/Labeller.h"

#include <algorithm>
#include <utility>

namespace detect {

namespace {

constexpr std::size_t keptCapacity = 64;
constexpr std::uint32_t none = 0xFFFFFFFFU;

/// True when a measured run of this sign, not a gap, covers the column. `from` moves right with the columns
/// asked.
bool covers(const std::vector<Run>& runs, std::size_t& from, std::int32_t column, std::int8_t sign) {
    while (from < runs.size() && runs[from].end <= column)
        ++from;
    return from < runs.size() && runs[from].begin <= column && runs[from].sign == sign && !runs[from].gap;
}

/// Row order, with runs that lie side by side (around a filled gap) made one.
void sortAndJoin(std::vector<Run>& runs) {
    std::sort(runs.begin(), runs.end(),
              [](const Run& a, const Run& b) { return a.row != b.row ? a.row < b.row : a.begin < b.begin; });
    std::size_t last = 0;
    for (std::size_t i = 1; i < runs.size(); ++i) {
        Run& before = runs[last];
        const Run& run = runs[i];
        if (before.row != run.row || before.end != run.begin) {
            runs[++last] = run;
            continue;
        }
        before.end = run.end;
        before.lowest = std::min(before.lowest, run.lowest);
        before.highest = std::max(before.highest, run.highest);
        before.raised += run.raised;
        before.sunk += run.sunk;
    }
    runs.resize(last + 1);
}

} // namespace

void Labeller::add(const Run& run) {
    if (run.row != m_arriving.row) {
        closeRow();
        m_arriving.row = run.row;
    }
    m_arriving.measured.push_back(run);
}

void Labeller::finish() {
    closeRow();
    closeRow();
    closeRow();
}

/// Moves every row one place up: the row below is complete, so the current one can be connected.
void Labeller::closeRow() {
    if (!m_current.measured.empty()) {
        fillGaps(m_above, m_current, m_arriving);
        connect(m_above, m_current);
    }
    settle(m_above, m_current);
    std::swap(m_above, m_current);
    std::swap(m_current, m_arriving);
    m_arriving.row = -2;
    m_arriving.measured.clear();
    m_arriving.members.clear();
    m_arriving.components.clear();
}

void Labeller::fillGaps(const Row& above, Row& row, const Row& below) const {
    static const std::vector<Run> nothing;
    const std::vector<Run>& upper = above.row + 1 == row.row ? above.measured : nothing;
    const std::vector<Run>& lower = below.row == row.row + 1 ? below.measured : nothing;
    std::size_t fromUpper = 0;
    std::size_t fromLower = 0;
    for (const Run& run : row.measured)
        if (!run.gap ||
            (covers(upper, fromUpper, run.begin, run.sign) && covers(lower, fromLower, run.begin, run.sign)))
            row.members.push_back(run);
}

void Labeller::connect(const Row& above, Row& row) {
    const std::vector<Run>& upper = above.members;
    const bool neighbours = above.row + 1 == row.row;
    std::size_t a = 0;
    for (std::size_t b = 0; b < row.members.size(); ++b) {
        const Run& run = row.members[b];
        std::uint32_t component = none;
        const auto reach = [&](std::uint32_t other) {
            component = component == none ? root(other) : join(component, other);
        };
        if (b > 0 && row.members[b - 1].end == run.begin && row.members[b - 1].sign == run.sign)
            reach(row.components[b - 1]);
        while (neighbours && a < upper.size() && upper[a].end <= run.begin)
            ++a;
        for (std::size_t i = a; neighbours && i < upper.size() && upper[i].begin < run.end; ++i)
            if (upper[i].sign == run.sign)
                reach(above.components[i]);
        if (component == none)
            component = open();
        m_components[component].runs.push_back(run);
        m_components[component].lastRow = run.row;
        row.components.push_back(component);
    }
    for (std::uint32_t& component : row.components)
        component = root(component);
}

/// Hands over the components of the row above that did not reach this one, and forgets the row above.
void Labeller::settle(Row& above, const Row& row) {
    std::vector<std::uint32_t>& ended = above.components;
    for (std::uint32_t& component : ended)
        component = root(component);
    std::sort(ended.begin(), ended.end());
    ended.erase(std::unique(ended.begin(), ended.end()), ended.end());
    for (const std::uint32_t component : ended)
        if (m_components[component].lastRow != row.row)
            handOver(component);
    // Nothing refers to the joined ones any more.
    m_free.insert(m_free.end(), m_joined.begin(), m_joined.end());
    m_joined.clear();
    above.measured.clear();
    above.members.clear();
    above.components.clear();
}

std::uint32_t Labeller::open() {
    std::uint32_t component = static_cast<std::uint32_t>(m_components.size());
    if (m_free.empty()) {
        m_components.emplace_back();
    } else {
        component = m_free.back();
        m_free.pop_back();
    }
    m_components[component].runs.clear();
    m_components[component].joinedTo = component;
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
    if (a == b)
        return a;
    if (m_components[a].runs.size() < m_components[b].runs.size())
        std::swap(a, b);
    Component& kept = m_components[a];
    Component& joined = m_components[b];
    kept.runs.insert(kept.runs.end(), joined.runs.begin(), joined.runs.end());
    kept.lastRow = std::max(kept.lastRow, joined.lastRow);
    joined.runs.clear();
    joined.joinedTo = a;
    m_joined.push_back(b);
    return a;
}

void Labeller::handOver(std::uint32_t component) {
    std::vector<Run>& runs = m_components[component].runs;
    sortAndJoin(runs);
    m_receiver(runs);
    if (runs.capacity() > keptCapacity)
        std::vector<Run>().swap(runs);
    m_free.push_back(component);
}

} // namespace detect
