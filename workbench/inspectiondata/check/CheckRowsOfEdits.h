#pragma once

#include "workbench/inspectiondata/check/Finding.h"
#include "workbench/inspectiondata/database/RowChange.h"

#include <map>
#include <string>
#include <tuple>
#include <utility>

namespace inspection {

/// Rows that a computation replaces as a whole: those of a table, of anomalies only those of a comparison.
struct RowGroup {
    std::string table;
    std::int64_t comparison = 0; ///< kNoComparison for other tables

    bool operator<(const RowGroup& other) const {
        return std::tie(table, comparison) < std::tie(other.table, other.comparison);
    }
};
RowGroup rowsOf(const RowChange& change);

/// What the stored edits say about the rows that they touched.
class RowsOfEdits {
public:
    /// Edits come in the order in which they were made; `revision` is that of the last step that was taken
    /// with the edit.
    void takeEdit(const RowChanges& changes, bool isUndone, std::int64_t revision);
    /// A computation put other anomalies in the place of the earlier ones, or an import added rows.
    void takeReplacement(const RowGroup& rows, std::int64_t revision);

    /// Rows that are not what the last step on them left. Throws KV_MySQL_Exception.
    Findings differences(mysqlhelper::KV_MySQL& database) const;

private:
    using RowKey = std::pair<std::string, std::int64_t>; ///< table and id
    struct Statement {
        std::int64_t revision = 0;
        RowGroup group;
        std::optional<mysqlhelper::KV_Record> row; ///< nothing where there must be none
    };
    bool isOutdated(const Statement& statement) const;

    std::map<RowKey, Statement> m_statements;
    std::map<RowGroup, std::int64_t> m_replacements; ///< revision of the last one
};

} // namespace inspection
