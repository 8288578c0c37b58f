#include "workbench/inspectiondata/database/RowChange.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/RowBatch.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <iterator>
#include <set>

namespace inspection {

using mysqlhelper::KV_Blob;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Value;

namespace {

constexpr char kBlobKey[] = "base64";

QJsonValue toJson(const KV_Value& value) {
    struct Visitor {
        QJsonValue operator()(std::monostate) const { return QJsonValue::Null; }
        QJsonValue operator()(std::int64_t number) const { return static_cast<qint64>(number); }
        QJsonValue operator()(double number) const { return number; }
        QJsonValue operator()(const std::string& gbk) const { return fromGbk(gbk); }
        QJsonValue operator()(const KV_Blob& blob) const {
            const QByteArray bytes(reinterpret_cast<const char*>(blob.data()),
                                   static_cast<qsizetype>(blob.size()));
            return QJsonObject{{kBlobKey, QString::fromLatin1(bytes.toBase64())}};
        }
    };
    return std::visit(Visitor(), value);
}

KV_Value toValue(const QJsonValue& json) {
    if (json.isString()) {
        return toGbk(json.toString());
    }
    if (json.isObject()) {
        const QByteArray bytes = QByteArray::fromBase64(json.toObject()[kBlobKey].toString().toLatin1());
        return KV_Blob(bytes.begin(), bytes.end());
    }
    if (json.isDouble()) {
        // Whole numbers come back whole; a column of real numbers makes them real again.
        const qint64 whole = json.toInteger();
        if (static_cast<double>(whole) == json.toDouble()) {
            return std::int64_t{whole};
        }
        return json.toDouble();
    }
    return std::monostate();
}

/// Without the fields that `known` has just so.
QJsonValue toJson(const std::optional<KV_Record>& row, const KV_Record& known = {}) {
    if (!row) {
        return QJsonValue::Null;
    }
    QJsonObject fields;
    for (const auto& [name, value] : *row) {
        const auto same = known.find(name);
        if (same == known.end() || same->second != value) {
            fields[QString::fromStdString(name)] = toJson(value);
        }
    }
    return fields;
}

std::optional<KV_Record> toRow(const QJsonValue& json) {
    if (!json.isObject()) {
        return std::nullopt;
    }
    KV_Record row;
    const QJsonObject fields = json.toObject();
    for (auto field = fields.begin(); field != fields.end(); ++field) {
        row[field.key().toStdString()] = toValue(field.value());
    }
    return row;
}

bool isSame(const KV_Value& a, const KV_Value& b) {
    const auto* whole = std::get_if<std::int64_t>(&a);
    const auto* real = std::get_if<double>(&b);
    if (whole && real) {
        return static_cast<double>(*whole) == *real;
    }
    return a == b ||
           (std::holds_alternative<double>(a) && std::holds_alternative<std::int64_t>(b) && isSame(b, a));
}

bool isSame(const std::optional<KV_Record>& a, const std::optional<KV_Record>& b) {
    return a.has_value() == b.has_value() && (!a || inspection::isSame(*a, *b));
}

enum class Sort { Insert, Update, Delete };

Sort sortOf(const RowChange& change) {
    return !change.before ? Sort::Insert : change.after ? Sort::Update : Sort::Delete;
}

using Changes = RowChanges::iterator;

/// The end of the changes from `first` on that may be made together: of one sort, in one table, each of
/// another row.
Changes endOfBatch(Changes first, Changes end) {
    std::set<std::int64_t> rows;
    return std::find_if(first, end, [&](const RowChange& change) {
        return change.table != first->table || sortOf(change) != sortOf(*first) ||
               !rows.insert(change.id).second;
    });
}

/// The changes, taken, with the rows as they are now. Throws when they are no longer what they were before.
RowChanges lookedUp(KV_MySQL& database, Changes first, Changes end, std::int64_t revision) {
    RowIds ids;
    std::transform(first, end, std::back_inserter(ids), [](const RowChange& change) { return change.id; });
    auto stored = readRows(database, first->table, ids);
    RowChanges made(std::make_move_iterator(first), std::make_move_iterator(end));
    for (RowChange& change : made) {
        const auto row = stored.find(change.id);
        auto now = row == stored.end() ? std::nullopt : std::optional(std::move(row->second));
        if (!isSame(now, change.before)) {
            throw RowIsOther(change, now);
        }
        change.before = std::move(now);
        if (change.after) {
            (*change.after)[kVersionColumn] = revision;
        }
    }
    return made;
}

/// What the row has to be given so that it is what it was.
KV_Record differences(const KV_Record& wanted, const KV_Record& row) {
    KV_Record fields;
    for (const auto& [name, value] : wanted) {
        const auto stored = row.find(name);
        if (name == kVersionColumn || stored == row.end() || !isSame(value, stored->second)) {
            fields.emplace(name, value);
        }
    }
    return fields;
}

// By its sort each change of a batch has the rows that are taken out of it here.
// NOLINTBEGIN(bugprone-unchecked-optional-access)
void insertAll(KV_MySQL& database, const RowChanges& changes) {
    mysqlhelper::KV_Rows rows;
    for (const RowChange& change : changes) {
        rows.push_back(*change.after);
    }
    insertRows(database, changes.front().table, rows);
}

void updateAll(KV_MySQL& database, const RowChanges& changes) {
    RowUpdates updates;
    for (const RowChange& change : changes) {
        updates.add(change.id, differences(*change.after, *change.before));
    }
    updates.store(database, changes.front().table);
}
// NOLINTEND(bugprone-unchecked-optional-access)

void deleteAll(KV_MySQL& database, const RowChanges& changes) {
    RowIds ids;
    for (const RowChange& change : changes) {
        ids.push_back(change.id);
    }
    deleteRows(database, changes.front().table, ids);
}

void store(KV_MySQL& database, const RowChanges& batch) {
    switch (sortOf(batch.front())) {
    case Sort::Insert:
        return insertAll(database, batch);
    case Sort::Update:
        return updateAll(database, batch);
    case Sort::Delete:
        return deleteAll(database, batch);
    }
}

} // namespace

RowIsOther::RowIsOther(RowChange expected, const std::optional<KV_Record>& now)
    : KV_MySQL_Exception("row " + std::to_string(expected.id) + " of " + expected.table +
                         " has been changed by somebody else"),
      m_expected(std::move(expected)), m_isGone(!now) {}

RowIsOther::~RowIsOther() = default;

std::optional<KV_Record> readRow(KV_MySQL& database, const std::string& table, std::int64_t id) {
    auto rows = database.queryRecord("select * from " + table + " where id=?", {id});
    return rows.empty() ? std::nullopt : std::optional(std::move(rows.front()));
}

// Columns that only one of them has do not count: a newer program may have added them.
bool isSame(const KV_Record& fields, const KV_Record& row) {
    return std::all_of(fields.begin(), fields.end(), [&row](const auto& field) {
        const auto other = row.find(field.first);
        return field.first == kVersionColumn || other == row.end() || isSame(field.second, other->second);
    });
}

RowChanges applyChanges(KV_MySQL& database, RowChanges changes, std::int64_t revision) {
    RowChanges made;
    made.reserve(changes.size());
    for (auto first = changes.begin(); first != changes.end();) {
        const auto end = endOfBatch(first, changes.end());
        RowChanges batch = lookedUp(database, first, end, revision);
        store(database, batch);
        std::move(batch.begin(), batch.end(), std::back_inserter(made));
        first = end;
    }
    return made;
}

RowChanges reversed(RowChanges changes) {
    std::reverse(changes.begin(), changes.end());
    for (RowChange& change : changes) {
        std::swap(change.before, change.after);
    }
    return changes;
}

std::string toText(const RowChanges& changes) {
    QJsonArray array;
    for (const RowChange& change : changes) {
        array.append(QJsonObject{{"table", QString::fromStdString(change.table)},
                                 {"id", static_cast<qint64>(change.id)},
                                 {"before", toJson(change.before)},
                                 {"after", toJson(change.after, change.before.value_or(KV_Record()))}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact).toStdString();
}

std::optional<RowChanges> toRowChanges(const std::string& text) {
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(text));
    if (!document.isArray()) {
        return std::nullopt;
    }
    RowChanges changes;
    const QJsonArray array = document.array();
    for (const auto json : array) {
        const QJsonObject object = json.toObject();
        RowChange change;
        change.table = object["table"].toString().toStdString();
        change.id = object["id"].toInteger();
        change.before = toRow(object["before"]);
        change.after = toRow(object["after"]);
        if (change.before && change.after) {
            change.after->insert(change.before->begin(), change.before->end());
        }
        if (change.table.empty() || (!change.before && !change.after)) {
            return std::nullopt;
        }
        changes.push_back(std::move(change));
    }
    return changes;
}

} // namespace inspection
