#include "workbench/inspection/history/EditTable.h"

#include "host/Gbk.h"
#include "workbench/inspection/database/Fields.h"

#include <QDateTime>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {
constexpr char kTable[] = "edit_history";
} // namespace

std::vector<StoredEdit> readEdits(KV_MySQL& database) {
    std::vector<StoredEdit> edits;
    for (const KV_Record& row :
         database.queryRecord("select id, description, is_undone from edit_history order by id")) {
        StoredEdit edit;
        std::string description;
        std::int64_t isUndone = 0;
        takeField(row, "id", edit.id);
        takeField(row, "description", description);
        takeField(row, "is_undone", isUndone);
        edit.description = fromGbk(description);
        edit.isUndone = isUndone != 0;
        edits.push_back(std::move(edit));
    }
    return edits;
}

RowChanges readChanges(KV_MySQL& database, std::int64_t editId) {
    const auto row = readRow(database, kTable, editId);
    std::string text;
    if (row) {
        takeField(*row, "changes", text);
    }
    auto changes = toRowChanges(gbkToUtf8(text));
    if (!changes) {
        throw KV_MySQL_Exception("edit " + std::to_string(editId) + " is not stored or damaged");
    }
    return *std::move(changes);
}

std::int64_t insertEdit(KV_MySQL& database, const QString& description, const RowChanges& changes) {
    database.deleteRecord(kTable, "where is_undone=1");
    return database.insertRecord(
        kTable, {{"made_at", QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toStdString()},
                 {"subject", changes.front().table},
                 {"description", toGbk(description)},
                 {"is_undone", std::int64_t{0}},
                 {"changes", toGbk(QString::fromStdString(toText(changes)))}});
}

void markEdit(KV_MySQL& database, std::int64_t editId, bool isUndone) {
    database.updateRecord(kTable, {{"is_undone", std::int64_t{isUndone ? 1 : 0}}}, "where id=?", {editId});
}

void forgetEdits(KV_MySQL& database, const std::string& table) {
    database.deleteRecord(kTable, "where subject=?", {table});
}

} // namespace inspection
