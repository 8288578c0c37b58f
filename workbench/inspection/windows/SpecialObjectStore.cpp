#include "workbench/inspection/windows/SpecialObjectStore.h"

#include "workbench/inspection/context/Session.h"

#include <iostream>
#include <string>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

/// Runs `work` on the database and the table of a type code; false when there is neither or the database
/// refuses.
template<typename Work>
bool onTable(const Session& session, int objectType, const Work& work) {
    PipelineDatabase* data = session.database();
    if (data == nullptr || !data->GetConncetDBState()) {
        return false;
    }
    const std::string table = data->Gettablename(objectType);
    if (table.empty()) {
        return false;
    }
    try {
        work(*data->GetMySQL(), table);
        return true;
    } catch (const KV_MySQL_Exception& exception) {
        std::cout << exception.what() << std::endl;
        return false;
    }
}

std::string idCondition(std::uint32_t id) {
    return "where id=" + std::to_string(id);
}

} // namespace

std::optional<std::uint32_t> SpecialObjectStore::insert(const KV_BasicNode& record) const {
    std::uint32_t id = 0;
    const bool stored = onTable(m_session, record.m_type, [&](KV_MySQL& database, const std::string& table) {
        KV_Record fields;
        record.evalute_record(fields);
        id = static_cast<std::uint32_t>(database.insertRecord(table, fields));
    });
    return stored ? std::optional(id) : std::nullopt;
}

bool SpecialObjectStore::update(const KV_BasicNode& record, std::uint32_t id) const {
    return onTable(m_session, record.m_type, [&](KV_MySQL& database, const std::string& table) {
        KV_Record fields;
        record.evalute_record(fields);
        database.updateRecord(table, fields, idCondition(id));
    });
}

bool SpecialObjectStore::remove(int objectType, std::uint32_t id) const {
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
