#include "workbench/inspectiondata/database/PipelineDatabase.h"

#include "workbench/inspectiondata/database/CenterlineImport.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/SpecialObjectImport.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

std::string uri(const QString& file, const char* options) {
    return "file:" + QUrl::toPercentEncoding(file, "/").toStdString() + '?' + options;
}

/// Whether the file says that it is read together with a write-ahead log (SQLite's file format, version numbers).
bool hasLogMode(const QString& file) {
    constexpr qint64 kReadVersion = 19;
    constexpr char kLogged = 2;
    QFile header(file);
    char version = 0;
    return header.open(QIODevice::ReadOnly) && header.seek(kReadVersion) && header.getChar(&version) &&
           version == kLogged;
}

/// A reader needs the log's files and makes them where there are none. Only who may write takes them away again; where
/// they stand already, they are somebody else's.
std::unique_ptr<KV_MySQL> openForReading(const QString& file) {
    const bool takesThemAway = hasLogMode(file) && !QFileInfo::exists(file + QStringLiteral("-wal"));
    auto database = std::make_unique<KV_MySQL>(uri(file, takesThemAway ? "mode=rw" : "mode=ro"));
    database->execute("pragma query_only=on");
    return database;
}

std::unique_ptr<KV_MySQL> openReadOnly(const QString& url) {
    if (isServerAddress(url)) {
        return std::make_unique<KV_MySQL>(forReading(url).toStdString());
    }
    try {
        auto database = openForReading(url);
        database->queryRecord("select count(*) from sqlite_master");
        return database;
    } catch (const KV_MySQL_Exception&) {
        // A folder that cannot be written has no place for the files that readers share with a writer; then
        // there is no writer either.
        return std::make_unique<KV_MySQL>(uri(url, "mode=ro&immutable=1"));
    }
}

Unexpected databaseFailure(const QString& name, const KV_MySQL_Exception& exception) {
    const QString cause = QString::fromUtf8(exception.what());
    return Unexpected(
        Failure{cause.contains(name) ? cause : name + ": " + cause, name + "：数据库无法使用：" + cause});
}

Unexpected neverComputed(const QString& name) {
    return fileFailure(name, "no such database, the project was never computed",
                       "数据库不存在，项目尚未计算");
}

Unexpected newerSchema(const QString& file, int version) {
    return fileFailure(
        file,
        QStringLiteral("database schema version %1 is newer than this program, which knows version %2")
            .arg(version)
            .arg(kSchemaVersion),
        "数据库版本比本程序新，请升级程序");
}

/// Before inspectors had names, one alone edited on a server; who opens it first goes on with his edits.
void takeNamelessEdits(const ProjectDescription& project, KV_MySQL& database) {
    const QString inspector = inspectorOf(project);
    if (!inspector.isEmpty()) {
        handOverEdits(database, QString(), inspector);
    }
}

Status prepareForWriting(const ProjectDescription& project, KV_MySQL& database) {
    migrateSchema(database, project.pair());
    KV_MySQL::Transaction transaction(database);
    startRevisions(database);
    trimEdits(database);
    takeNamelessEdits(project, database);
    if (database.queryRecord("select id from " + tableName(KV_STATION) + " limit 1").empty()) {
        if (auto done = importCenterline(project, database); !done) {
            return failed(done);
        }
        importHighConsequenceAreas(project, database);
    }
    transaction.commit();
    return {};
}

/// Nothing when a database of this version can be read.
Status checkForReading(const QString& name, int version) {
    if (version == 0) {
        return neverComputed(name);
    }
    if (version < kSchemaVersion) {
        return fileFailure(name, "database is of an older version; open the project for writing once",
                           "数据库版本较旧，请先以可写方式打开一次");
    }
    return {};
}

} // namespace

PipelineDatabase::PipelineDatabase(std::unique_ptr<KV_MySQL> database) : m_database(std::move(database)) {}
PipelineDatabase::~PipelineDatabase() = default;

Result<std::unique_ptr<PipelineDatabase>> PipelineDatabase::open(const ProjectDescription& project,
                                                                 Project::Access access) {
    const QString url = project.databaseUrl();
    const QString name = shownDatabase(url);
    const bool readOnly = access == Project::Access::ReadOnly;
    if (readOnly && !isServerAddress(url) && !QFileInfo::exists(url)) {
        return neverComputed(name);
    }
    try {
        auto database = readOnly ? openReadOnly(url) : std::make_unique<KV_MySQL>(url.toStdString());
        const int version = storedSchemaVersion(*database);
        if (version > kSchemaVersion) {
            return newerSchema(name, version);
        }
        if (auto done = readOnly ? checkForReading(name, version) : prepareForWriting(project, *database);
            !done) {
            return failed(done);
        }
        return std::unique_ptr<PipelineDatabase>(new PipelineDatabase(std::move(database)));
    } catch (const KV_MySQL_Exception& exception) {
        return databaseFailure(name, exception);
    }
}

bool PipelineDatabase::GetConncetDBState(int connection) const {
    return connection == 0 && m_database->isOpen();
}

std::string PipelineDatabase::Gettablename(int type) const {
    return tableName(type);
}

} // namespace inspection
