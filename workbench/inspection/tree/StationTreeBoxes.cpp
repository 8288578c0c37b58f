// The tree's check boxes, one by one and together; see StationTree.cpp for its entries.

#include "workbench/inspection/tree/StationTree.h"

#include <QSignalBlocker>

#include <algorithm>
#include <set>

namespace inspection {

void StationTree::checkListed(QTreeWidgetItem& group, int first, int last, Qt::CheckState state) {
    const QModelIndex place = indexFromItem(&group);
    Entries listed;
    for (int row = first; row <= last; ++row) {
        if (!isRowHidden(row, place)) {
            listed.push_back(group.child(row));
        }
    }
    setChecks(group, listed, state);
}

void StationTree::check(const std::vector<std::uint32_t>& ids) {
    const std::set<std::uint32_t> wanted(ids.begin(), ids.end());
    Entries entries;
    for (int row = 0; row < m_stations->childCount(); ++row) {
        QTreeWidgetItem* entry = m_stations->child(row);
        if (wanted.count(entry->data(NameColumn, kIdRole).toUInt()) != 0) {
            entries.push_back(entry);
        }
    }
    setChecks(*m_stations, entries, Qt::Checked);
}

void StationTree::checkAllOf(QTreeWidgetItem& group, Qt::CheckState state) {
    Entries entries;
    for (int row = 0; row < group.childCount(); ++row) {
        entries.push_back(group.child(row));
    }
    setChecks(group, entries, state);
}

// The view hears of all at once: for each single one it would ask all entries of the group for its box.
void StationTree::setChecks(const QTreeWidgetItem& group, const Entries& entries, Qt::CheckState state) {
    Entries changed;
    {
        const QSignalBlocker quietModel(model());
        for (QTreeWidgetItem* entry : entries) {
            if (entry->checkState(NameColumn) != state) {
                entry->setCheckState(NameColumn, state);
                changed.push_back(entry);
            }
        }
    }
    if (changed.empty()) {
        return;
    }
    {
        const QSignalBlocker quiet(this);
        const QModelIndex place = indexFromItem(&group, NameColumn);
        QAbstractItemModel& boxes = *model();
        emit boxes.dataChanged(place, place);
        emit boxes.dataChanged(indexFromItem(changed.front()), indexFromItem(changed.back()));
    }
    emit checkedTogether(changed);
}

void StationTree::checkAll() {
    checkStations(Qt::Checked);
}

void StationTree::checkNone() {
    checkStations(Qt::Unchecked);
}

void StationTree::checkStations(Qt::CheckState state) {
    checkListed(*m_stations, 0, m_stations->childCount() - 1, state);
    m_lastChecked = nullptr;
}

void StationTree::extendCheck(QTreeWidgetItem* item, int column) {
    if (column != NameColumn || item->type() == Root) {
        return;
    }
    QTreeWidgetItem* from = m_lastChecked;
    m_lastChecked = item;
    if (!m_shiftHeld || !from || from->parent() != item->parent()) {
        return;
    }
    QTreeWidgetItem* group = item->parent();
    const auto [first, last] = std::minmax({group->indexOfChild(from), group->indexOfChild(item)});
    checkListed(*group, first, last, item->checkState(NameColumn));
}

} // namespace inspection
