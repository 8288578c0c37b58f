#include "detect/search/RowMerger.h"

#include <limits>

namespace detect {

void RowMerger::add(MeasuredRuns block) {
    m_waiting.push_back(std::move(block));
    if (m_waiting.size() < m_blocksAcross) {
        return;
    }
    std::vector<std::size_t> next(m_waiting.size(), 0);
    const auto waits = [&](std::size_t i) { return next[i] < m_waiting[i].runs.size(); };
    for (;;) {
        std::int32_t row = std::numeric_limits<std::int32_t>::max();
        for (std::size_t i = 0; i < m_waiting.size(); ++i) {
            if (waits(i)) {
                row = std::min(row, m_waiting[i].runs[next[i]].row);
            }
        }
        if (row == std::numeric_limits<std::int32_t>::max()) {
            break;
        }
        for (std::size_t i = 0; i < m_waiting.size(); ++i) {
            const MeasuredRuns& from = m_waiting[i];
            for (; waits(i) && from.runs[next[i]].row == row; ++next[i]) {
                const Run& run = from.runs[next[i]];
                m_labeller.add(run, from.heightsOf(run));
            }
        }
    }
    m_waiting.clear();
}

} // namespace detect
