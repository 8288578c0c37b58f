#pragma once

#include <QTableView>

class QMenu;

namespace inspection {

class AttributeDelegate;

/// The table of anomalies for mouse and keyboard. It announces what the user wants of the selected rows and
/// changes nothing itself. Which columns are shown is chosen in the menu of its head and remembered. GUI thread.
///
/// Keys: arrows and page keys walk, Enter shows, 1 to 4 set a fixed class, 5 or F2 edits the attribute, 0
/// takes it away, Delete deletes. A double click shows, or edits in the attribute column.
class AnomalyTableView : public QTableView {
    Q_OBJECT

public:
    /// Its model has the columns of AnomalyTableModel.
    explicit AnomalyTableView(QAbstractItemModel& model, QWidget* parent = nullptr);

    /// Opens the attribute's editor in the current row.
    void editAttribute();
    void fitColumns();

signals:
    /// The user has begun to write an attribute there.
    void editorOpened(QWidget* editor);
    /// The user went to another row by key.
    void walked();
    void showRequested(const QModelIndex& index);
    /// For the selected rows; empty for no attribute.
    void attributeRequested(const QString& attribute);
    void deleteRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    /// In the attribute column it edits.
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    bool takesEditKey(const QKeyEvent& event);
    void fill(QMenu& menu);
    void showColumnMenu(const QPoint& place);

    AttributeDelegate* m_attributes;
};

} // namespace inspection
