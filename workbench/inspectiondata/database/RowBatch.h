#pragma once

#include "host/inspection/KV_MySQL.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// Many rows of a table by few statements, each of which names up to 500 rows. Tables number their rows in
/// column "id". Every function throws KV_MySQL_Exception when the database refuses, and has no transaction of
/// its own.
namespace inspection {

using RowIds = std::vector<std::int64_t>;

/// Calls `work` with as many ids at once as one statement takes: with the marks for them, "(?,?,?)", and the values.
void forEachBatch(const RowIds& ids,
                  const std::function<void(const std::string& marks,
                                           const std::vector<mysqlhelper::KV_Value>& bound)>& work);
/// Those of the rows that there are, by id.
std::map<std::int64_t, mysqlhelper::KV_Record> readRows(mysqlhelper::KV_MySQL& database,
                                                        const std::string& table, const RowIds& ids);
/// Rows with their ids.
void insertRows(mysqlhelper::KV_MySQL& database, const std::string& table, const mysqlhelper::KV_Rows& rows);
void deleteRows(mysqlhelper::KV_MySQL& database, const std::string& table, const RowIds& ids);

/// Changes of rows, each of which names a row once: those that set the same fields become one statement.
class RowUpdates {
public:
    void add(std::int64_t id, const mysqlhelper::KV_Record& fields) { m_idsByFields[fields].push_back(id); }
    void store(mysqlhelper::KV_MySQL& database, const std::string& table) const;

private:
    std::map<mysqlhelper::KV_Record, RowIds> m_idsByFields;
};

} // namespace inspection
