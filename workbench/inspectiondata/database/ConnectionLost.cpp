#include "workbench/inspectiondata/database/ConnectionLost.h"

#include <QObject>

namespace mysqlhelper {

ConnectionLost::ConnectionLost(const std::string& message, bool isInDoubt)
    : KV_MySQL_Exception(message), m_isInDoubt(isInDoubt) {}

ConnectionLost::~ConnectionLost() = default;

QString ConnectionLost::told() const {
    return m_isInDoubt ? QObject::tr("与数据库的连接在保存时中断，尚不能确定是否已保存")
                       : QObject::tr("与数据库的连接已断开，未作任何更改");
}

} // namespace mysqlhelper
