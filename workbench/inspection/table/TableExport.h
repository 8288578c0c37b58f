#pragma once

#include <QMenu>
#include <QString>

namespace inspection {

class AnomalyTableView;
class Session;

/// The ways of what the table shows into a file; the user is asked where to. GUI thread.
class TableExport : public QMenu {
    Q_OBJECT

public:
    /// Both must outlive it.
    TableExport(Session& session, const AnomalyTableView& table, QWidget* parent = nullptr);

private:
    void exportAs(const QString& ending);

    Session& m_session;
    const AnomalyTableView& m_table;
};

} // namespace inspection
