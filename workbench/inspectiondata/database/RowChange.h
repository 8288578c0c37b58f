#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What an edit does to the database, row by row, so that it can be taken back exactly.
namespace inspection {

/// One row before and after an edit, whole, with its id; nothing where there is no such row.
struct RowChange {
    std::string table;
    std::int64_t id = 0;
    std::optional<mysqlhelper::KV_Record> before;
    std::optional<mysqlhelper::KV_Record> after;
};

/// In the order in which they were made.
using RowChanges = std::vector<RowChange>;

/// The row of that id; nothing when there is none. Throws KV_MySQL_Exception when the database refuses.
INSPECTIONDATA_API std::optional<mysqlhelper::KV_Record> readRow(mysqlhelper::KV_MySQL& database,
                                                                 const std::string& table, std::int64_t id);

/// True when all fields of `fields` that the row has are the same in it. Its version does not count.
INSPECTIONDATA_API bool isSame(const mysqlhelper::KV_Record& fields, const mysqlhelper::KV_Record& row);

/// A row is no longer what it was before a change that is to be made.
class INSPECTIONDATA_API RowIsOther : public mysqlhelper::KV_MySQL_Exception {
public:
    /// `now` is the row as it is, nothing when there is none.
    RowIsOther(RowChange expected, const std::optional<mysqlhelper::KV_Record>& now);
    ~RowIsOther() override;

    /// The change that was to be made.
    const RowChange& expected() const { return m_expected; }
    bool isGone() const { return m_isGone; }

private:
    RowChange m_expected;
    bool m_isGone;
};

/// Makes the rows what they are after the changes, as a part of that revision. Gives the rows as they were
/// and are now. Throws KV_MySQL_Exception when the database refuses, RowIsOther when a row is no longer what it
/// was before; in no transaction of its own.
INSPECTIONDATA_API RowChanges applyChanges(mysqlhelper::KV_MySQL& database, RowChanges changes,
                                           std::int64_t revision);

/// The changes that take these back.
INSPECTIONDATA_API RowChanges reversed(RowChanges changes);

/// As JSON in UTF-8, for storage. Numbers and texts come back exactly. Of a row that there is before and after, what
/// stays the same is written once, with the row before.
INSPECTIONDATA_API std::string toText(const RowChanges& changes);
/// Nothing when the text is none that `toText` wrote.
INSPECTIONDATA_API std::optional<RowChanges> toRowChanges(const std::string& text);

} // namespace inspection
