#include "workbench/inspectiondata/database/SpecialObjectImport.h"

#include "workbench/inspectiondata/database/ConnectionLost.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/GroundHeights.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/text/Log.h"

#include <QDebug>
#include <QFileInfo>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

/// Part of a transaction. Stops where the user wants it. Throws when the database refuses.
Status store(const SpecialObjectRows& rows, KV_MySQL& database, const SpecialObjectProgress& progress) {
    std::size_t stored = 0;
    for (const auto& record : rows.records) {
        if (progress && !progress(double(stored++) / double(rows.records.size()))) {
            return cancelled();
        }
        KV_Record fields;
        record->evalute_record(fields);
        database.insertRecord(tableName(record->m_type), fields);
    }
    return {};
}

/// In one transaction, so that others see all of them or none.
Status storeForAll(const ProjectDescription& project, const SpecialObjectRows& rows, KV_MySQL& database,
                   const SpecialObjectProgress& progress) {
    if (rows.records.empty()) {
        return {};
    }
    std::optional<KV_MySQL::Transaction> transaction(std::in_place, database);
    const int type = rows.records.front()->m_type;
    const QString inspector = inspectorOf(project);
    const std::int64_t revision =
        noteReplacement(database, inspector, tableName(type),
                        QStringLiteral("导入 %1 个%2")
                            .arg(rows.records.size())
                            .arg(specialObjectTitle(static_cast<KV_ObjectType>(type))));
    if (auto done = store(rows, database, progress); !done) {
        return failed(done);
    }
    if (progress && !progress(1.0)) {
        return cancelled();
    }
    commitNoted(database, transaction, inspector, revision);
    return {};
}

/// Markers of imported points are to stand on the ground also after the editing tool has put them up anew.
void putOnGround(const ProjectDescription& project, SpecialObjectRows& rows) {
    GroundHeights heights(project);
    for (const auto& record : rows.records) {
        osg::Vec3d place = record->GetCoor();
        if (record->m_type == KV_SPECIAL_POINT && place.z() == 0.0) {
            place.z() = heights.at(place.x(), place.y()).value_or(0.0);
            record->SetCoor(place);
        }
    }
}

Unexpected databaseRefusal(const KV_MySQL_Exception& exception) {
    const QString cause = QString::fromUtf8(exception.what());
    return Unexpected(Failure{cause, QStringLiteral("数据库拒绝了写入，未导入任何对象：") + cause});
}

/// Part of the whole progress.
SpecialObjectProgress half(const SpecialObjectProgress& progress, double from) {
    return [&progress, from](double fraction) { return !progress || progress(from + fraction / 2.0); };
}

} // namespace

Result<SpecialObjectImport> importSpecialObjects(const ProjectDescription& project,
                                                 const SpecialObjectFile& file, bool allOrNone,
                                                 KV_MySQL& database, const SpecialObjectProgress& progress) {
    try {
        auto read = readSpecialObjects(file, SpecialObjectNames(database), half(progress, 0.0));
        if (!read) {
            return failed(read);
        }
        auto& rows = *read;
        if (allOrNone && !rows.refusals.isEmpty()) {
            return SpecialObjectImport{0, rows.refusals, rows.notes};
        }
        putOnGround(project, rows);
        if (auto done = storeForAll(project, rows, database, half(progress, 0.5)); !done) {
            return failed(done);
        }
        return SpecialObjectImport{static_cast<int>(rows.records.size()), rows.refusals, rows.notes};
    } catch (const mysqlhelper::ConnectionLost& loss) {
        return Unexpected(Failure{QString::fromUtf8(loss.what()), loss.told()});
    } catch (const KV_MySQL_Exception& exception) {
        return databaseRefusal(exception);
    }
}

void importHighConsequenceAreas(const ProjectDescription& project, KV_MySQL& database) {
    const SpecialObjectFile file{project.folder + QStringLiteral("/special.gpkg"), KV_HIGH_CONSEQUENCE_AREA,
                                 project.crs, QStringLiteral("high_consequence")};
    if (!QFileInfo::exists(file.path)) {
        return;
    }
    const auto read = readSpecialObjects(file, SpecialObjectNames(database), {});
    if (!read) {
        qCWarning(dataLog).noquote() << read.error().message;
        return;
    }
    const auto& rows = *read;
    for (const QString& refusal : rows.refusals) {
        qCWarning(dataLog).noquote() << "High-consequence area refused:" << refusal;
    }
    store(rows, database, {});
}

} // namespace inspection
