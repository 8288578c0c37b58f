#include "host/inspection/KV_MySQL.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Driver.h"

#include <QStringList>

namespace mysqlhelper {

namespace {

QString quotedName(const std::string& name) {
    return '"' + QString::fromStdString(name).replace('"', QLatin1String("\"\"")) + '"';
}

} // namespace

KV_MySQL_Exception::KV_MySQL_Exception(const std::string& message) : std::runtime_error(message) {}
KV_MySQL_Exception::~KV_MySQL_Exception() = default;

KV_MySQL::KV_MySQL(const std::string& url) : m_driver(openDriver(url)) {}
KV_MySQL::~KV_MySQL() = default;

bool KV_MySQL::isOpen() const {
    return m_driver->isOpen();
}

KV_Rows KV_MySQL::queryRecord(const std::string& sql, const std::vector<KV_Value>& bound) {
    return m_driver->query(fromGbk(sql), bound);
}

std::int64_t KV_MySQL::execute(const std::string& sql, const std::vector<KV_Value>& bound) {
    return m_driver->change(fromGbk(sql), bound).rows;
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
    const QString content = names.isEmpty() ? QString(m_driver->dialect().defaultsOnly)
                                            : '(' + names.join(',') + ") values (" + marks.join(',') + ')';
    return m_driver->change("insert into " + quotedName(table) + ' ' + content, values).newId;
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
    return m_driver->change(sql, values).rows;
}

std::int64_t KV_MySQL::deleteRecord(const std::string& table, const std::string& condition,
                                    const std::vector<KV_Value>& bound) {
    return m_driver->change("delete from " + quotedName(table) + ' ' + fromGbk(condition), bound).rows;
}

KV_MySQL::Transaction::Transaction(KV_MySQL& database) : m_database(database) {
    m_database.m_driver->begin();
}

KV_MySQL::Transaction::~Transaction() {
    if (m_open) {
        m_database.m_driver->rollBack();
    }
}

void KV_MySQL::Transaction::commit() {
    m_database.m_driver->commit();
    m_open = false;
}

} // namespace mysqlhelper
