#include "workbench/inspectiondata/database/EditTable.h"

#include "host/Gbk.h"
#include "host/inspection/Records.h"
#include "workbench/inspectiondata/database/CheckedCommit.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/Schema.h"

#include <QDateTime>
#include <QObject>

#include <algorithm>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

constexpr char kTable[] = "edit_history";

std::string now(qint64 secondsAgo = 0) {
    return QDateTime::currentDateTimeUtc().addSecs(-secondsAgo).toString(Qt::ISODate).toStdString();
}

QString textField(const KV_Record& row, const char* name) {
    std::string text;
    takeField(row, name, text);
    return fromGbk(text);
}

bool flagField(const KV_Record& row, const char* name) {
    std::int64_t flag = 0;
    takeField(row, name, flag);
    return flag != 0;
}

RowChanges changesField(const KV_Record& row) {
    std::string text;
    takeField(row, "changes", text);
    auto changes = toRowChanges(gbkToUtf8(text));
    if (!changes) {
        throw KV_MySQL_Exception("an edit's rows in " + std::string(kTable) + " are damaged");
    }
    return *std::move(changes);
}

EditStep stepOf(const KV_Record& row) {
    EditStep step;
    takeField(row, "revision", step.revision);
    step.inspector = textField(row, "inspector");
    step.description = textField(row, "description");
    takeField(row, "subject", step.subject);
    step.changes = changesField(row);
    step.isReplacement = step.changes.empty();
    if (flagField(row, "is_undone")) {
        step.changes = reversed(std::move(step.changes));
        step.description = QObject::tr("撤销：%1").arg(step.description);
    }
    return step;
}

KV_Record editRow(const QString& inspector, const std::string& subject, const QString& description,
                  const RowChanges& changes, std::int64_t revision) {
    return {{"made_at", now()},
            {"subject", subject},
            {"description", toGbk(description)},
            {"is_undone", std::int64_t{0}},
            {"changes", toGbk(QString::fromStdString(toText(changes)))},
            {"revision", revision},
            {"inspector", toGbk(inspector)}};
}

/// Of the anomalies among the rows; windows and tools edit those of one comparison at a time.
std::int64_t changedComparison(const RowChanges& changes) {
    const auto anomaly = std::find_if(changes.begin(), changes.end(),
                                      [](const RowChange& change) { return change.table == kAnomalyTable; });
    if (anomaly == changes.end()) {
        return kNoComparison;
    }
    const std::optional<KV_Record>& row = anomaly->after ? anomaly->after : anomaly->before;
    return row ? comparisonOf(*row) : kNoComparison;
}

void insertReplacement(KV_MySQL& database, KV_Record row, std::int64_t comparisonId) {
    row["is_dropped"] = std::int64_t{1};
    row[kComparisonColumn] = comparisonId;
    database.insertRecord(kTable, row);
}

/// Condition and value for what others than that inspector did.
std::string byOthers(const QString& inspector) {
    return inspector.isNull() ? "?=''" : "inspector<>?";
}

/// Among the newest hundred.
template<typename Condition>
std::optional<EditStep> lastStepThat(KV_MySQL& database, const QString& inspector,
                                     const Condition& condition) {
    for (const KV_Record& row : database.queryRecord(
             "select * from edit_history where " + byOthers(inspector) + " order by revision desc limit 100",
             {toGbk(inspector)})) {
        EditStep step = stepOf(row);
        if (condition(step)) {
            return step;
        }
    }
    return std::nullopt;
}

} // namespace

std::vector<StoredEdit> readEdits(KV_MySQL& database, const QString& inspector) {
    std::vector<StoredEdit> edits;
    for (const KV_Record& row : database.queryRecord("select id, description, is_undone from edit_history "
                                                     "where inspector=? and is_dropped=0 order by id",
                                                     {toGbk(inspector)})) {
        StoredEdit edit;
        takeField(row, "id", edit.id);
        edit.description = textField(row, "description");
        edit.isUndone = flagField(row, "is_undone");
        edits.push_back(std::move(edit));
    }
    return edits;
}

RowChanges readChanges(KV_MySQL& database, std::int64_t editId) {
    const auto row = readRow(database, kTable, editId);
    if (!row) {
        throw KV_MySQL_Exception("edit " + std::to_string(editId) + " is not stored");
    }
    return changesField(*row);
}

std::int64_t insertEdit(KV_MySQL& database, const QString& inspector, const QString& description,
                        const RowChanges& changes, std::int64_t revision) {
    KV_Record row = editRow(inspector, changes.front().table, description, changes, revision);
    row[kComparisonColumn] = changedComparison(changes);
    return database.insertRecord(kTable, row);
}

void dropEdits(KV_MySQL& database, const RowIds& editIds) {
    RowUpdates updates;
    for (const std::int64_t id : editIds) {
        updates.add(id, {{"is_dropped", std::int64_t{1}}});
    }
    updates.store(database, kTable);
}

void markEdit(KV_MySQL& database, std::int64_t editId, bool isUndone, std::int64_t revision) {
    database.updateRecord(kTable, {{"is_undone", std::int64_t{isUndone ? 1 : 0}}, {"revision", revision}},
                          "where id=?", {editId});
}

std::int64_t noteReplacement(KV_MySQL& database, const QString& inspector, const std::string& table,
                             const QString& description) {
    const std::int64_t revision = raiseRevision(database);
    insertReplacement(database, editRow(inspector, table, description, {}, revision), kNoComparison);
    return revision;
}

std::int64_t noteComputation(KV_MySQL& database, const QString& inspector, const EpochPair& pair,
                             const QString& description) {
    const std::int64_t revision = raiseRevision(database);
    insertReplacement(database, editRow(inspector, kAnomalyTable, description, {}, revision),
                      needComparison(database, pair));
    return revision;
}

// The row of the revision is locked until a transaction that was cut off is over at the server, too.
bool isStored(KV_MySQL& database, const QString& inspector, std::int64_t revision) {
    const KV_MySQL::Transaction look(database);
    database.queryRecord("select revision from project_revision where id=1 for update");
    return !database
                .queryRecord("select id from edit_history where revision=? and inspector=?",
                             {revision, toGbk(inspector)})
                .empty();
}

void commitNoted(KV_MySQL& database, std::optional<KV_MySQL::Transaction>& transaction,
                 const QString& inspector, std::int64_t revision) {
    commitChecked(transaction, [&] { return isStored(database, inspector, revision); });
}

void handOverEdits(KV_MySQL& database, const QString& from, const QString& to) {
    database.updateRecord(kTable, {{"inspector", toGbk(to)}}, "where inspector=?", {toGbk(from)});
}

void forgetEdits(KV_MySQL& database, std::int64_t comparisonId) {
    database.deleteRecord(kTable, "where comparison_id=? and is_dropped=0", {comparisonId});
}

void trimEdits(KV_MySQL& database) {
    constexpr qint64 kDay = qint64{24} * 60 * 60;
    database.deleteRecord(kTable, "where is_dropped=1 and made_at<? and subject<>?",
                          {now(kDay), tableName(KV_STATION)});
}

void changeRowsOfEdits(KV_MySQL& database, const std::function<bool(RowChange&)>& change) {
    for (const KV_Record& edit : database.queryRecord("select id, changes from edit_history order by id")) {
        RowChanges changes = changesField(edit);
        bool isOther = false;
        for (RowChange& each : changes) {
            isOther = change(each) || isOther;
        }
        if (isOther) {
            std::int64_t id = 0;
            takeField(edit, "id", id);
            database.updateRecord(kTable, {{"changes", toGbk(QString::fromStdString(toText(changes)))}},
                                  "where id=?", {id});
        }
    }
}

std::vector<EditStep> readSteps(KV_MySQL& database, std::int64_t afterRevision, const QString& inspector) {
    std::vector<EditStep> steps;
    for (const KV_Record& row : database.queryRecord("select * from edit_history where revision>? and " +
                                                         byOthers(inspector) + " order by revision",
                                                     {afterRevision, toGbk(inspector)})) {
        steps.push_back(stepOf(row));
    }
    return steps;
}

std::optional<EditStep> lastStepOn(KV_MySQL& database, const std::string& table, std::int64_t id,
                                   const QString& inspector) {
    return lastStepThat(database, inspector, [&](const EditStep& step) {
        return std::any_of(step.changes.begin(), step.changes.end(),
                           [&](const RowChange& change) { return change.table == table && change.id == id; });
    });
}

std::optional<EditStep> lastRemovalOf(KV_MySQL& database, const std::string& table, std::int64_t id,
                                      const QString& inspector) {
    return lastStepThat(database, inspector, [&](const EditStep& step) {
        return (step.isReplacement && step.subject == table) ||
               std::any_of(step.changes.begin(), step.changes.end(), [&](const RowChange& change) {
                   return change.table == table && change.id == id && !change.after;
               });
    });
}

} // namespace inspection
