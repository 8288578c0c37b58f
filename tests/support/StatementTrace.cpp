#include "tests/support/StatementTrace.h"

#include <QSqlDatabase>
#include <QSqlDriver>
#include <QVariant>

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {

/// Null for a connection of another kind or of another thread.
sqlite3* handleOf(const QString& connection) {
    const QSqlDatabase database = QSqlDatabase::database(connection, false);
    if (!database.isOpen() || database.driverName() != "QSQLITE") {
        return nullptr;
    }
    return *static_cast<sqlite3* const*>(database.driver()->handle().constData());
}

int keep(unsigned /*kind*/, void* statements, void* /*statement*/, void* text) {
    *static_cast<QStringList*>(statements) << QString::fromUtf8(static_cast<const char*>(text));
    return 0;
}

} // namespace

StatementTrace::StatementTrace() {
    for (const QString& name : QSqlDatabase::connectionNames()) {
        if (sqlite3* connection = handleOf(name)) {
            sqlite3_trace_v2(connection, SQLITE_TRACE_STMT, &keep, &m_statements);
            m_connections << connection;
        }
    }
    EXPECT_FALSE(m_connections.isEmpty()) << "no database is open";
}

StatementTrace::~StatementTrace() {
    for (sqlite3* connection : m_connections) {
        sqlite3_trace_v2(connection, 0, nullptr, nullptr);
    }
}
