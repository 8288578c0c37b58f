#pragma once

#include "workbench/inspectiondata/database/Driver.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <mysql.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace mysqlhelper {

struct MariaDbError;

/// A database on a MariaDB or MySQL server, made to behave as SQLite does: strict, InnoDB, texts of four-byte
/// UTF-8 that are compared byte by byte, also blanks at their end. A row that another connection has locked
/// is waited for five seconds.
///
/// A connection that was lost is made anew, for as long as the patience lasts, before a statement
/// that has certainly not been run: the loss showed while it was prepared. A select is also repeated when the
/// loss showed later. Any other statement is then reported as failed and not repeated, because it may have
/// been run. A loss inside a transaction ends it: nothing of it is stored, and all its further statements
/// fail until the transaction is given up. The same holds for a transaction that the server ended because of
/// a deadlock. A server that has not answered in time is not asked once more at once. All of this is reported as
/// ConnectionLost.
///
/// Once it has been told how patient it is, it waits for the server in the calling thread and lets another one do
/// the statement.
class MariaDbDriver : public Driver {
public:
    explicit MariaDbDriver(inspection::ServerAddress address);
    ~MariaDbDriver() override;

    void setPatience(const Patience& patience) override { m_patience = patience; }
    bool isOpen() const override { return m_connection != nullptr; }
    const Dialect& dialect() const override { return m_dialect; }
    KV_Rows query(const QString& sql, const KV_Values& bound) override;
    Change change(const QString& sql, const KV_Values& bound) override;
    int schemaVersion() override;
    void setSchemaVersion(int version) override;
    std::vector<Damage> damages(const std::vector<std::string>& tables) override;

protected:
    void control(const QString& sql) override;
    void transactionEnded() override {
        m_endedBecause.clear();
        m_isEndedByLoss = false;
    }

private:
    /// What a statement does, which tells what a loss while it ran means.
    enum class Kind { Reads, Changes, Commits };
    struct Close {
        void operator()(MYSQL* connection) const { mysql_close(connection); }
    };

    void connect();
    void setUpSession();
    void reconnect(const MariaDbError& loss);
    /// Runs the work beside this thread, which tells meanwhile that it is waiting. With a limit it gives the server
    /// up when that is over, and the work fails.
    void attend(const std::function<void()>& work, std::optional<std::chrono::milliseconds> limit);
    void tellWaiting(bool isWaiting) const;
    void perform(Kind kind, const std::function<void(MYSQL&)>& work);
    void noteEndOfTransaction(Kind kind, const MariaDbError& error);
    bool hasVersionTable();
    [[noreturn]] void fail(const QString& cause) const;
    [[noreturn]] void lose(const QString& cause, bool isInDoubt = false) const;

    const inspection::ServerAddress m_address;
    Dialect m_dialect;
    std::unique_ptr<MYSQL, Close> m_connection; ///< none after a loss
    std::size_t m_mostBytes = 0;                ///< that the server takes at once
    QString m_endedBecause;                     ///< why the open transaction is over; empty while it is not
    std::optional<Patience> m_patience;
    bool m_isEndedByLoss = false;
    bool m_isSilent = false; ///< the server has not answered in time
};

} // namespace mysqlhelper
