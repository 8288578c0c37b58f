#include "workbench/inspection/table/KeptRows.h"

#include "workbench/inspection/table/AnomalyColumns.h"
#include "workbench/inspection/table/AnomalyFilter.h"
#include "workbench/inspection/table/AnomalyTableView.h"

#include <QSignalBlocker>

#include <algorithm>
#include <iterator>

namespace inspection {

namespace {

std::vector<std::int64_t> shownIds(const AnomalyFilter& rows) {
    std::vector<std::int64_t> ids(static_cast<std::size_t>(rows.rowCount()));
    for (std::size_t row = 0; row < ids.size(); ++row) {
        ids[row] = rows.rowAt(static_cast<int>(row)).anomaly().id;
    }
    return ids;
}

} // namespace

KeptRows::KeptRows(AnomalyTableView& table, const AnomalyFilter& rows)
    : m_table(table), m_rows(rows), m_current(table.currentIndex().row()), m_ids(shownIds(rows)) {
    for (const int row : m_table.selectedRows()) {
        m_selected.push_back(m_ids[static_cast<std::size_t>(row)]);
    }
    const QSignalBlocker quiet(m_table.selectionModel());
    m_table.selectionModel()->clearSelection();
}

void KeptRows::restore() const {
    Rows rows;
    for (const std::int64_t id : shownIds(m_rows)) {
        rows.emplace(id, static_cast<int>(rows.size()));
    }
    std::vector<int> selected;
    for (const std::int64_t id : m_selected) {
        if (const auto row = rows.find(id); row != rows.end()) {
            selected.push_back(row->second);
        }
    }
    m_table.selectOnly(selected);
    restoreCurrent(rows);
}

void KeptRows::restoreCurrent(const Rows& rows) const {
    if (m_current < 0 || m_table.currentIndex().isValid()) {
        return;
    }
    const auto isThere = [&](std::int64_t id) { return rows.count(id) != 0; };
    const auto place = m_ids.begin() + m_current;
    auto kept = std::find_if(place, m_ids.end(), isThere);
    if (kept == m_ids.end()) {
        const auto above = std::find_if(std::make_reverse_iterator(place), m_ids.rend(), isThere);
        kept = above == m_ids.rend() ? m_ids.end() : std::prev(above.base());
    }
    if (kept != m_ids.end()) {
        const QModelIndex index = m_rows.index(rows.at(*kept), AnomalyColumn::Name);
        m_table.selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    }
}

} // namespace inspection
