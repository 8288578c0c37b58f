#include "tests/support/MariaDbServer.h"

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QFile>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QStringList>

#include <mysql.h>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr int kMostMilliseconds = 60000;

std::unique_ptr<MariaDbServer>& theServer() {
    static std::unique_ptr<MariaDbServer> server;
    return server;
}

/// Ends the server while the program still has its application object.
class ServerEnd : public testing::Environment {
public:
    void TearDown() override { theServer().reset(); }
};

[[maybe_unused]] const auto* const kServerEnd = testing::AddGlobalTestEnvironment(new ServerEnd);

[[noreturn]] void giveUp(const QString& cause) {
    const std::string text = "MariaDB server for the tests: " + cause.toStdString();
    ADD_FAILURE() << text;
    throw std::runtime_error(text);
}

/// Debian keeps the server where only root's PATH leads.
QString programPath(const QString& name) {
    QString path = QStandardPaths::findExecutable(name);
    if (path.isEmpty()) {
        path = QStandardPaths::findExecutable(name, {"/usr/sbin", "/usr/bin", "/usr/libexec"});
    }
    if (path.isEmpty()) {
        giveUp(name + " is not installed (Debian: mariadb-server-core, mariadb-client-core)");
    }
    return path;
}

/// The server refuses to run as root unless it is told to.
QStringList withUser(QStringList arguments) {
    if (geteuid() == 0) {
        arguments << QStringLiteral("--user=root");
    }
    return arguments;
}

/// A connection of root's.
class Connection {
public:
    explicit Connection(const QString& socket) : m_connection(mysql_init(nullptr)) {
        if (!mysql_real_connect(m_connection, nullptr, "root", "", nullptr, 0, socket.toUtf8().constData(),
                                0) ||
            mysql_set_character_set(m_connection, "utf8mb4") != 0) {
            giveUp(QString::fromUtf8(mysql_error(m_connection)));
        }
    }
    ~Connection() { mysql_close(m_connection); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    QStringList read(const QString& sql) const {
        if (mysql_query(m_connection, sql.toUtf8().constData()) != 0) {
            giveUp(sql + ": " + QString::fromUtf8(mysql_error(m_connection)));
        }
        QStringList values;
        if (MYSQL_RES* result = mysql_store_result(m_connection)) {
            while (const MYSQL_ROW row = mysql_fetch_row(result)) {
                values << QString::fromUtf8(row[0]);
            }
            mysql_free_result(result);
        }
        return values;
    }
    /// One that has ended by now is ended as well.
    void kill(const QString& id) const { mysql_query(m_connection, ("kill connection " + id).toUtf8()); }

private:
    MYSQL* m_connection;
};

bool isDurable = false;

QString quoted(QString text) {
    return '\'' + text.replace('\'', "''") + '\'';
}

} // namespace

MariaDbServer& MariaDbServer::instance() {
    if (!theServer()) {
        theServer().reset(new MariaDbServer);
    }
    return *theServer();
}

void MariaDbServer::makeDurable() {
    isDurable = true;
}

MariaDbServer::MariaDbServer() {
    initialise();
    start();
}

MariaDbServer::~MariaDbServer() {
    if (m_process) {
        m_process->kill(); // nothing that is worth an orderly end
        m_process->waitForFinished(kMostMilliseconds);
    }
}

void MariaDbServer::initialise() {
    QProcess installation;
    installation.setProcessChannelMode(QProcess::MergedChannels);
    // As below; the folder of the data it makes itself.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TMPDIR", m_folder.path());
    installation.setProcessEnvironment(environment);
    // With --force it does without looking up the host's name, which a minimal system cannot do.
    installation.start(
        programPath("mariadb-install-db"),
        withUser({"--no-defaults", "--force", "--datadir=" + m_folder.filePath("data"),
                  "--auth-root-authentication-method=normal", "--skip-test-db", "--skip-name-resolve"}));
    if (!installation.waitForFinished(kMostMilliseconds) || installation.exitCode() != 0) {
        giveUp("mariadb-install-db failed: " + QString::fromUtf8(installation.readAll()));
    }
}

void MariaDbServer::start() {
    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::MergedChannels);
    m_process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    QStringList options{
        "--no-defaults", "--datadir=" + m_folder.filePath("data"),
        // Of its own: a server that starts clears the temporary tables of others from a shared one.
        "--tmpdir=" + m_folder.filePath("data"), "--socket=" + m_folder.filePath("socket"),
        "--pid-file=" + m_folder.filePath("pid"), "--skip-networking", "--skip-log-bin",
        "--key-buffer-size=1M", "--performance-schema=off"};
    if (!isDurable) {
        options << "--innodb-buffer-pool-size=16M"
                << "--innodb-log-file-size=8M"
                << "--innodb-flush-log-at-trx-commit=0"
                << "--innodb-flush-method=nosync"
                << "--innodb-doublewrite=0"
                << "--sync-frm=0";
    }
    m_process->start(programPath("mariadbd"), withUser(options));
    QByteArray log;
    while (!log.contains("ready for connections")) {
        if (!m_process->waitForReadyRead(kMostMilliseconds)) {
            giveUp("mariadbd did not start: " + QString::fromUtf8(log));
        }
        log += m_process->readAll();
    }
    Connection(m_folder.filePath("socket")).read("select 1");
}

void MariaDbServer::stop() {
    m_process->terminate();
    if (!m_process->waitForFinished(kMostMilliseconds)) {
        giveUp("mariadbd did not stop");
    }
    m_process.reset();
}

void MariaDbServer::crash() {
    m_process->kill();
    if (!m_process->waitForFinished(kMostMilliseconds)) {
        giveUp("mariadbd cannot be killed");
    }
    m_process.reset();
}

void MariaDbServer::freeze() const {
    ::kill(static_cast<pid_t>(m_process->processId()), SIGSTOP);
}

void MariaDbServer::thaw() const {
    ::kill(static_cast<pid_t>(m_process->processId()), SIGCONT);
}

QString MariaDbServer::newDatabase() {
    const QString name = QStringLiteral("corridor_%1").arg(++m_databases);
    run("create database " + name);
    return address(name);
}

QString MariaDbServer::address(const QString& database, const QString& user, const QString& password) const {
    const QString login = password.isEmpty() ? user : user + ':' + password;
    return "mysql://" + login + "@/" + database + "?socket=" + m_folder.filePath("socket");
}

QStringList MariaDbServer::run(const QString& sql, const QString& database) const {
    const Connection connection(m_folder.filePath("socket"));
    if (!database.isEmpty()) {
        connection.read("use " + database);
    }
    return connection.read(sql);
}

void MariaDbServer::killConnections() const {
    const Connection connection(m_folder.filePath("socket"));
    const QString others =
        "select id from information_schema.processlist where id<>connection_id() and user='root'";
    for (const QString& id : connection.read(others)) {
        connection.kill(id);
    }
    const QDeadlineTimer deadline(kMostMilliseconds);
    while (!connection.read(others).isEmpty()) {
        if (deadline.hasExpired()) {
            giveUp("connections do not end");
        }
    }
}

bool MariaDbServer::cutOneConnection(std::size_t chosen) const {
    const Connection connection(m_folder.filePath("socket"));
    const QStringList ids = connection.read("select id from information_schema.processlist where "
                                            "id<>connection_id() and db is not null order by id");
    if (ids.isEmpty()) {
        return false;
    }
    connection.kill(ids[static_cast<qsizetype>(chosen % static_cast<std::size_t>(ids.size()))]);
    return true;
}

void MariaDbServer::killConnectionInside(const QString& text) const {
    const Connection connection(m_folder.filePath("socket"));
    const QDeadlineTimer deadline(kMostMilliseconds);
    for (;;) {
        const QStringList ids =
            connection.read("select id from information_schema.processlist where id<>connection_id() and "
                            "command='Execute' and instr(info, " +
                            quoted(text) + ") > 0");
        if (!ids.isEmpty()) {
            return connection.kill(ids.front());
        }
        if (deadline.hasExpired()) {
            giveUp("no connection is inside a statement with " + text);
        }
    }
}
