#include "tests/support/ForeignConnection.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

#include <gtest/gtest.h>

ForeignConnection::ForeignConnection(const QString& file)
    : m_name(QString("foreign-%1").arg(reinterpret_cast<quintptr>(this))) {
    QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", m_name);
    database.setDatabaseName(file);
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_TRUE(database.open());
}

ForeignConnection::~ForeignConnection() {
    QSqlDatabase::database(m_name).close();
    QSqlDatabase::removeDatabase(m_name);
}

void ForeignConnection::run(const QString& sql) const {
    QSqlQuery query(QSqlDatabase::database(m_name));
    EXPECT_TRUE(query.exec(sql)) << query.lastError().text().toStdString();
}

QVariantList ForeignConnection::read(const QString& sql, const QVariantList& bound) const {
    QSqlQuery query(QSqlDatabase::database(m_name));
    EXPECT_TRUE(query.prepare(sql));
    for (const QVariant& value : bound) {
        query.addBindValue(value);
    }
    EXPECT_TRUE(query.exec()) << query.lastError().text().toStdString();
    QVariantList values;
    while (query.next()) {
        values << query.value(0);
    }
    return values;
}
