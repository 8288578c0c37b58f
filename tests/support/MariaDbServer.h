#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <string>

/// A mariadbd of the test program's own, on a socket in a temporary folder and on no network. It is started
/// by the first test that asks for it and ends with the program, however that ends. A test fails where it
/// cannot be started.
class MariaDbServer {
public:
    static MariaDbServer& instance();
    /// Called before the first instance(): commits wait for the disk as on a real server.
    static void makeDurable();
    ~MariaDbServer();
    MariaDbServer(const MariaDbServer&) = delete;
    MariaDbServer& operator=(const MariaDbServer&) = delete;

    /// Makes an empty database with a name of its own and gives its address, for "root" without a password.
    QString newDatabase();
    /// The address of a database, whoever made it.
    QString address(const QString& database, const QString& user = "root",
                    const QString& password = {}) const;
    /// Runs a statement as root, on a connection of its own that is no part of the program under test. Gives
    /// the first column of what it finds.
    QStringList run(const QString& sql, const QString& database = {}) const;
    /// Ends all connections but the one that does it.
    void killConnections() const;
    /// Waits until some connection is inside a statement that contains this text, then ends that connection.
    void killConnectionInside(const QString& text) const;

    /// Ends one connection to a database, the `chosen`th modulo their number, whatever it does. False when there is none.
    bool cutOneConnection(std::size_t chosen) const;

    void stop();
    /// It ends at once and in the middle of everything, as when its process is killed.
    void crash();
    void start();
    /// It answers nothing any more and keeps its connections, until it is thawed.
    void freeze() const;
    void thaw() const;

private:
    MariaDbServer();
    void initialise();

    QTemporaryDir m_folder;
    std::unique_ptr<QProcess> m_process;
    int m_databases = 0;
};
