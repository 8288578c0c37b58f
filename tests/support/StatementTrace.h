#pragma once

#include <QStringList>

struct sqlite3;

/// While it lives, keeps the text of each statement that SQLite runs on the connections that this thread has
/// open when it is made.
class StatementTrace {
public:
    StatementTrace();
    ~StatementTrace();
    StatementTrace(const StatementTrace&) = delete;
    StatementTrace& operator=(const StatementTrace&) = delete;

    /// In the order in which they were run, with "?" where values are bound.
    const QStringList& statements() const { return m_statements; }
    void clear() { m_statements.clear(); }

private:
    QList<sqlite3*> m_connections;
    QStringList m_statements;
};
