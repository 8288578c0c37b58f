#include "workbench/inspection/tree/SpecialObjectStore.h"

#include "workbench/inspection/context/Session.h"

#include <QObject>

#include <iostream>
#include <string>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

Failure refusal(const QString& cause) {
    return {cause, QObject::tr("数据库拒绝了修改，未作任何更改：%1").arg(cause), false};
}

/// Runs `work` on the database and the table of a type code.
template<typename Work>
Status onTable(const Session& session, int objectType, const Work& work) {
    PipelineDatabase* data = session.database();
    if (data == nullptr || !data->GetConncetDBState()) {
        return Failure{"no database", QObject::tr("没有可用的项目数据库"), false};
    }
    const std::string table = data->Gettablename(objectType);
    if (table.empty()) {
        return refusal(QStringLiteral("type code %1 has no table").arg(objectType));
    }
    try {
        work(*data->GetMySQL(), table);
        return std::nullopt;
    } catch (const KV_MySQL_Exception& exception) {
        std::cout << exception.what() << std::endl;
        return refusal(QString::fromUtf8(exception.what()));
    }
}

std::string idCondition(std::uint32_t id) {
    return "where id=" + std::to_string(id);
}

} // namespace

Result<std::uint32_t> SpecialObjectStore::insert(const KV_BasicNode& record) const {
    std::uint32_t id = 0;
    Status failure = onTable(m_session, record.m_type, [&](KV_MySQL& database, const std::string& table) {
        KV_Record fields;
        record.evalute_record(fields);
        id = static_cast<std::uint32_t>(database.insertRecord(table, fields));
    });
    if (failure) {
        return *failure;
    }
    return id;
}

Status SpecialObjectStore::update(const KV_BasicNode& record, std::uint32_t id) const {
    return onTable(m_session, record.m_type, [&](KV_MySQL& database, const std::string& table) {
        KV_Record fields;
        record.evalute_record(fields);
        database.updateRecord(table, fields, idCondition(id));
    });
}

Status SpecialObjectStore::rename(int objectType, std::uint32_t id, const std::string& name) const {
    return onTable(m_session, objectType, [&](KV_MySQL& database, const std::string& table) {
        KV_Record fields;
        fields["name"] = name;
        database.updateRecord(table, fields, idCondition(id));
    });
}

Status SpecialObjectStore::remove(int objectType, std::uint32_t id) const {
    return onTable(m_session, objectType, [&](KV_MySQL& database, const std::string& table) {
        database.deleteRecord(table, idCondition(id));
    });
}

std::optional<osg::Vec3d> SpecialObjectStore::position(int objectType, std::uint32_t id) const {
    std::optional<osg::Vec3d> position;
    onTable(m_session, objectType, [&](KV_MySQL& database, const std::string& table) {
        const auto rows = database.queryRecord("select * from " + table + " " + idCondition(id));
        if (!rows.empty()) {
            KV_BasicNode node;
            node.init_from_sqldata(rows.front());
            position = node.GetCoor();
        }
    });
    return position;
}

} // namespace inspection
