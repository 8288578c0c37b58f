#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/check/Finding.h"

namespace inspection {

/// The anomalies of all stations. Throws KV_MySQL_Exception.
Findings checkAnomalies(mysqlhelper::KV_MySQL& database);

} // namespace inspection
