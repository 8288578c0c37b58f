#pragma once

#include "workbench/inspectiondata/database/Driver.h"

class QSqlDatabase;
class QSqlError;
class QSqlQuery;

namespace mysqlhelper {

/// A SQLite file: write-ahead log, foreign keys on. A database that another connection writes to is waited
/// for five seconds.
class SqliteDriver : public Driver {
public:
    /// Path (made if missing), or "file:" with SQLite's own options.
    explicit SqliteDriver(const QString& file);
    ~SqliteDriver() override;

    bool isOpen() const override;
    const Dialect& dialect() const override;
    KV_Rows query(const QString& sql, const KV_Values& bound) override;
    Change change(const QString& sql, const KV_Values& bound) override;
    int schemaVersion() override;
    void setSchemaVersion(int version) override;
    std::vector<Damage> damages(const std::vector<std::string>& tables) override;

protected:
    void control(const QString& sql) override;
    std::optional<DataVersion> dataVersion() override;

private:
    QSqlDatabase database() const;
    void open() const;
    void close() const;
    QSqlQuery run(const QString& sql, const KV_Values& bound) const;
    [[noreturn]] void fail(const QSqlError& error) const;

    const QString m_file;
    const QString m_name;       ///< Qt's name of the connection
    std::int64_t m_changes = 0; ///< statements of this connection that may have changed something
};

} // namespace mysqlhelper
