#include "workbench/inspectiondata/database/RowBatch.h"

#include "workbench/inspectiondata/database/Fields.h"

#include <algorithm>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;
using mysqlhelper::KV_Value;

namespace {

/// Times the widest table's columns this is still far below the values that a statement binds in SQLite
/// (32,766) and on a server (65,535).
constexpr std::size_t kRowsOfStatement = 500;

/// "(?,?,?)"
std::string marks(std::size_t count) {
    std::string text = "(";
    for (std::size_t i = 0; i < count; ++i) {
        text += i == 0 ? "?" : ",?";
    }
    return text + ')';
}

bool haveSameColumns(const KV_Record& a, const KV_Record& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(),
                      [](const auto& x, const auto& y) { return x.first == y.first; });
}

/// `count` rows from the first on, which all have its columns.
void insertAlike(KV_MySQL& database, const std::string& table, const KV_Record* first, std::size_t count) {
    std::string columns;
    for (const auto& field : *first) {
        columns += (columns.empty() ? "\"" : ",\"") + field.first + '"';
    }
    std::string rows;
    std::vector<KV_Value> values;
    for (std::size_t i = 0; i < count; ++i) {
        rows += (i == 0 ? "" : ",") + marks(first->size());
        for (const auto& field : first[i]) {
            values.push_back(field.second);
        }
    }
    database.execute("insert into \"" + table + "\" (" + columns + ") values " + rows, values);
}

} // namespace

void forEachBatch(
    const RowIds& ids,
    const std::function<void(const std::string& marks, const std::vector<KV_Value>& bound)>& work) {
    for (std::size_t first = 0; first < ids.size(); first += kRowsOfStatement) {
        const std::size_t count = std::min(kRowsOfStatement, ids.size() - first);
        const auto begin = ids.begin() + static_cast<std::ptrdiff_t>(first);
        work(marks(count), std::vector<KV_Value>(begin, begin + static_cast<std::ptrdiff_t>(count)));
    }
}

std::map<std::int64_t, KV_Record> readRows(KV_MySQL& database, const std::string& table, const RowIds& ids) {
    std::map<std::int64_t, KV_Record> rows;
    forEachBatch(ids, [&](const std::string& those, const std::vector<KV_Value>& bound) {
        auto found = database.queryRecord("select * from " + table + " where id in " + those, bound);
        for (KV_Record& row : found) {
            std::int64_t id = 0;
            takeField(row, "id", id);
            rows.emplace(id, std::move(row));
        }
    });
    return rows;
}

void insertRows(KV_MySQL& database, const std::string& table, const KV_Rows& rows) {
    for (std::size_t first = 0; first < rows.size();) {
        std::size_t count = 1;
        while (count < kRowsOfStatement && first + count < rows.size() &&
               haveSameColumns(rows[first], rows[first + count])) {
            ++count;
        }
        insertAlike(database, table, &rows[first], count);
        first += count;
    }
}

void deleteRows(KV_MySQL& database, const std::string& table, const RowIds& ids) {
    forEachBatch(ids, [&](const std::string& those, const std::vector<KV_Value>& bound) {
        database.deleteRecord(table, "where id in " + those, bound);
    });
}

void RowUpdates::store(KV_MySQL& database, const std::string& table) const {
    for (const auto& [fields, ids] : m_idsByFields) {
        forEachBatch(ids,
                     [&, &sameFields = fields](const std::string& those, const std::vector<KV_Value>& bound) {
                         database.updateRecord(table, sameFields, "where id in " + those, bound);
                     });
    }
}

} // namespace inspection
