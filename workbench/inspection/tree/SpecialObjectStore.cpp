#include "workbench/inspection/tree/SpecialObjectStore.h"

#include "host/Gbk.h"
#include "workbench/inspection/session/Log.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/SpecialObjectFile.h"

#include <QObject>

namespace inspection {

using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

/// "添加特殊点 甲"
QString description(const QString& verb, int objectType, const std::string& gbkName) {
    return verb + specialObjectTitle(static_cast<KV_ObjectType>(objectType)) + ' ' + fromGbk(gbkName);
}

KV_Record fieldsOf(const KV_BasicNode& record) {
    KV_Record fields;
    record.evalute_record(fields);
    return fields;
}

} // namespace

Result<std::uint32_t> SpecialObjectStore::insert(const KV_BasicNode& record) const {
    std::uint32_t id = 0;
    const Status stored = m_session.history().perform(
        description(QObject::tr("添加"), record.m_type, record.GetName()), [&](EditTransaction& edit) {
            id = static_cast<std::uint32_t>(edit.insert(tableName(record.m_type), fieldsOf(record)));
        });
    if (!stored) {
        return failed(stored);
    }
    return id;
}

Result<bool> SpecialObjectStore::update(const KV_BasicNode& record, std::uint32_t id) const {
    bool isStored = true;
    const Status stored = m_session.history().perform(
        description(QObject::tr("编辑"), record.m_type, record.GetName()), [&](EditTransaction& edit) {
            isStored = edit.update(tableName(record.m_type), id, fieldsOf(record), record.m_version,
                                   record.GetName());
        });
    if (!stored && isStored) {
        return failed(stored);
    }
    return isStored;
}

Status SpecialObjectStore::rename(const StoredObject& object, const std::string& name) const {
    return m_session.history().perform(
        description(QObject::tr("重命名"), object.type, object.name) + QObject::tr(" 为 ") + fromGbk(name),
        [&](EditTransaction& edit) {
            edit.update(tableName(object.type), object.id, {{"name", name}}, object.version, object.name);
        });
}

Status SpecialObjectStore::remove(const StoredObject& object) const {
    return m_session.history().perform(
        description(QObject::tr("删除"), object.type, object.name),
        [&](EditTransaction& edit) { edit.remove(tableName(object.type), object.id, object.version); });
}

std::optional<RowChange> SpecialObjectStore::find(int objectType, std::uint32_t id) const {
    if (!m_session.connection()) {
        return std::nullopt;
    }
    try {
        auto row = readRow(*m_session.connection(), tableName(objectType), id);
        return row ? std::optional(RowChange{tableName(objectType), id, std::nullopt, std::move(row)})
                   : std::nullopt;
    } catch (const KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "A special object cannot be read:" << exception.what();
        return std::nullopt;
    }
}

std::optional<osg::Vec3d> SpecialObjectStore::position(int objectType, std::uint32_t id) const {
    const auto found = find(objectType, id);
    if (!found || !found->after) {
        return std::nullopt;
    }
    KV_BasicNode node;
    node.init_from_sqldata(*found->after);
    return node.GetCoor();
}

} // namespace inspection
