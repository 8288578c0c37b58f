#pragma once

#include "workbench/inspectiondata/check/Finding.h"
#include "workbench/inspectiondata/database/RowChange.h"

#include <map>
#include <utility>

namespace inspection {

/// What the stored edits say about the rows that they touched.
class RowsOfEdits {
public:
    /// Edits come in the order in which they were made; `revision` is that of the last step that was taken
    /// with the edit.
    void takeEdit(const RowChanges& changes, bool isUndone, std::int64_t revision);
    /// A computation put other anomalies in the place of the earlier ones, or an import added rows.
    void takeReplacement(const std::string& table, std::int64_t revision);

    /// Rows that are not what the last step on them left. Throws KV_MySQL_Exception.
    Findings differences(mysqlhelper::KV_MySQL& database) const;

private:
    using RowKey = std::pair<std::string, std::int64_t>; ///< table and id
    struct Statement {
        std::int64_t revision = 0;
        std::optional<mysqlhelper::KV_Record> row; ///< nothing where there must be none
    };
    bool isOutdated(const RowKey& key, const Statement& statement) const;

    std::map<RowKey, Statement> m_statements;
    std::map<std::string, std::int64_t> m_replacements; ///< revision of the last one by table
};

} // namespace inspection
