#include "workbench/inspectiondata/project/Project.h"

#include "files/UnfinishedFolder.h"
#include "workbench/inspectiondata/project/EpochList.h"
#include "workbench/inspectiondata/project/OwnerLock.h"
#include "workbench/inspectiondata/project/PendingProjectFile.h"
#include "workbench/inspectiondata/project/ProjectFile.h"
#include "workbench/inspectiondata/project/TrustedPlaces.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>

namespace inspection {

namespace {

Unexpected lockFailure(const QLockFile& lock, const QString& folder) {
    if (lock.error() == QLockFile::PermissionError) {
        return fileFailure(folder, "the project folder is read-only", "项目文件夹是只读的");
    }
    if (lock.error() != QLockFile::LockFailedError) {
        return fileFailure(folder, "the project cannot be locked, the disk may be full",
                           "无法锁定项目，磁盘可能已满");
    }
    qint64 process = 0;
    QString host;
    QString program;
    lock.getLockInfo(&process, &host, &program);
    return fileFailure(
        folder,
        QStringLiteral("the project is already open in %1 (process %2 on %3)")
            .arg(program, QString::number(process), host),
        QStringLiteral("项目已被另一个程序打开（%1，进程 %2）").arg(program, QString::number(process)));
}

Result<std::unique_ptr<QLockFile>> lockFolder(const QString& folder) {
    auto lock = std::make_unique<QLockFile>(QDir(folder).absoluteFilePath(QStringLiteral(".corridor.lock")));
    if (!takeOwnerLock(*lock)) {
        return lockFailure(*lock, folder);
    }
    return lock;
}

} // namespace

Project::Project(ProjectDescription description, Access access, std::unique_ptr<QLockFile> lock)
    : m_description(std::move(description)), m_access(access), m_lock(std::move(lock)),
      m_entry(m_lock
                  ? std::make_unique<files::Unfinished>(QFile::encodeName(m_lock->fileName()).toStdString())
                  : nullptr) {}

Project::Project(Project&&) noexcept = default;
Project& Project::operator=(Project&&) noexcept = default;
Project::~Project() = default;

Result<Project> Project::open(const QString& folder, Access access, Trust trust) {
    if (!QFileInfo(folder).isDir()) {
        return fileFailure(folder, "no such folder", "文件夹不存在");
    }
    if (trust == Trust::Needed) {
        if (auto done = needTrust(folder); !done) {
            return failed(done);
        }
    }
    auto description = readCountingProjectFile(folder);
    if (!description) {
        return failed(description);
    }
    std::unique_ptr<QLockFile> lock;
    if (access == Access::Exclusive) {
        auto locked = lockFolder(folder);
        if (!locked) {
            return failed(locked);
        }
        lock = std::move(*locked);
        if (auto done = settleProjectFile(folder); !done) {
            return failed(done);
        }
        description = readProjectFile(folder); // nobody else writes it from now on
        if (!description) {
            return failed(description);
        }
    }
    return Project(std::move(*description), access, std::move(lock));
}

Status Project::setParameters(const ProjectParameters& parameters) {
    ProjectDescription changed = m_description;
    changed.parameters = parameters;
    return store(std::move(changed));
}

Status Project::setDatabase(const QString& database) {
    ProjectDescription changed = m_description;
    changed.database = absoluteDatabase(m_description.folder, database);
    return store(std::move(changed));
}

Status Project::setComparedPair(const EpochPair& pair) {
    auto changed = m_description.comparing(pair);
    if (!changed) {
        return failed(changed);
    }
    if (m_access == Access::ReadOnly) {
        m_description = std::move(*changed);
        return {};
    }
    return store(std::move(*changed));
}

Status Project::addEpoch(const Epoch& epoch) {
    auto changed = withEpoch(m_description, epoch);
    return changed ? store(std::move(*changed)) : failed(changed);
}

Status Project::removeEpoch(const QString& key) {
    auto changed = withoutEpoch(m_description, key);
    return changed ? store(std::move(*changed)) : failed(changed);
}

Status Project::setBaseLayers(const std::vector<BaseLayer>& layers) {
    ProjectDescription changed = m_description;
    changed.baseLayers = layers;
    return store(std::move(changed));
}

Status Project::reread() {
    auto description = readProjectFile(m_description.folder);
    if (!description) {
        return failed(description);
    }
    m_description = *std::move(description);
    return {};
}

Status Project::store(ProjectDescription changed) {
    if (m_access == Access::ReadOnly) {
        return fileFailure(m_description.folder, "the project is open for reading only",
                           "项目以只读方式打开");
    }
    if (auto done = writeProjectFile(changed); !done) {
        return failed(done);
    }
    trustNewlyNamed(m_description, changed);
    m_description = std::move(changed);
    return {};
}

} // namespace inspection
