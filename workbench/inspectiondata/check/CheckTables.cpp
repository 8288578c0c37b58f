#include "workbench/inspectiondata/check/CheckTables.h"

#include "workbench/inspectiondata/database/Driver.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/TableDescription.h"

namespace inspection {

using mysqlhelper::KV_MySQL;

namespace {

/// A database with the tables as they are made now.
std::unique_ptr<KV_MySQL> referenceDatabase() {
    auto reference = std::make_unique<KV_MySQL>(":memory:");
    createTables(*reference);
    return reference;
}

Findings missingColumns(KV_MySQL& database, KV_MySQL& reference, const std::string& table) {
    Findings findings;
    const auto present = columnNames(database, table);
    for (const std::string& column : columnNames(reference, table)) {
        if (present.count(column) == 0) {
            findings.push_back({QString::fromStdString(table), QString(),
                                QStringLiteral("缺少列 %1").arg(QString::fromStdString(column))});
        }
    }
    return findings;
}

} // namespace

Findings checkTables(KV_MySQL& database) {
    Findings findings;
    const auto reference = referenceDatabase();
    for (const StoredTable& table : storedTables()) {
        if (!hasTable(database, table.name)) {
            findings.push_back({QString::fromStdString(table.name), QString(), QStringLiteral("缺少数据表")});
            continue;
        }
        const Findings missing = missingColumns(database, *reference, table.name);
        findings.insert(findings.end(), missing.begin(), missing.end());
    }
    return findings;
}

Findings checkDamage(KV_MySQL& database) {
    std::vector<std::string> names;
    for (const StoredTable& table : storedTables()) {
        names.push_back(table.name);
    }
    Findings findings;
    for (const mysqlhelper::Damage& damage : database.driver().damages(names)) {
        findings.push_back(
            {damage.table.empty() ? QStringLiteral("数据库") : QString::fromStdString(damage.table),
             QString(), QStringLiteral("已损坏：") + damage.cause});
    }
    return findings;
}

} // namespace inspection
