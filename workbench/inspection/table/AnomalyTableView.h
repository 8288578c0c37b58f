#pragma once

#include "workbench/inspection/table/TableSheet.h"

#include <QTableView>

class EmptyHint;
class QMenu;

namespace inspection {

class AnomalyRow;
class AttributeDelegate;
class TableColumns;

/// The table of anomalies for mouse and keyboard. It announces what the user wants of the selected rows and
/// changes nothing itself. GUI thread.
///
/// Keys: arrows and page keys walk, Enter shows, 1 to 4 set a fixed class, 5 or F2 edits the attribute, 0
/// takes it away, Delete deletes, Ctrl+C copies. A double click shows, or edits in the attribute column. Of deleted
/// anomalies nothing is judged; Insert restores them.
class AnomalyTableView : public QTableView {
    Q_OBJECT

public:
    /// Its model has the columns of AnomalyTableModel.
    explicit AnomalyTableView(QAbstractItemModel& model, QWidget* parent = nullptr);

    TableColumns& columns() { return *m_columns; }
    /// The rows are deleted anomalies.
    void setShowsDeleted(bool isDeleted) { m_showsDeleted = isDeleted; }
    /// What is to be read in place of the rows while there are none.
    void setHint(const QString& sentence);
    /// A few rows; the globe and the pictures need the room more.
    QSize sizeHint() const override;
    void selectOnly(const std::vector<int>& rows);
    /// In the order in which they were selected.
    std::vector<int> selectedRows() const;
    /// The columns that are shown, of all rows in their order.
    TableSheet sheet() const;

    /// Opens the attribute's editor in the current row.
    void editAttribute();

signals:
    /// The user has begun to write an attribute there.
    void editorOpened(QWidget* editor);
    /// The user went to another row by key.
    void walked();
    void showRequested(const QModelIndex& index);
    /// For the selected rows; empty for no attribute.
    void attributeRequested(const QString& attribute);
    void deleteRequested();
    void restoreRequested();
    /// Escape was pressed.
    void escaped();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    /// In the attribute column it edits.
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    bool takesEditKey(const QKeyEvent& event);
    void fill(QMenu& menu);
    void fillVerdicts(QMenu& menu);
    TableSheet sheetOf(const std::vector<int>& rows) const;
    void copySelected() const;

    AttributeDelegate* m_attributes;
    TableColumns* m_columns;
    EmptyHint* m_hint;
    bool m_showsDeleted = false;
};

} // namespace inspection
