#pragma once

#include "workbench/inspectiondata/database/Driver.h"

#include <QByteArray>

#include <mysql.h>

#include <cstddef>
#include <limits>
#include <stdexcept>

namespace mysqlhelper {

/// What the server or its client library reports.
struct MariaDbError : std::runtime_error {
    MariaDbError(unsigned reportedCode, const char* text, bool mayHaveRun)
        : std::runtime_error(text), code(reportedCode), sent(mayHaveRun) {}

    unsigned code; ///< error number of the server or the client library, 0 when it is neither
    bool sent;     ///< false when the statement has certainly not been run

    /// The connection is of no use any more, or there is none.
    bool isLostConnection() const;
};

/// A prepared statement. Values travel in binary form, apart from the text. Every function throws
/// MariaDbError.
class MariaDbStatement {
public:
    MariaDbStatement(MYSQL& connection, const QByteArray& utf8Sql);

    /// Refuses values that are together more than `mostBytes`, at which a server would close the connection.
    void execute(const KV_Values& bound, std::size_t mostBytes = std::numeric_limits<std::size_t>::max());
    /// What the executed select found.
    KV_Rows rows();
    Change change() const;

private:
    struct Close {
        void operator()(MYSQL_STMT* statement) const { mysql_stmt_close(statement); }
    };
    [[noreturn]] void fail(bool sent) const;

    std::unique_ptr<MYSQL_STMT, Close> m_statement;
};

} // namespace mysqlhelper
