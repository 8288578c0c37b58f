#include "workbench/inspectiondata/database/MariaDbDriver.h"

#include "workbench/inspectiondata/database/ConnectionLost.h"
#include "workbench/inspectiondata/database/MariaDbStatement.h"

#include <QDeadlineTimer>
#include <QThread>

#include <errmsg.h>
#include <mysqld_error.h>

#include <algorithm>
#include <future>
#include <mutex>

#include <sys/socket.h>

namespace mysqlhelper {

namespace {

constexpr int kFirstPauseMilliseconds = 20;
constexpr int kLongestPauseMilliseconds = 640;
constexpr int kMostLosses = 3; // during one statement
constexpr unsigned kConnectSeconds = 3;
constexpr std::chrono::milliseconds kNotice(1000);

void runPlain(MYSQL& connection, const QString& sql) {
    const QByteArray utf8 = sql.toUtf8();
    if (mysql_real_query(&connection, utf8.constData(), static_cast<unsigned long>(utf8.size())) != 0) {
        throw MariaDbError(mysql_errno(&connection), mysql_error(&connection), true);
    }
}

/// The rows of "check table", which not every server prepares, that report no success.
std::vector<Damage> damagesOf(MYSQL& connection, const std::string& table) {
    runPlain(connection, "check table " + QString::fromStdString(table));
    const std::unique_ptr<MYSQL_RES, decltype(&mysql_free_result)> result(mysql_store_result(&connection),
                                                                          mysql_free_result);
    if (!result) {
        throw MariaDbError(mysql_errno(&connection), mysql_error(&connection), true);
    }
    constexpr unsigned kSort = 2; // columns Table, Op, Msg_type, Msg_text
    constexpr unsigned kText = 3;
    std::vector<Damage> damages;
    while (const MYSQL_ROW row = mysql_fetch_row(result.get())) {
        const QString text = QString::fromUtf8(row[kText]);
        const bool isStatus = QString::fromUtf8(row[kSort]) == QLatin1String("status");
        if (!isStatus || text != QLatin1String("OK")) {
            damages.push_back({table, text});
        }
    }
    return damages;
}

bool isSelect(const QString& sql) {
    return sql.trimmed().startsWith(QLatin1String("select"), Qt::CaseInsensitive);
}

QByteArray orNothing(const QString& text) {
    return text.isEmpty() ? QByteArray() : text.toUtf8();
}

const char* pointer(const QByteArray& text) {
    return text.isNull() ? nullptr : text.constData();
}

Dialect usualDialect() {
    // An index of InnoDB takes 3072 bytes, which is 768 characters.
    return {"start transaction",
            "start transaction with consistent snapshot",
            "() values ()",
            "bigint not null auto_increment primary key",
            "bigint",
            "double",
            "longtext",
            "varchar(768)",
            "varchar(384)",
            "default (%1)",
            QString(),
            true,
            "select table_name as name from information_schema.tables where table_schema=database()",
            "select column_name as name from information_schema.columns "
            "where table_schema=database() and table_name=?"};
}

} // namespace

MariaDbDriver::MariaDbDriver(inspection::ServerAddress address)
    : m_address(std::move(address)), m_dialect(usualDialect()) {
    try {
        connect();
    } catch (const MariaDbError& error) {
        fail(error.what());
    }
}

MariaDbDriver::~MariaDbDriver() = default;

void MariaDbDriver::fail(const QString& cause) const {
    throw KV_MySQL_Exception((m_address.shown() + ": " + cause).simplified().toStdString());
}

void MariaDbDriver::lose(const QString& cause, bool isInDoubt) const {
    throw ConnectionLost((m_address.shown() + ": " + cause).simplified().toStdString(), isInDoubt);
}

void MariaDbDriver::connect() {
    static std::once_flag libraryIsReady;
    std::call_once(libraryIsReady, [] { mysql_library_init(0, nullptr, nullptr); });
    std::unique_ptr<MYSQL, Close> connection(mysql_init(nullptr));
    const unsigned noFilesOfOurs = 0;
    mysql_options(connection.get(), MYSQL_OPT_LOCAL_INFILE, &noFilesOfOurs);
    mysql_options(connection.get(), MYSQL_OPT_CONNECT_TIMEOUT, &kConnectSeconds);
    // A server that says nothing for so long is gone.
    const auto silenceSeconds =
        static_cast<unsigned>(m_patience.value_or(Patience()).answerMilliseconds / 1000 + 1);
    mysql_options(connection.get(), MYSQL_OPT_READ_TIMEOUT, &silenceSeconds);
    mysql_options(connection.get(), MYSQL_OPT_WRITE_TIMEOUT, &silenceSeconds);
    mysql_options(connection.get(), MYSQL_SET_CHARSET_NAME, "utf8mb4");
    const QByteArray host = orNothing(m_address.host);
    const QByteArray socket = orNothing(m_address.socket);
    // With the rows that an update finds, not the fewer that it really changes, as SQLite counts them.
    if (!mysql_real_connect(connection.get(), pointer(host), m_address.user.toUtf8().constData(),
                            m_address.password.toUtf8().constData(), m_address.database.toUtf8().constData(),
                            static_cast<unsigned>(m_address.port), pointer(socket), CLIENT_FOUND_ROWS)) {
        throw MariaDbError(mysql_errno(connection.get()), mysql_error(connection.get()), false);
    }
    m_connection = std::move(connection);
    try {
        setUpSession();
    } catch (const MariaDbError& error) {
        m_connection.reset();
        throw MariaDbError(error.code, error.what(), false);
    }
}

void MariaDbDriver::setUpSession() {
    // MariaDB's and MySQL's names of the collation that compares bytes and does not pad with blanks.
    MariaDbStatement statement(*m_connection,
                               "select collation_name as name from information_schema.collations "
                               "where collation_name in ('utf8mb4_nopad_bin', 'utf8mb4_0900_bin')");
    statement.execute({});
    const KV_Rows rows = statement.rows();
    if (rows.empty()) {
        throw MariaDbError(0, "the server is too old, it has no collation that compares texts exactly",
                           false);
    }
    MariaDbStatement size(*m_connection, "select @@max_allowed_packet as bytes");
    size.execute({});
    m_mostBytes = static_cast<std::size_t>(std::get<std::int64_t>(size.rows().at(0).at("bytes")));
    const QString collation = QString::fromStdString(std::get<std::string>(rows[0].at("name")));
    m_dialect.tableOptions = " engine=InnoDB default charset=utf8mb4 collate=" + collation;
    runPlain(*m_connection, "set names utf8mb4 collate " + collation);
    runPlain(*m_connection, "set session autocommit=1, innodb_lock_wait_timeout=5, lock_wait_timeout=5, "
                            "sql_mode='STRICT_ALL_TABLES,ANSI_QUOTES,PIPES_AS_CONCAT,NO_BACKSLASH_ESCAPES,"
                            "NO_AUTO_VALUE_ON_ZERO,NO_ENGINE_SUBSTITUTION'");
    if (m_address.readOnly) {
        runPlain(*m_connection, "set session transaction read only");
    }
}

void MariaDbDriver::reconnect(const MariaDbError& loss) {
    const int most = m_isSilent ? 0 : m_patience.value_or(Patience()).reconnectionMilliseconds;
    const QDeadlineTimer deadline(most);
    std::string cause = loss.what();
    int pause = 0;
    do {
        QThread::msleep(static_cast<unsigned long>(std::min<qint64>(pause, deadline.remainingTime())));
        try {
            attend([this] { connect(); }, std::nullopt);
            m_isSilent = false;
            return;
        } catch (const MariaDbError& error) {
            cause = error.what();
            if (!error.isLostConnection()) {
                fail(QString::fromUtf8(error.what()));
            }
        }
        pause = std::clamp(pause * 2, kFirstPauseMilliseconds, kLongestPauseMilliseconds);
    } while (!deadline.hasExpired());
    lose(QStringLiteral("the server is gone, connecting again failed for %1 s: ").arg(most / 1000) +
         QString::fromStdString(cause));
}

void MariaDbDriver::tellWaiting(bool isWaiting) const {
    if (m_patience && m_patience->notice) {
        m_patience->notice(isWaiting);
    }
}

void MariaDbDriver::attend(const std::function<void()>& work,
                           std::optional<std::chrono::milliseconds> limit) {
    if (!m_patience) {
        return work();
    }
    auto done = std::async(std::launch::async, work);
    if (done.wait_for(kNotice) != std::future_status::ready) {
        tellWaiting(true);
        if (limit && done.wait_for(*limit - kNotice) != std::future_status::ready) {
            m_isSilent = true;
            ::shutdown(mysql_get_socket(m_connection.get()), SHUT_RDWR); // which ends the statement
        }
        done.wait();
        tellWaiting(false);
    }
    done.get();
}

void MariaDbDriver::noteEndOfTransaction(Kind kind, const MariaDbError& error) {
    const QString cause = QString::fromUtf8(error.what());
    if (error.isLostConnection()) {
        m_isEndedByLoss = true;
        m_endedBecause = (kind == Kind::Commits && error.sent
                              ? "connection lost while a transaction was completed, it is stored or not: "
                              : "connection lost inside a transaction, nothing of it is stored: ") +
                         cause;
    } else if (error.code == ER_LOCK_DEADLOCK) {
        m_endedBecause = cause;
    }
}

// The heart of it: `work` is done once more only when it certainly was not done, or does not change anything.
void MariaDbDriver::perform(Kind kind, const std::function<void(MYSQL&)>& work) {
    if (m_isEndedByLoss) {
        lose("the transaction is over: " + m_endedBecause);
    }
    if (!m_endedBecause.isEmpty()) {
        fail("the transaction is over: " + m_endedBecause);
    }
    for (int losses = 0;; ++losses) {
        try {
            if (!m_connection) {
                throw MariaDbError(CR_SERVER_GONE_ERROR, "there is no connection", false);
            }
            return attend([&] { work(*m_connection); },
                          std::chrono::milliseconds(m_patience.value_or(Patience()).answerMilliseconds));
        } catch (const MariaDbError& error) {
            if (isInTransaction()) {
                noteEndOfTransaction(kind, error);
            }
            if (!error.isLostConnection()) {
                fail(QString::fromUtf8(error.what()));
            }
            const bool isUnanswered = m_isSilent && m_connection;
            m_connection.reset();
            if (isInTransaction()) {
                lose(m_endedBecause, error.sent && kind == Kind::Commits);
            }
            if (error.sent && kind != Kind::Reads) {
                lose("connection lost while a statement ran, it is stored or not: " +
                         QString::fromUtf8(error.what()),
                     true);
            }
            if (losses == kMostLosses || isUnanswered) {
                lose(QString::fromUtf8(error.what()));
            }
            reconnect(error);
        }
    }
}

KV_Rows MariaDbDriver::query(const QString& sql, const KV_Values& bound) {
    announce(sql);
    KV_Rows rows;
    perform(isSelect(sql) ? Kind::Reads : Kind::Changes, [&](MYSQL& connection) {
        MariaDbStatement statement(connection, sql.toUtf8());
        statement.execute(bound, m_mostBytes);
        rows = statement.rows();
    });
    return rows;
}

Change MariaDbDriver::change(const QString& sql, const KV_Values& bound) {
    announce(sql);
    Change change;
    perform(Kind::Changes, [&](MYSQL& connection) {
        MariaDbStatement statement(connection, sql.toUtf8());
        statement.execute(bound, m_mostBytes);
        change = statement.change();
    });
    return change;
}

// A transaction that was begun on a connection that got lost has never been, so beginning may be repeated.
void MariaDbDriver::control(const QString& sql) {
    announce(sql);
    perform(sql == QLatin1String("commit") ? Kind::Commits : Kind::Reads,
            [&](MYSQL& connection) { runPlain(connection, sql); });
}

bool MariaDbDriver::hasVersionTable() {
    return !query(QStringLiteral("select 1 as found from information_schema.tables "
                                 "where table_schema=database() and table_name='schema_version'"),
                  {})
                .empty();
}

int MariaDbDriver::schemaVersion() {
    if (!hasVersionTable()) {
        return 0;
    }
    const KV_Rows rows = query(QStringLiteral("select version from schema_version"), {});
    return rows.empty() ? 0 : static_cast<int>(std::get<std::int64_t>(rows[0].at("version")));
}

void MariaDbDriver::setSchemaVersion(int version) {
    if (!hasVersionTable()) {
        change("create table if not exists schema_version (one bigint primary key check (one = 1), "
               "version bigint not null)" +
                   m_dialect.tableOptions,
               {});
    }
    change(QStringLiteral("replace into schema_version (one, version) values (1, ?)"),
           {std::int64_t{version}});
}

std::vector<Damage> MariaDbDriver::damages(const std::vector<std::string>& tables) {
    std::vector<Damage> all;
    for (const std::string& table : tables) {
        perform(Kind::Reads, [&](MYSQL& connection) {
            const std::vector<Damage> found = damagesOf(connection, table);
            all.insert(all.end(), found.begin(), found.end());
        });
    }
    return all;
}

} // namespace mysqlhelper
