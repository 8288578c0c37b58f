#include "workbench/inspectiondata/database/SpecialObjectNames.h"

#include "host/Gbk.h"
#include "host/inspection/Records.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Schema.h"

namespace inspection {

SpecialObjectNames::SpecialObjectNames(mysqlhelper::KV_MySQL& database) {
    for (const int type : {KV_SPECIAL_POINT, KV_SPECIAL_AREA, KV_HIGH_CONSEQUENCE_AREA}) {
        for (const auto& row : database.queryRecord("select name from " + tableName(type))) {
            std::string name;
            takeField(row, "name", name);
            m_stored.insert(fromGbk(name));
        }
    }
}

std::optional<QString> SpecialObjectNames::refusal(const QString& name) const {
    if (m_stored.count(name) != 0) {
        return QStringLiteral("名称“%1”已存在").arg(name);
    }
    if (m_taken.count(name) != 0) {
        return QStringLiteral("名称“%1”在文件中重复").arg(name);
    }
    return std::nullopt;
}

QString SpecialObjectNames::takeNext(const QString& prefix) {
    QString name;
    do {
        name = QStringLiteral("%1-%2").arg(prefix).arg(++m_number);
    } while (refusal(name));
    take(name);
    return name;
}

} // namespace inspection
