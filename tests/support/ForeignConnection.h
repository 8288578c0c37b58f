#pragma once

#include <QString>
#include <QVariant>

/// Another program that has the project's database open.
class ForeignConnection {
public:
    explicit ForeignConnection(const QString& file);
    ~ForeignConnection();
    ForeignConnection(const ForeignConnection&) = delete;
    ForeignConnection& operator=(const ForeignConnection&) = delete;
    void run(const QString& sql) const;
    /// First column of what a query finds.
    QVariantList read(const QString& sql, const QVariantList& bound = {}) const;

private:
    const QString m_name;
};
