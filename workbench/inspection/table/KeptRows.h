#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace inspection {

class AnomalyFilter;
class AnomalyTableView;

/// The selected rows of the table and the current one, while rows change, come and go. Meanwhile nothing is selected: a
/// selection that follows the rows by itself takes long where it is large. GUI thread.
class KeptRows {
public:
    /// Both must outlive it; `rows` are the table's.
    KeptRows(AnomalyTableView& table, const AnomalyFilter& rows);

    /// Selects those that are still shown. Where the table has no current row any more, that is the one from before, the
    /// next one below it that is still shown, or the next above it.
    void restore() const;

private:
    using Rows = std::unordered_map<std::int64_t, int>; ///< shown rows by the anomaly's id

    void restoreCurrent(const Rows& rows) const;

    AnomalyTableView& m_table;
    const AnomalyFilter& m_rows;
    const int m_current;                   ///< -1 where there was none
    const std::vector<std::int64_t> m_ids; ///< of all rows that were shown
    std::vector<std::int64_t> m_selected;
};

} // namespace inspection
