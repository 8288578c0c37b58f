#include "workbench/inspectiondata/database/CheckedCommit.h"

#include "workbench/inspectiondata/database/ConnectionLost.h"

namespace inspection {

using mysqlhelper::ConnectionLost;
using mysqlhelper::KV_MySQL_Exception;

void commitChecked(std::optional<mysqlhelper::KV_MySQL::Transaction>& transaction,
                   const std::function<bool()>& isStored) {
    try {
        transaction->commit();
        transaction.reset();
    } catch (const ConnectionLost& loss) {
        transaction.reset();
        if (!loss.isInDoubt()) {
            throw;
        }
        bool isThere = false;
        try {
            isThere = isStored();
        } catch (const KV_MySQL_Exception&) {
            throw loss;
        }
        if (!isThere) {
            throw ConnectionLost(loss.what(), false);
        }
    }
}

} // namespace inspection
