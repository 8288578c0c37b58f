#include "workbench/inspectiondata/project/PendingProjectFile.h"

#include "host/Gbk.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/project/ServerAddress.h"
#include "workbench/inspectiondata/project/TrustedPlaces.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <cstdio>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

enum class Asking {
    Waiting, ///< for a transaction whose owner is gone but whose end the server has yet to see
    Looking  ///< writes nothing and waits for nobody
};

/// Never makes a database that is not there.
std::string urlOf(const ProjectDescription& project, Asking asking) {
    const QString url = project.databaseUrl();
    const bool isLooking = asking == Asking::Looking;
    if (isServerAddress(url)) {
        return (isLooking ? forReading(url) : url).toStdString();
    }
    return "file:" + QUrl::toPercentEncoding(url, "/").toStdString() + (isLooking ? "?mode=ro" : "?mode=rw");
}

/// Whether the database has stored what the file belongs to. Throws KV_MySQL_Exception.
bool isStored(const ProjectDescription& project, const DueRevision& due, Asking asking) {
    if (!project.databaseFile().isEmpty() && !QFileInfo::exists(project.databaseFile())) {
        return false;
    }
    KV_MySQL database(urlOf(project, asking));
    std::optional<KV_MySQL::Transaction> rolledBack;
    if (asking == Asking::Waiting) {
        rolledBack.emplace(database);
        database.execute("update project_revision set revision=revision where id=1");
    }
    return !database
                .queryRecord("select id from edit_history where revision=? and subject=? and inspector=?",
                             {due.revision, std::string(kRelayoutSubject), toGbk(due.inspector)})
                .empty();
}

/// Whether the file that lies beside project.json counts. Throws KV_MySQL_Exception.
bool countsNow(const QString& folder, Asking asking) {
    const QString file = pendingProjectFile(folder);
    const auto due = readDueRevision(file);
    if (!due || !due->has_value()) {
        return false;
    }
    const auto project = readProjectFile(folder, file);
    return project && isStored(*project, **due, asking);
}

} // namespace

QString pendingProjectFile(const QString& folder) {
    return projectFile(folder) + QStringLiteral(".next");
}

Status writePendingProjectFile(const ProjectDescription& project, const DueRevision& due) {
    if (const auto before = readProjectFile(project.folder)) {
        trustNewlyNamed(*before, project);
    }
    return writeProjectFile(project, pendingProjectFile(project.folder), due);
}

Status takePendingProjectFile(const QString& folder) {
    if (std::rename(QFile::encodeName(pendingProjectFile(folder)).constData(),
                    QFile::encodeName(projectFile(folder)).constData()) != 0) {
        return fileFailure(projectFile(folder), "cannot be replaced", "无法替换");
    }
    return {};
}

void dropPendingProjectFile(const QString& folder) {
    const auto pending = readProjectFile(folder, pendingProjectFile(folder));
    const auto counting = readProjectFile(folder);
    if (pending && counting && pending->centerline != counting->centerline &&
        QFileInfo(pending->centerline).absolutePath() == counting->folder) {
        QFile::remove(pending->centerline);
    }
    QFile::remove(pendingProjectFile(folder));
}

Status settleProjectFile(const QString& folder) {
    const QString file = pendingProjectFile(folder);
    if (!QFileInfo::exists(file)) {
        return {};
    }
    try {
        if (countsNow(folder, Asking::Waiting)) {
            return takePendingProjectFile(folder);
        }
    } catch (const KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return fileFailure(file, "an interrupted change cannot be settled: " + cause,
                           "上次更改未完成，无法核对数据库：" + cause);
    }
    dropPendingProjectFile(folder);
    return {};
}

Result<ProjectDescription> readCountingProjectFile(const QString& folder) {
    if (QFileInfo::exists(pendingProjectFile(folder))) {
        try {
            if (countsNow(folder, Asking::Looking)) {
                return readProjectFile(folder, pendingProjectFile(folder));
            }
        } catch (const KV_MySQL_Exception&) {
            return readProjectFile(folder);
        }
    }
    return readProjectFile(folder);
}

} // namespace inspection
