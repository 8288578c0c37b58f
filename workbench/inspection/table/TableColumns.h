#pragma once

#include "workbench/inspection/table/AnomalyColumns.h"

#include <QObject>
#include <QPoint>
#include <QString>

#include <array>
#include <vector>

class QTableView;

namespace inspection {

/// The columns of a table of anomalies: which are shown is chosen in the menu of its head, their order and widths by
/// dragging there. Each project finds them as they were left on this machine; a new one those that were shown last.
/// Widths that nobody has dragged follow the contents. GUI thread.
class TableColumns : public QObject {
    Q_OBJECT

public:
    /// The table's model has the columns of AnomalyColumns.h; it must outlive this.
    explicit TableColumns(QTableView& table);

    /// Takes what was remembered for the project in that folder, and remembers there what is changed from now on.
    void useProject(const QString& folder);
    /// The column of stations is shown for several of them only.
    void setSeveralStations(bool areSeveral);
    void fit();
    /// Those that are shown, from left to right.
    std::vector<int> shown() const;

protected:
    /// Of the head.
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void showMenu(const QPoint& place);
    void show(int column, bool isWanted);
    void hideUnwanted();
    /// The order, widths and columns of a project that was never opened here.
    void reset();
    void restore();
    void keep() const;
    void takeWidth(int column, int width);

    QTableView& m_table;
    QString m_project;
    std::array<bool, AnomalyColumn::Count> m_isWanted{};
    std::array<int, AnomalyColumn::Count> m_widths{}; ///< pixels that the user has chosen; 0 for none
    bool m_hasSeveralStations = false;
    bool m_isDragging = false; ///< a mouse button is down in the head
};

} // namespace inspection
