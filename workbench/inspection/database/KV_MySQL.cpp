#include "host/inspection/KV_MySQL.h"

#include "host/Gbk.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStringList>
#include <QVariant>

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
        return toGbk(variant.toString());
    }
}

QString quotedName(const std::string& name) {
    return '"' + QString::fromStdString(name).replace('"', QLatin1String("\"\"")) + '"';
}

} // namespace

KV_MySQL_Exception::KV_MySQL_Exception(const std::string& message) : std::runtime_error(message) {}
KV_MySQL_Exception::~KV_MySQL_Exception() = default;

struct KV_MySQL::Connection {
    QString name; ///< Qt's name of the connection
    QString file; ///< for messages
    int openTransactions = 0;

    QSqlDatabase database() const { return QSqlDatabase::database(name, false); }

    [[noreturn]] void fail(const QSqlError& error) const {
        const QString cause = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
        throw KV_MySQL_Exception((file + ": " + cause).simplified().toStdString());
    }

    void open() {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(file);
        QString options = QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000");
        if (file.startsWith(QLatin1String("file:"))) {
            options += QLatin1String(";QSQLITE_OPEN_URI");
        }
        database.setConnectOptions(options);
        if (!database.open()) {
            fail(database.lastError());
        }
    }

    QSqlQuery run(const QString& sql, const std::vector<KV_Value>& bound) const {
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

    void close() const {
        database().close();
        QSqlDatabase::removeDatabase(name);
    }
};

KV_MySQL::KV_MySQL(const std::string& url) : m_connection(std::make_unique<Connection>()) {
    static std::atomic<int> count{0};
    m_connection->name = QStringLiteral("corridor-%1").arg(++count);
    m_connection->file = QString::fromStdString(url);
    try {
        m_connection->open();
        execute("pragma foreign_keys=on");
        // Readers go on while results are stored; a database that cannot be written keeps the mode it has.
        queryRecord("pragma journal_mode=wal");
        execute("pragma synchronous=full");
    } catch (const KV_MySQL_Exception&) {
        m_connection->close();
        throw;
    }
}

KV_MySQL::~KV_MySQL() {
    m_connection->close();
}

bool KV_MySQL::isOpen() const {
    return m_connection->database().isOpen();
}

KV_Rows KV_MySQL::queryRecord(const std::string& sql, const std::vector<KV_Value>& bound) {
    QSqlQuery query = m_connection->run(fromGbk(sql), bound);
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
        m_connection->fail(query.lastError());
    }
    return rows;
}

std::int64_t KV_MySQL::execute(const std::string& sql, const std::vector<KV_Value>& bound) {
    return m_connection->run(fromGbk(sql), bound).numRowsAffected();
}

std::int64_t KV_MySQL::insertRecord(const std::string& table, const KV_Record& fields) {
    QStringList names;
    QStringList marks;
    std::vector<KV_Value> values;
    for (const auto& [name, value] : fields) {
        names << quotedName(name);
        marks << QStringLiteral("?");
        values.push_back(value);
    }
    const QString sql = names.isEmpty()
                            ? QStringLiteral("insert into %1 default values").arg(quotedName(table))
                            : "insert into " + quotedName(table) + " (" + names.join(',') + ") values (" +
                                  marks.join(',') + ')';
    return m_connection->run(sql, values).lastInsertId().toLongLong();
}

std::int64_t KV_MySQL::updateRecord(const std::string& table, const KV_Record& fields,
                                    const std::string& condition, const std::vector<KV_Value>& bound) {
    if (fields.empty()) {
        return 0;
    }
    QStringList assignments;
    std::vector<KV_Value> values;
    for (const auto& [name, value] : fields) {
        assignments << quotedName(name) + "=?";
        values.push_back(value);
    }
    values.insert(values.end(), bound.begin(), bound.end());
    const QString sql =
        "update " + quotedName(table) + " set " + assignments.join(',') + ' ' + fromGbk(condition);
    return m_connection->run(sql, values).numRowsAffected();
}

std::int64_t KV_MySQL::deleteRecord(const std::string& table, const std::string& condition,
                                    const std::vector<KV_Value>& bound) {
    return m_connection->run("delete from " + quotedName(table) + ' ' + fromGbk(condition), bound)
        .numRowsAffected();
}

// An inner transaction is a savepoint of the outer one.
KV_MySQL::Transaction::Transaction(KV_MySQL& database) : m_database(database) {
    const int depth = m_database.m_connection->openTransactions;
    m_database.execute(depth == 0 ? "begin immediate" : "savepoint level" + std::to_string(depth));
    m_database.m_connection->openTransactions = depth + 1;
}

KV_MySQL::Transaction::~Transaction() {
    if (!m_open) {
        return;
    }
    const int depth = --m_database.m_connection->openTransactions;
    try {
        if (depth == 0) {
            m_database.execute("rollback");
        } else {
            m_database.execute("rollback to level" + std::to_string(depth));
            m_database.execute("release level" + std::to_string(depth));
        }
    } catch (const KV_MySQL_Exception&) {
        // The database has rolled back by itself, as it does when the disk is full.
        return;
    }
}

void KV_MySQL::Transaction::commit() {
    const int depth = m_database.m_connection->openTransactions - 1;
    m_database.execute(depth == 0 ? "commit" : "release level" + std::to_string(depth));
    m_database.m_connection->openTransactions = depth;
    m_open = false;
}

} // namespace mysqlhelper
