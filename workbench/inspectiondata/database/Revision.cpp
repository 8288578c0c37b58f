#include "workbench/inspectiondata/database/Revision.h"

#include "workbench/inspectiondata/database/Fields.h"

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

std::int64_t versionOf(const KV_Record& row) {
    std::int64_t version = 0;
    takeField(row, kVersionColumn, version);
    return version;
}

std::int64_t readRevision(KV_MySQL& database) {
    const auto rows = database.queryRecord("select revision from project_revision where id=1");
    if (rows.empty()) {
        throw KV_MySQL_Exception("table project_revision is empty");
    }
    return wholeField(rows.front(), "revision");
}

std::int64_t raiseRevision(KV_MySQL& database) {
    database.execute("update project_revision set revision=revision+1 where id=1");
    return readRevision(database);
}

void startRevisions(KV_MySQL& database) {
    if (database.queryRecord("select id from project_revision").empty()) {
        database.execute("insert into project_revision (id, revision) "
                         "select 1, coalesce(max(revision), 0) from edit_history");
    }
}

} // namespace inspection
