#pragma once

#include "host/inspection/KV_MySQL.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What lies behind KV_MySQL: one class for each kind of database.
namespace mysqlhelper {

using KV_Values = std::vector<KV_Value>;

/// How the SQL of one kind of database differs from that of the others. Names are quoted alike by all.
struct Dialect {
    const char* begin;        ///< starts a transaction
    const char* beginReading; ///< starts one that only reads, and sees nothing that others store from then on
    const char* defaultsOnly; ///< end of an insert that names no column
    const char* rowId;        ///< type of the column that numbers rows by itself
    const char* integer;      ///< type of 64 bits with a sign
    const char* real;         ///< type of an IEEE double
    const char* text;         ///< type of any text
    const char* name;         ///< type of texts that are unique
    const char* pairName;     ///< type of texts of which two together are unique
    const char* defaultValue; ///< "default %1"
    QString tableOptions;     ///< behind the closing bracket of a table
    bool indexesInTable;      ///< an index is part of the table's description
    const char* tables;       ///< select of all tables' "name"
    const char* columns;      ///< select of the "name" of all columns of table "?"
};

/// What a statement that is no select did.
struct Change {
    std::int64_t rows = 0;  ///< that its condition named
    std::int64_t newId = 0; ///< of the last new row
};

/// Equal as long as nothing was stored in the database, by this connection or by another one.
struct DataVersion {
    std::int64_t others = 0; ///< changes when another connection has stored something
    std::int64_t own = 0;    ///< changes with every change, commit and rollback of this one

    bool operator==(const DataVersion& other) const { return others == other.others && own == other.own; }
    bool operator!=(const DataVersion& other) const { return !(*this == other); }
};

/// What a database finds wrong with itself.
struct Damage {
    std::string table; ///< empty where it is not known
    QString cause;     ///< in the database's words
};

/// How long a program waits for its server.
struct Patience {
    int answerMilliseconds = 60000; ///< for the answer to a statement; the server is given up then
    int reconnectionMilliseconds =
        5000; ///< for a new connection in place of a lost one, besides the first try
    /// Called in the waiting thread with true when that takes longer than a second, and with false when it is over.
    std::function<void(bool isWaiting)> notice;
};

/// An open connection. Every function that may throw throws KV_MySQL_Exception.
class Driver {
public:
    Driver() = default;
    virtual ~Driver();
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    /// From now on; nothing where there is no server.
    virtual void setPatience(const Patience& /*patience*/) {}
    /// Called with each statement before it is run, except for rollbacks; what it throws is thrown instead of that.
    void setBeforeStatement(std::function<void(const QString& sql)> work) { m_before = std::move(work); }

    virtual bool isOpen() const = 0;
    virtual const Dialect& dialect() const = 0;
    virtual KV_Rows query(const QString& sql, const KV_Values& bound) = 0;
    virtual Change change(const QString& sql, const KV_Values& bound) = 0;
    /// The same as `query`, for what is asked again and again: the database is not asked twice while its data
    /// are unchanged. The rows hold until the next call.
    const KV_Rows& queryKept(const QString& sql, const KV_Values& bound);

    /// The version that setSchemaVersion stored, 0 without.
    virtual int schemaVersion() = 0;
    /// Part of the open transaction, except for the first time where tables are not.
    virtual void setSchemaVersion(int version) = 0;

    /// Looks for damage in these tables. Not inside a transaction, which it may end.
    virtual std::vector<Damage> damages(const std::vector<std::string>& tables) = 0;

    /// A transaction inside another one is a savepoint of it.
    void begin();
    /// The outermost transaction, for reading only.
    void beginReading();
    void commit();
    /// Never throws: what the database has rolled back by itself is rolled back.
    void rollBack();

protected:
    /// One of the statements that start and end transactions and savepoints.
    virtual void control(const QString& sql) = 0;
    /// The outermost transaction is over.
    virtual void transactionEnded() {}
    /// None where the database cannot tell it for less than a select costs.
    virtual std::optional<DataVersion> dataVersion() { return std::nullopt; }
    bool isInTransaction() const { return m_openTransactions > 0; }
    void announce(const QString& sql) const {
        if (m_before && !sql.startsWith(QLatin1String("rollback"))) {
            m_before(sql);
        }
    }

private:
    std::function<void(const QString& sql)> m_before;
    int m_openTransactions = 0;
    std::optional<DataVersion> m_keptVersion;
    std::map<std::pair<QString, KV_Values>, KV_Rows> m_kept; ///< rows of this version, by their select
};

/// Opens what KV_MySQL's constructor is given.
std::unique_ptr<Driver> openDriver(const std::string& url);

} // namespace mysqlhelper
