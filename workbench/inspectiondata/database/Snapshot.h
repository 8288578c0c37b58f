#pragma once

#include "workbench/inspectiondata/database/Driver.h"

namespace inspection {

/// For as long as it lives, the database reads as it was at its first reading, whatever others store; they do
/// not wait. For reading only, and inside no transaction. Throws KV_MySQL_Exception when the
/// database refuses.
class Snapshot {
public:
    explicit Snapshot(mysqlhelper::KV_MySQL& database) : m_driver(database.driver()) {
        m_driver.beginReading();
    }
    ~Snapshot() { m_driver.rollBack(); }
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

private:
    mysqlhelper::Driver& m_driver;
};

} // namespace inspection
