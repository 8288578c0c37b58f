#include "workbench/inspection/table/AnomalyTableView.h"

#include "workbench/inspection/table/AnomalyTableModel.h"
#include "workbench/inspection/table/AttributeDelegate.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QSettings>

#include <algorithm>

namespace inspection {

namespace {
constexpr int kRowsThatSetWidths = 100;
constexpr int kWidestCharacters = 30;
constexpr int kLeastAttributeCharacters = 16; // what an inspector writes most

const AnomalyColumn& columnOf(int column) {
    return anomalyColumns().at(static_cast<std::size_t>(column));
}

/// Which columns the user wants, in all projects: those that he has switched on or off, by their titles.
class WantedColumns {
public:
    bool has(int column) const {
        return m_settings.value(columnOf(column).title, !columnOf(column).isHiddenAtFirst()).toBool();
    }
    void set(int column, bool isWanted) { m_settings.setValue(columnOf(column).title, isWanted); }

    WantedColumns() { m_settings.beginGroup("anomalyColumns"); }

private:
    QSettings m_settings{QSettings::IniFormat, QSettings::UserScope, "corridor", "workbench"};
};

} // namespace

AnomalyTableView::AnomalyTableView(QAbstractItemModel& model, QWidget* parent)
    : QTableView(parent), m_attributes(new AttributeDelegate(this)) {
    setObjectName("anomalyTable");
    setModel(&model);
    setItemDelegateForColumn(AnomalyColumn::Attribute, m_attributes);
    setSortingEnabled(true);
    sortByColumn(AnomalyColumn::Name, Qt::AscendingOrder);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTabKeyNavigation(false); // Tab leaves the table
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setResizeContentsPrecision(kRowsThatSetWidths);
    horizontalHeader()->setStretchLastSection(true);

    horizontalHeader()->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(horizontalHeader(), &QWidget::customContextMenuRequested, this,
            &AnomalyTableView::showColumnMenu);
    for (int column = 0; column < AnomalyColumn::Count; ++column) {
        setColumnHidden(column, !WantedColumns().has(column));
    }

    connect(this, &QTableView::activated, this, &AnomalyTableView::showRequested);
    connect(m_attributes, &AttributeDelegate::opened, this, &AnomalyTableView::editorOpened);
    connect(m_attributes, &AttributeDelegate::chosen, this,
            [this](const QModelIndex& index, const QString& attribute) {
                if (!selectionModel()->isRowSelected(index.row(), {})) {
                    selectRow(index.row());
                }
                emit attributeRequested(attribute);
            });
}

void AnomalyTableView::editAttribute() {
    if (!currentIndex().isValid()) {
        return;
    }
    const QModelIndex attribute = currentIndex().siblingAtColumn(AnomalyColumn::Attribute);
    selectionModel()->setCurrentIndex(attribute, QItemSelectionModel::NoUpdate);
    edit(attribute);
}

void AnomalyTableView::fitColumns() {
    resizeColumnsToContents();
    const int character = fontMetrics().averageCharWidth();
    for (int column = 0; column < model()->columnCount(); ++column) {
        if (isColumnHidden(column)) {
            continue;
        }
        const int least = column == AnomalyColumn::Attribute ? kLeastAttributeCharacters * character : 0;
        setColumnWidth(column, std::clamp(columnWidth(column), least, kWidestCharacters * character));
    }
}

void AnomalyTableView::keyPressEvent(QKeyEvent* event) {
    if (takesEditKey(*event)) {
        event->accept();
        return;
    }
    const QModelIndex before = currentIndex();
    const bool isPlain = event->modifiers() == Qt::NoModifier;
    if (isPlain && (event->key() == Qt::Key_Home || event->key() == Qt::Key_End)) {
        selectRow(event->key() == Qt::Key_Home ? 0 : model()->rowCount() - 1); // rows count here, not cells
    } else {
        QTableView::keyPressEvent(event);
    }
    if (currentIndex().isValid() && currentIndex().row() != before.row()) {
        emit walked();
    }
}

void AnomalyTableView::mouseDoubleClickEvent(QMouseEvent* event) {
    const QModelIndex index = indexAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && index.column() == AnomalyColumn::Attribute) {
        editAttribute();
    } else {
        QTableView::mouseDoubleClickEvent(event);
    }
}

bool AnomalyTableView::takesEditKey(const QKeyEvent& event) {
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    if (modifiers != Qt::NoModifier || !selectionModel()->hasSelection()) {
        return false;
    }
    const int key = event.key();
    if (key == Qt::Key_Delete) {
        emit deleteRequested();
    } else if (key == Qt::Key_0) {
        emit attributeRequested(QString());
    } else if (key >= Qt::Key_1 && key < Qt::Key_1 + fixedClasses().size()) {
        emit attributeRequested(fixedClasses()[key - Qt::Key_1]);
    } else if (key == Qt::Key_5 || key == Qt::Key_F2) {
        editAttribute();
    } else {
        return false;
    }
    return true;
}

void AnomalyTableView::contextMenuEvent(QContextMenuEvent* event) {
    if (!selectionModel()->hasSelection()) {
        return;
    }
    QMenu menu(this);
    menu.setObjectName("anomalyTableMenu");
    fill(menu);
    menu.exec(event->globalPos());
}

// The name stays: without it nobody knows what a row is about.
void AnomalyTableView::showColumnMenu(const QPoint& place) {
    QMenu menu(this);
    menu.setObjectName("anomalyColumnMenu");
    for (int column = AnomalyColumn::Name + 1; column < AnomalyColumn::Count; ++column) {
        QAction* action = menu.addAction(columnOf(column).title);
        action->setCheckable(true);
        action->setChecked(!isColumnHidden(column));
        connect(action, &QAction::toggled, this, [this, column](bool isShown) {
            setColumnHidden(column, !isShown);
            WantedColumns().set(column, isShown);
            fitColumns();
        });
    }
    menu.exec(horizontalHeader()->mapToGlobal(place));
}

// The keys stand in the entries' texts; the table takes them itself, and only while it has the focus.
void AnomalyTableView::fill(QMenu& menu) {
    menu.addAction(tr("查看") + "\tEnter", this, [this] { emit showRequested(currentIndex()); });
    menu.addAction(tr("删除") + "\tDelete", this, &AnomalyTableView::deleteRequested);
    QMenu* attribute = menu.addMenu(tr("属性设置"));
    for (int i = 0; i < fixedClasses().size(); ++i) {
        const QString& text = fixedClasses()[i];
        attribute->addAction(QStringLiteral("%1\t%2").arg(text).arg(i + 1), this,
                             [this, text] { emit attributeRequested(text); });
    }
    attribute->addAction(tr("自定义") + "\t5", this, &AnomalyTableView::editAttribute);
    attribute->addSeparator();
    attribute->addAction(tr("取消判定") + "\t0", this, [this] { emit attributeRequested(QString()); });
}

} // namespace inspection
