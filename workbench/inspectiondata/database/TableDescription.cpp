#include "workbench/inspectiondata/database/TableDescription.h"

#include "workbench/inspectiondata/database/Driver.h"

#include <QStringList>

namespace inspection {

using mysqlhelper::Dialect;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;

namespace {

const char* typeOf(Column::Sort sort, const Dialect& dialect) {
    switch (sort) {
    case Column::Sort::RowId:
        return dialect.rowId;
    case Column::Sort::Integer:
        return dialect.integer;
    case Column::Sort::Real:
        return dialect.real;
    case Column::Sort::Name:
        return dialect.name;
    case Column::Sort::PairName:
        return dialect.pairName;
    case Column::Sort::Text:
        break;
    }
    return dialect.text;
}

QString rendered(const Column& column, const Dialect& dialect) {
    QString text = QString::fromStdString(column.name) + ' ' + typeOf(column.sort, dialect);
    if (column.required && column.sort != Column::Sort::RowId) {
        text += QLatin1String(" not null");
    }
    if (!column.defaultValue.empty()) {
        text += ' ' + QString(dialect.defaultValue).arg(QString::fromStdString(column.defaultValue));
    }
    return text;
}

QString rendered(const TableDescription& table, const Dialect& dialect) {
    QStringList parts;
    for (const Column& column : table.columns) {
        parts << rendered(column, dialect);
    }
    for (const std::string& constraint : table.constraints) {
        parts << QString::fromStdString(constraint);
    }
    if (dialect.indexesInTable) {
        for (const Index& index : table.indexes) {
            parts << QString::fromStdString("index " + index.name + " (" + index.column + ')');
        }
    }
    return "create table if not exists " + QString::fromStdString(table.name) + " (" + parts.join(", ") +
           ')' + dialect.tableOptions;
}

std::set<std::string> namesOf(const KV_Rows& rows) {
    std::set<std::string> names;
    for (const KV_Record& row : rows) {
        names.insert(std::get<std::string>(row.at("name")));
    }
    return names;
}

} // namespace

void createTable(KV_MySQL& database, const TableDescription& table) {
    const Dialect& dialect = database.driver().dialect();
    database.execute(rendered(table, dialect).toStdString());
    if (!dialect.indexesInTable) {
        for (const Index& index : table.indexes) {
            database.execute("create index if not exists " + index.name + " on " + table.name + '(' +
                             index.column + ')');
        }
    }
}

void addColumn(KV_MySQL& database, const std::string& table, const Column& column) {
    const Dialect& dialect = database.driver().dialect();
    if (columnNames(database, table).count(column.name) == 0) {
        database.execute("alter table " + table + " add column " + rendered(column, dialect).toStdString());
    }
}

bool hasTable(KV_MySQL& database, const std::string& table) {
    return namesOf(database.queryRecord(database.driver().dialect().tables)).count(table) != 0;
}

std::set<std::string> columnNames(KV_MySQL& database, const std::string& table) {
    return namesOf(database.queryRecord(database.driver().dialect().columns, {table}));
}

} // namespace inspection
