#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"

#include <set>
#include <string>
#include <vector>

/// Tables described once for every kind of database. Names are ASCII and stand in statements in quotes.
namespace inspection {

struct Column {
    enum class Sort {
        RowId,   ///< primary key; the database chooses it where an insert does not
        Integer, ///< 64 bits with a sign
        Real,    ///< IEEE double
        Text,    ///< of any length
        Name,    ///< text that a constraint "unique" may name, up to 768 characters on a server
        PairName ///< the same for two texts that a constraint names together, each up to half of that
    };

    std::string name;
    Sort sort = Sort::Text;
    bool required = true;     ///< "not null"
    std::string defaultValue; ///< SQL literal; empty for none
};

struct Index {
    std::string name;
    std::string column;
};

struct TableDescription {
    std::string name;
    std::vector<Column> columns;
    std::vector<std::string> constraints; ///< as all databases read them: "unique (name)", "check (x > 0)"
    std::vector<Index> indexes;
};

/// The functions are repeatable: what is there already stays as it is. They throw KV_MySQL_Exception.
INSPECTIONDATA_API void createTable(mysqlhelper::KV_MySQL& database, const TableDescription& table);
/// A required column of a table that has rows needs a default value.
INSPECTIONDATA_API void addColumn(mysqlhelper::KV_MySQL& database, const std::string& table,
                                  const Column& column);

/// Whether the database has a table of this name.
INSPECTIONDATA_API bool hasTable(mysqlhelper::KV_MySQL& database, const std::string& table);

INSPECTIONDATA_API std::set<std::string> columnNames(mysqlhelper::KV_MySQL& database,
                                                     const std::string& table);

} // namespace inspection
