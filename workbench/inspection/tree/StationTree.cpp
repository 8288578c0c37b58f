#include "workbench/inspection/tree/StationTree.h"

#include "host/inspection/Records.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QSet>
#include <QStyledItemDelegate>

namespace inspection {

namespace {

/// Says when an editor opens.
class NameDelegate : public QStyledItemDelegate {
public:
    explicit NameDelegate(StationTree& tree) : QStyledItemDelegate(&tree), m_tree(tree) {}
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override {
        QWidget* editor = QStyledItemDelegate::createEditor(parent, option, index);
        emit m_tree.editorOpened(editor);
        return editor;
    }

private:
    StationTree& m_tree;
};

/// Its box sets those of its entries together; an item of the library would set one after the other.
class Group : public QTreeWidgetItem {
public:
    explicit Group(StationTree& tree) : QTreeWidgetItem(&tree, StationTree::Root), m_tree(tree) {}

    void setData(int column, int role, const QVariant& value) override {
        const bool isBox = column == StationTree::NameColumn && role == Qt::CheckStateRole;
        const auto state = isBox ? static_cast<Qt::CheckState>(value.toInt()) : Qt::PartiallyChecked;
        if (childCount() > 0 && state != Qt::PartiallyChecked) {
            m_tree.checkAllOf(*this, state);
        } else {
            QTreeWidgetItem::setData(column, role, value);
        }
    }

private:
    StationTree& m_tree;
};

} // namespace

StationTree::StationTree(QWidget* parent) : QTreeWidget(parent) {
    setObjectName("stationTree");
    setColumnCount(2);
    setHeaderLabels({tr("名称"), tr("异常数")});
    headerItem()->setTextAlignment(CountColumn, Qt::AlignRight | Qt::AlignVCenter);
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    header()->setSectionResizeMode(CountColumn, QHeaderView::ResizeToContents);
    setUniformRowHeights(true);
    setExpandsOnDoubleClick(false);
    setEditTriggers(QAbstractItemView::EditKeyPressed); // a double click flies there
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setItemDelegate(new NameDelegate(*this));
    makeGroups();
    connect(this, SIGNAL(itemChanged(QTreeWidgetItem*, int)), this, SLOT(extendCheck(QTreeWidgetItem*, int)));
}

void StationTree::makeGroups() {
    const QSignalBlocker quiet(this);
    clear();
    m_lastChecked = nullptr;
    m_stationById.clear();
    m_stations = addGroup(tr("站场/站段"), true);
    m_points = addGroup(tr("特殊点"), false);
    m_areas = addGroup(tr("特殊区域"), false);
    m_polygons = addGroup(tr("高后果区"), false);
}

QTreeWidgetItem* StationTree::addGroup(const QString& title, bool expanded) {
    auto* group = new Group(*this);
    group->setText(NameColumn, title);
    group->setTextAlignment(CountColumn, Qt::AlignRight | Qt::AlignVCenter);
    group->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsAutoTristate |
                    Qt::ItemIsSelectable);
    group->setCheckState(NameColumn, Qt::Unchecked);
    QFont bold = font();
    bold.setBold(true);
    group->setFont(NameColumn, bold);
    group->setExpanded(expanded);
    return group;
}

QTreeWidgetItem* StationTree::objectRoot(int objectType) const {
    switch (objectType) {
    case KV_SPECIAL_POINT:
        return m_points;
    case KV_SPECIAL_AREA:
        return m_areas;
    case KV_HIGH_CONSEQUENCE_AREA:
        return m_polygons;
    default:
        return nullptr;
    }
}

QTreeWidgetItem* StationTree::addStation(std::uint32_t id, const QString& name) {
    const QSignalBlocker quiet(this);
    auto* item = new QTreeWidgetItem(m_stations, Station);
    item->setText(NameColumn, name);
    item->setData(NameColumn, kIdRole, id);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsSelectable |
                   Qt::ItemNeverHasChildren);
    item->setCheckState(NameColumn, Qt::Unchecked);
    item->setTextAlignment(CountColumn, Qt::AlignRight | Qt::AlignVCenter);
    m_stationById.insert(id, item);
    return item;
}

QTreeWidgetItem* StationTree::addObject(int objectType, std::uint32_t id, const QString& name) {
    QTreeWidgetItem* group = objectRoot(objectType);
    if (!group) {
        return nullptr;
    }
    const QSignalBlocker quiet(this);
    auto* item = new QTreeWidgetItem(group, SpecialObject);
    item->setText(NameColumn, name);
    item->setData(NameColumn, kIdRole, id);
    item->setData(NameColumn, kObjectTypeRole, objectType);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsSelectable | Qt::ItemIsEditable |
                   Qt::ItemNeverHasChildren);
    item->setCheckState(NameColumn, Qt::Checked);
    return item;
}

void StationTree::removeObject(QTreeWidgetItem* item) {
    const QSignalBlocker quiet(this);
    if (m_lastChecked == item) {
        m_lastChecked = nullptr;
    }
    delete item;
}

QTreeWidgetItem* StationTree::station(std::uint32_t id) const {
    return m_stationById.value(id);
}

std::vector<std::uint32_t> StationTree::checkedStations() const {
    std::vector<std::uint32_t> ids;
    for (int i = 0; i < m_stations->childCount(); ++i) {
        const QTreeWidgetItem* item = m_stations->child(i);
        if (item->checkState(NameColumn) == Qt::Checked) {
            ids.push_back(item->data(NameColumn, kIdRole).toUInt());
        }
    }
    return ids;
}

std::vector<std::uint32_t> StationTree::selectedStations() const {
    std::vector<std::uint32_t> ids;
    for (int i = 0; i < m_stations->childCount(); ++i) {
        const QTreeWidgetItem* item = m_stations->child(i);
        if (m_stations->isSelected() || item->isSelected()) {
            ids.push_back(item->data(NameColumn, kIdRole).toUInt());
        }
    }
    return ids;
}

void StationTree::selectStations(const std::vector<std::uint32_t>& ids) {
    QItemSelection selection;
    QModelIndex first;
    for (const std::uint32_t id : ids) {
        if (QTreeWidgetItem* entry = station(id)) {
            const QModelIndex index = indexFromItem(entry, NameColumn);
            first = first.isValid() ? first : index;
            selection.select(index, index);
        }
    }
    if (first.isValid()) {
        selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
        selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        scrollTo(first);
    }
}

StationChoice StationTree::choice() const {
    StationChoice choice;
    for (const std::uint32_t id : checkedStations()) {
        choice.checked << station(id)->text(NameColumn);
    }
    choice.isWholeLine = m_stations->isSelected();
    if (!choice.isWholeLine) {
        for (const std::uint32_t id : selectedStations()) {
            choice.selected << station(id)->text(NameColumn);
        }
    }
    return choice;
}

void StationTree::setChoice(const StationChoice& choice) {
    const QSet<QString> names(choice.checked.begin(), choice.checked.end());
    const QSet<QString> selectedNames(choice.selected.begin(), choice.selected.end());
    Entries checked;
    std::vector<std::uint32_t> selected;
    for (int i = 0; i < m_stations->childCount(); ++i) {
        QTreeWidgetItem* entry = m_stations->child(i);
        const QString name = entry->text(NameColumn);
        if (names.contains(name)) {
            checked.push_back(entry);
        }
        if (selectedNames.contains(name)) {
            selected.push_back(entry->data(NameColumn, kIdRole).toUInt());
        }
    }
    setChecks(*m_stations, checked, Qt::Checked);
    if (choice.isWholeLine) {
        setCurrentItem(m_stations);
    } else {
        selectStations(selected);
    }
}

void StationTree::setName(QTreeWidgetItem* item, const QString& name) {
    const QSignalBlocker quiet(this);
    item->setText(NameColumn, name);
}

void StationTree::setVersion(QTreeWidgetItem* item, qint64 version) {
    const QSignalBlocker quiet(this);
    item->setData(NameColumn, kVersionRole, version);
}

// The view hears of all at once: it looks at its columns' widths for each single one.
void StationTree::setCounts(const std::map<std::uint32_t, QString>& texts) {
    {
        const QSignalBlocker quiet(this);
        const QSignalBlocker quietModel(model());
        for (const auto& [id, text] : texts) {
            if (QTreeWidgetItem* entry = station(id)) {
                entry->setText(CountColumn, text);
            }
        }
        m_stations->setText(CountColumn, countOfAll());
    }
    const QModelIndex group = indexFromItem(m_stations, CountColumn);
    emit model() -> dataChanged(group, group);
    if (const int count = m_stations->childCount(); count > 0) {
        emit model() -> dataChanged(model()->index(0, CountColumn, indexFromItem(m_stations)),
                                    model()->index(count - 1, CountColumn, indexFromItem(m_stations)));
    }
}

QString StationTree::countOfAll() const {
    int anomalies = 0;
    bool isComputed = false;
    for (int i = 0; i < m_stations->childCount(); ++i) {
        bool isNumber = false;
        anomalies += m_stations->child(i)->text(CountColumn).toInt(&isNumber);
        isComputed = isComputed || isNumber;
    }
    return isComputed ? QString::number(anomalies) : QString();
}

void StationTree::showOnly(const std::function<bool(const QTreeWidgetItem& entry)>& isWanted) {
    for (const QTreeWidgetItem* group : {m_stations, m_points, m_areas, m_polygons}) {
        const QModelIndex place = indexFromItem(group);
        for (int row = 0; row < group->childCount(); ++row) {
            const bool isHidden = !isWanted(*group->child(row));
            if (isHidden != isRowHidden(row, place)) {
                setRowHidden(row, place, isHidden);
            }
        }
    }
}

void StationTree::goToListed() {
    const QTreeWidgetItem* current = currentItem();
    if (current && current->type() != Root && !current->isHidden()) {
        return;
    }
    for (QTreeWidgetItem* group : {m_stations, m_points, m_areas, m_polygons}) {
        for (int row = 0; row < group->childCount(); ++row) {
            if (!group->child(row)->isHidden()) {
                setCurrentItem(group->child(row));
                return;
            }
        }
    }
}

void StationTree::mouseReleaseEvent(QMouseEvent* event) {
    m_shiftHeld = event->modifiers().testFlag(Qt::ShiftModifier);
    QTreeWidget::mouseReleaseEvent(event);
    m_shiftHeld = false;
}

void StationTree::keyPressEvent(QKeyEvent* event) {
    QTreeWidgetItem* item = currentItem();
    if (event->key() == Qt::Key_Delete && item && item->type() == SpecialObject) {
        emit deleteRequested(item);
    } else {
        QTreeWidget::keyPressEvent(event);
    }
}

void StationTree::contextMenuEvent(QContextMenuEvent* event) {
    QTreeWidgetItem* item = itemAt(viewport()->mapFromGlobal(event->globalPos()));
    QMenu menu(this);
    menu.setObjectName("stationTreeMenu");
    menu.addAction(tr("全选"), this, SLOT(checkAll()));
    menu.addAction(tr("全不选"), this, SLOT(checkNone()));
    menu.addSeparator();
    QAction* fly = menu.addAction(tr("飞到"));
    fly->setEnabled(item && item->type() != Root);
    QAction* rename = menu.addAction(tr("重命名\tF2"));
    rename->setEnabled(item && item->type() == SpecialObject);
    QAction* remove = menu.addAction(tr("删除") + "\tDelete");
    remove->setEnabled(rename->isEnabled());
    const QAction* chosen = menu.exec(event->globalPos());
    if (chosen == fly) {
        emit flyRequested(item);
    } else if (chosen == rename) {
        editItem(item, NameColumn);
    } else if (chosen == remove) {
        emit deleteRequested(item);
    }
}

// Only names are edited, wherever in the row the user has clicked before.
bool StationTree::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) {
    return QTreeWidget::edit(index.siblingAtColumn(NameColumn), trigger, event);
}

} // namespace inspection
