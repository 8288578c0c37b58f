#include "workbench/inspectiondata/database/SqliteDriver.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Fields.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

#include <algorithm>
#include <atomic>

namespace mysqlhelper {

namespace {

// SQLite's driver binds null texts and blobs as NULL, so empty ones must not be null.
QVariant toVariant(const KV_Value& value) {
    struct Visitor {
        QVariant operator()(std::monostate) const { return {}; }
        QVariant operator()(std::int64_t number) const { return QVariant::fromValue<qlonglong>(number); }
        QVariant operator()(double number) const { return number; }
        QVariant operator()(const std::string& gbk) const {
            const QString text = fromGbk(gbk);
            return text.isNull() ? QString(QLatin1String("")) : text;
        }
        QVariant operator()(const KV_Blob& blob) const {
            const auto* bytes = reinterpret_cast<const char*>(blob.data());
            return blob.empty() ? QByteArray("") : QByteArray(bytes, static_cast<qsizetype>(blob.size()));
        }
    };
    return std::visit(Visitor(), value);
}

/// Most texts are names, codes and outlines of ASCII, which is the same in both and needs no converter.
std::string gbkOf(const QString& text) {
    constexpr char16_t kFirstBeyondAscii = 0x80;
    const bool isAscii = std::all_of(text.begin(), text.end(),
                                     [](QChar letter) { return letter.unicode() < kFirstBeyondAscii; });
    return isAscii ? text.toLatin1().toStdString() : toGbk(text);
}

KV_Value toValue(const QVariant& variant) {
    if (variant.typeId() == QMetaType::QByteArray) {
        const QByteArray bytes = variant.toByteArray();
        return KV_Blob(bytes.begin(), bytes.end());
    }
    if (variant.isNull()) {
        return std::monostate();
    }
    switch (variant.typeId()) {
    case QMetaType::Double:
        return variant.toDouble();
    case QMetaType::Int:
    case QMetaType::LongLong:
        return static_cast<std::int64_t>(variant.toLongLong());
    default:
        return gbkOf(variant.toString());
    }
}

std::string textOf(const KV_Record& row, const char* column) {
    std::string text;
    inspection::takeField(row, column, text);
    return text;
}

/// Tables without row numbers tell none.
QString rowName(const KV_Record& row) {
    const auto* number = std::get_if<std::int64_t>(&row.at("rowid"));
    return number ? QStringLiteral("row %1").arg(*number) : QStringLiteral("a row");
}

QString nextName() {
    static std::atomic<int> count{0};
    return QStringLiteral("corridor-%1").arg(++count);
}

} // namespace

SqliteDriver::SqliteDriver(const QString& file) : m_file(file), m_name(nextName()) {
    try {
        open();
        run(QStringLiteral("pragma foreign_keys=on"), {});
        run(QStringLiteral("pragma trusted_schema=off"), {}); // of a file that somebody else may have made
        // Readers go on while results are stored; a database that cannot be written keeps the mode it has.
        query(QStringLiteral("pragma journal_mode=wal"), {});
        run(QStringLiteral("pragma synchronous=full"), {});
    } catch (const KV_MySQL_Exception&) {
        close();
        throw;
    }
}

SqliteDriver::~SqliteDriver() {
    close();
}

QSqlDatabase SqliteDriver::database() const {
    return QSqlDatabase::database(m_name, false);
}

void SqliteDriver::open() const {
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    database.setDatabaseName(m_file);
    QString options = QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000");
    if (m_file.startsWith(QLatin1String("file:"))) {
        options += QLatin1String(";QSQLITE_OPEN_URI");
    }
    database.setConnectOptions(options);
    if (!database.open()) {
        fail(database.lastError());
    }
}

void SqliteDriver::close() const {
    database().close();
    QSqlDatabase::removeDatabase(m_name);
}

bool SqliteDriver::isOpen() const {
    return database().isOpen();
}

const Dialect& SqliteDriver::dialect() const {
    static const Dialect dialect{"begin immediate",
                                 "begin",
                                 "default values",
                                 "integer primary key",
                                 "integer",
                                 "real",
                                 "text",
                                 "text",
                                 "text",
                                 "default %1",
                                 QString(),
                                 false,
                                 "select name from sqlite_master where type='table'",
                                 "select name from pragma_table_info(?)"};
    return dialect;
}

void SqliteDriver::fail(const QSqlError& error) const {
    const QString cause = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
    throw KV_MySQL_Exception((m_file + ": " + cause).simplified().toStdString());
}

QSqlQuery SqliteDriver::run(const QString& sql, const KV_Values& bound) const {
    announce(sql);
    QSqlQuery query(database());
    query.setForwardOnly(true);
    if (!query.prepare(sql)) {
        fail(query.lastError());
    }
    for (const KV_Value& value : bound) {
        query.addBindValue(toVariant(value));
    }
    if (!query.exec()) {
        fail(query.lastError());
    }
    return query;
}

KV_Rows SqliteDriver::query(const QString& sql, const KV_Values& bound) {
    QSqlQuery query = run(sql, bound);
    const QSqlRecord columns = query.record();
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(columns.count()));
    for (int column = 0; column < columns.count(); ++column) {
        names.push_back(columns.fieldName(column).toStdString());
    }
    KV_Rows rows;
    while (query.next()) {
        KV_Record row;
        for (int column = 0; column < columns.count(); ++column) {
            row.emplace(names[static_cast<std::size_t>(column)], toValue(query.value(column)));
        }
        rows.push_back(std::move(row));
    }
    if (query.lastError().isValid()) {
        fail(query.lastError());
    }
    return rows;
}

Change SqliteDriver::change(const QString& sql, const KV_Values& bound) {
    ++m_changes; // one that fails may have done a part of its work
    const QSqlQuery query = run(sql, bound);
    return {query.numRowsAffected(), query.lastInsertId().toLongLong()};
}

void SqliteDriver::control(const QString& sql) {
    ++m_changes; // a rollback takes changes back
    run(sql, {});
}

// Tells only of what other connections have committed, and reads no table for that.
std::optional<DataVersion> SqliteDriver::dataVersion() {
    const KV_Rows rows = query(QStringLiteral("pragma data_version"), {});
    return DataVersion{std::get<std::int64_t>(rows.at(0).at("data_version")), m_changes};
}

int SqliteDriver::schemaVersion() {
    const KV_Rows rows = query(QStringLiteral("pragma user_version"), {});
    return static_cast<int>(std::get<std::int64_t>(rows.at(0).at("user_version")));
}

void SqliteDriver::setSchemaVersion(int version) {
    run(QStringLiteral("pragma user_version=%1").arg(version), {});
}

// The pragmas look at the whole file at once.
std::vector<Damage> SqliteDriver::damages(const std::vector<std::string>& /*tables*/) {
    std::vector<Damage> damages;
    for (const KV_Record& row : query(QStringLiteral("pragma integrity_check"), {})) {
        const std::string report = textOf(row, "integrity_check");
        if (report != "ok") {
            damages.push_back({{}, fromGbk(report)});
        }
    }
    if (!damages.empty()) {
        return damages; // the tables may be unreadable
    }
    for (const KV_Record& row : query(QStringLiteral("select * from pragma_foreign_key_check"), {})) {
        damages.push_back({textOf(row, "table"), QStringLiteral("%1 refers to a row of %2 that is missing")
                                                     .arg(rowName(row), fromGbk(textOf(row, "parent")))});
    }
    return damages;
}

} // namespace mysqlhelper
