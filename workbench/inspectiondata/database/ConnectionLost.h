#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"

#include <QString>

namespace mysqlhelper {

/// The connection to the server is lost, or the server does not answer any more. Nothing of what was being done
/// is stored, unless that is in doubt.
class INSPECTIONDATA_API ConnectionLost : public KV_MySQL_Exception {
public:
    ConnectionLost(const std::string& message, bool isInDoubt);
    ~ConnectionLost() override;

    /// It happened while a transaction was completed, or a statement outside of one ran: that may be stored or not.
    bool isInDoubt() const { return m_isInDoubt; }
    /// What the user is told, one Chinese line.
    QString told() const;

private:
    bool m_isInDoubt;
};

} // namespace mysqlhelper
