#pragma once

#include "host/inspection/KV_MySQL.h"

#include <functional>
#include <optional>

namespace inspection {

/// Completes a transaction. Where the connection is lost meanwhile it asks `isStored` on a new one, which looks at what only
/// that transaction stores, and first at a row that it has locked, so that a server which is still at it is waited for.
/// Throws when it is not stored; of what is in doubt even then ConnectionLost says so.
void commitChecked(std::optional<mysqlhelper::KV_MySQL::Transaction>& transaction,
                   const std::function<bool()>& isStored);

} // namespace inspection
