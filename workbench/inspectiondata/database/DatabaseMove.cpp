#include "workbench/inspectiondata/database/DatabaseMove.h"

#include "workbench/inspectiondata/database/CheckedCommit.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/TableCopy.h"
#include "workbench/inspectiondata/database/TableDescription.h"
#include "workbench/inspectiondata/project/ProjectFile.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QDateTime>
#include <QFile>

#include <optional>
#include <vector>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

/// Counts rows for the progress: each is read twice, once here and once there.
class Course {
public:
    Course(KV_MySQL& source, const DatabaseMoveProgress& progress) : m_progress(progress) {
        for (const StoredTable& table : storedTables()) {
            m_all += 2 * countRows(source, table);
        }
    }
    /// One more row; false when the user wants to stop.
    bool goOn() {
        ++m_done;
        m_stopped = m_stopped || (m_progress && !m_progress(double(m_done) / double(m_all)));
        return !m_stopped;
    }
    bool stopped() const { return m_stopped; }
    qint64 rows() const { return m_all / 2; }

private:
    const DatabaseMoveProgress& m_progress;
    qint64 m_all = 0;
    qint64 m_done = 0;
    bool m_stopped = false;
};

bool holdsProject(KV_MySQL& database) {
    if (storedSchemaVersion(database) != 0) {
        return true;
    }
    for (const StoredTable& table : storedTables()) {
        if (hasTable(database, table.name) && countRows(database, table) > 0) {
            return true;
        }
    }
    return false;
}

std::vector<TableDigest> copyTables(KV_MySQL& source, KV_MySQL& target, Course& course) {
    std::vector<TableDigest> digests;
    for (const StoredTable& table : storedTables()) {
        digests.push_back(digestRows(source, table, [&](const KV_Record& row) {
            target.insertRecord(table.name, row);
            return course.goOn();
        }));
        if (course.stopped()) {
            break;
        }
    }
    return digests;
}

/// Name of a table that is not what was copied; empty when all are.
std::string differentTable(KV_MySQL& target, const std::vector<TableDigest>& expected, Course& course) {
    std::size_t index = 0;
    for (const StoredTable& table : storedTables()) {
        const TableDigest digest = digestRows(target, table, [&](const KV_Record&) { return course.goOn(); });
        if (course.stopped()) {
            return {};
        }
        if (!(digest == expected[index++])) {
            return table.name;
        }
    }
    return {};
}

/// Whether the copy is completed there; waits for a server that is still completing it.
bool isCopied(KV_MySQL& target) {
    const KV_MySQL::Transaction look(target);
    target.queryRecord("select revision from project_revision where id=1 for update");
    return storedSchemaVersion(target) != 0;
}

Status copyProject(KV_MySQL& source, KV_MySQL& target, const ProjectDescription& before,
                   const ProjectDescription& after, Course& course) {
    createTables(target);
    const KV_MySQL::Transaction snapshot(source);
    std::optional<KV_MySQL::Transaction> transaction(std::in_place, target);
    const auto digests = copyTables(source, target, course);
    const std::string different = course.stopped() ? std::string() : differentTable(target, digests, course);
    if (course.stopped()) {
        return cancelled();
    }
    if (!different.empty()) {
        const QString table = QString::fromStdString(different);
        return fileFailure(shownDatabase(after.databaseUrl()),
                           "the copy of table " + table + " differs from the original",
                           "数据表 " + table + " 的副本与原表不一致");
    }
    handOverEdits(target, inspectorOf(before), inspectorOf(after));
    storeSchemaVersion(target);
    commitChecked(transaction, [&] { return isCopied(target); });
    return {};
}

/// Opens the target and copies everything into it.
Status fillTarget(KV_MySQL& source, const ProjectDescription& before, const ProjectDescription& after,
                  Course& course) {
    try {
        KV_MySQL target(after.databaseUrl().toStdString());
        if (holdsProject(target)) {
            return fileFailure(shownDatabase(after.databaseUrl()),
                               "the database already holds tables of a project",
                               "该数据库中已有项目的数据表");
        }
        return copyProject(source, target, before, after, course);
    } catch (const KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(Failure{cause, "数据库迁移失败，项目仍使用原数据库：" + cause});
    }
}

/// Renames the SQLite file that the project has left. A file that another program reads stays as it is.
QString keepFile(const QString& file) {
    const QString kept =
        file + '.' + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    const bool isRead = QFile::exists(file + "-wal");
    return !isRead && QFile::rename(file, kept) ? kept : file;
}

} // namespace

Result<DatabaseMove> moveDatabase(Project& project, const QString& target,
                                  const DatabaseMoveProgress& progress) {
    const ProjectDescription before = project.description();
    ProjectDescription after = before;
    after.database = absoluteDatabase(before.folder, target);
    const QString url = after.databaseUrl();
    if (url == before.databaseUrl()) {
        return fileFailure(shownDatabase(url), "the project's tables lie there already",
                           "项目的数据表已在该数据库中");
    }
    auto source = PipelineDatabase::open(before, project.access());
    if (!source) {
        return failed(source);
    }
    auto& opened = *source;
    DatabaseMove move{0, shownDatabase(before.databaseUrl())};
    try {
        Course course(*opened->GetMySQL(), progress);
        if (auto done = fillTarget(*opened->GetMySQL(), before, after, course); !done) {
            return failed(done);
        }
        move.rows = course.rows();
    } catch (const KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(Failure{cause, "数据库无法使用：" + cause});
    }
    if (auto done = project.setDatabase(target); !done) {
        return failed(done);
    }
    opened.reset();
    if (!before.databaseFile().isEmpty()) {
        move.keptDatabase = keepFile(before.databaseFile());
    }
    return move;
}

} // namespace inspection
