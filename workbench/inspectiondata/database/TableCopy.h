#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/database/Schema.h"

#include <QByteArray>

#include <cstdint>
#include <functional>

namespace inspection {

/// What a table holds, in short.
struct TableDigest {
    std::int64_t rows = 0;
    QByteArray
        checksum; ///< SHA-256 over names, sorts and values of all fields, row by row in the key's order

    bool operator==(const TableDigest& other) const {
        return rows == other.rows && checksum == other.checksum;
    }
};

/// Called for each row; false stops the reading.
using RowVisitor = std::function<bool(const mysqlhelper::KV_Record&)>;

/// Reads all rows in the key's order, a part of the table at a time. Throws KV_MySQL_Exception.
void visitRows(mysqlhelper::KV_MySQL& database, const StoredTable& table, const RowVisitor& visit);
/// The same, and the digest of the rows that were visited.
TableDigest digestRows(mysqlhelper::KV_MySQL& database, const StoredTable& table, const RowVisitor& visit);

std::int64_t countRows(mysqlhelper::KV_MySQL& database, const StoredTable& table);

} // namespace inspection
