#include "workbench/inspection/table/AnomalyTableView.h"

#include "workbench/inspection/table/AnomalyFilter.h"
#include "workbench/inspection/table/AttributeDelegate.h"
#include "workbench/inspection/table/TableColumns.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"
#include "workbench/style/EmptyHint.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QSignalBlocker>
#include <QStyledItemDelegate>

#include <algorithm>
#include <numeric>

namespace inspection {

namespace {
constexpr int kRowsThatSetWidths = 100;

/// Figures, to the right, keep off the words of the next column.
class FigureDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        constexpr QChar kEnSpace(0x2002);
        QStyledItemDelegate::initStyleOption(option, index);
        option->text += kEnSpace;
    }
};

/// A column of a row as other programs take it.
TableSheet::Cell cellOf(const AnomalyRow& row, const AnomalyColumn& column) {
    if (!column.isFigure() || column.isWrittenAsText) {
        return column.text(row);
    }
    const auto number = column.number(row);
    return number ? TableSheet::Cell(*number) : TableSheet::Cell();
}

/// Whole rows, in as few ranges as possible. `rows` in any order.
QItemSelection rowSelection(const QAbstractItemModel& model, std::vector<int> rows) {
    std::sort(rows.begin(), rows.end());
    QItemSelection selection;
    for (std::size_t first = 0; first < rows.size();) {
        std::size_t last = first;
        while (last + 1 < rows.size() && rows[last + 1] == rows[last] + 1) {
            ++last;
        }
        selection.append({model.index(rows[first], 0), model.index(rows[last], model.columnCount() - 1)});
        first = last + 1;
    }
    return selection;
}

} // namespace

AnomalyTableView::AnomalyTableView(QAbstractItemModel& model, QWidget* parent)
    : QTableView(parent), m_attributes(new AttributeDelegate(this)), m_columns(nullptr),
      m_hint(new EmptyHint(viewport())) {
    setObjectName("anomalyTable");
    setModel(&model);
    setItemDelegateForColumn(AnomalyColumn::Attribute, m_attributes);
    auto* figures = new FigureDelegate(this);
    for (int column = 0; column < AnomalyColumn::Count; ++column) {
        if (anomalyColumn(column).isFigure()) {
            setItemDelegateForColumn(column, figures);
        }
    }
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
    setStyleSheet("QHeaderView::section { padding: 2px 9px 2px 3px; }");

    m_columns = new TableColumns(*this);

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

void AnomalyTableView::setHint(const QString& sentence) {
    m_hint->say(model()->rowCount() == 0 ? sentence : QString());
}

void AnomalyTableView::editAttribute() {
    if (!currentIndex().isValid()) {
        return;
    }
    const QModelIndex attribute = currentIndex().siblingAtColumn(AnomalyColumn::Attribute);
    selectionModel()->setCurrentIndex(attribute, QItemSelectionModel::NoUpdate);
    edit(attribute);
}

QSize AnomalyTableView::sizeHint() const {
    constexpr int kRowsAtFirst = 6;
    const int height =
        horizontalHeader()->sizeHint().height() + kRowsAtFirst * verticalHeader()->defaultSectionSize();
    return {QTableView::sizeHint().width(), height};
}

void AnomalyTableView::selectOnly(const std::vector<int>& rows) {
    {
        // What one large selection has that another lacks takes long to find out, and is nothing that a view must know.
        const QSignalBlocker quiet(selectionModel());
        selectionModel()->clearSelection();
    }
    selectionModel()->select(rowSelection(*model(), rows), QItemSelectionModel::Select);
    viewport()->update();
}

// The selection model's own list of them asks for each row in all ranges.
std::vector<int> AnomalyTableView::selectedRows() const {
    std::vector<int> rows;
    for (const QItemSelectionRange& range : selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            rows.push_back(row);
        }
    }
    return rows;
}

TableSheet AnomalyTableView::sheet() const {
    std::vector<int> rows(static_cast<std::size_t>(model()->rowCount()));
    std::iota(rows.begin(), rows.end(), 0);
    return sheetOf(rows);
}

TableSheet AnomalyTableView::sheetOf(const std::vector<int>& rows) const {
    const auto* shown = qobject_cast<const AnomalyFilter*>(model());
    const std::vector<int> columns = m_columns->shown();
    TableSheet sheet;
    for (const int column : columns) {
        sheet.titles << anomalyColumn(column).title;
    }
    for (const int row : rows) {
        std::vector<TableSheet::Cell> cells;
        for (const int column : columns) {
            cells.push_back(cellOf(shown->rowAt(row), anomalyColumn(column)));
        }
        sheet.rows.push_back(std::move(cells));
    }
    return sheet;
}

void AnomalyTableView::copySelected() const {
    std::vector<int> rows = selectedRows();
    if (!rows.empty()) {
        std::sort(rows.begin(), rows.end());
        QGuiApplication::clipboard()->setText(tabSeparated(sheetOf(rows)));
    }
}

void AnomalyTableView::keyPressEvent(QKeyEvent* event) {
    if (takesEditKey(*event)) {
        event->accept();
        return;
    }
    if (event->matches(QKeySequence::Copy)) {
        copySelected();
        return;
    }
    if (event->key() == Qt::Key_Escape) {
        emit escaped();
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
    if (event->button() == Qt::LeftButton && index.column() == AnomalyColumn::Attribute && !m_showsDeleted) {
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
    if (m_showsDeleted) {
        if (key == Qt::Key_Insert) {
            emit restoreRequested();
        }
        // Enter and the keys that walk do what they do everywhere.
        return key == Qt::Key_Insert || key == Qt::Key_Delete || key == Qt::Key_F2 ||
               (key >= Qt::Key_0 && key <= Qt::Key_5);
    }
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

// The keys stand in the entries' texts; the table takes them itself, and only while it has the focus.
void AnomalyTableView::fill(QMenu& menu) {
    menu.addAction(tr("查看") + "\tEnter", this, [this] { emit showRequested(currentIndex()); });
    if (m_showsDeleted) {
        menu.addAction(tr("恢复") + "\tInsert", this, &AnomalyTableView::restoreRequested);
    } else {
        menu.addAction(tr("删除") + "\tDelete", this, &AnomalyTableView::deleteRequested);
        fillVerdicts(*menu.addMenu(tr("属性设置")));
    }
    menu.addSeparator();
    menu.addAction(tr("复制") + "\tCtrl+C", this, &AnomalyTableView::copySelected);
}

void AnomalyTableView::fillVerdicts(QMenu& menu) {
    for (int i = 0; i < fixedClasses().size(); ++i) {
        const QString& text = fixedClasses()[i];
        menu.addAction(QStringLiteral("%1\t%2").arg(text).arg(i + 1), this,
                       [this, text] { emit attributeRequested(text); });
    }
    menu.addAction(tr("自定义") + "\t5", this, &AnomalyTableView::editAttribute);
    menu.addSeparator();
    menu.addAction(tr("取消判定") + "\t0", this, [this] { emit attributeRequested(QString()); });
}

} // namespace inspection
