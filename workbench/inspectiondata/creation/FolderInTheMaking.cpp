#include "workbench/inspectiondata/creation/FolderInTheMaking.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace inspection {

namespace {

constexpr auto kInsideLock = "/.corridor-making"; ///< in an epoch's folder

std::filesystem::path nativePath(const QString& path) {
    return QFile::encodeName(path).toStdString();
}

/// Everything in the folder but its lock, which goes last: so a killed removal is ended by the next one.
void removeLocked(const QString& folder, std::unique_ptr<files::OwnerLock>& lock) {
    const QString keptName = QFileInfo(folder + kInsideLock).fileName();
    for (const QFileInfo& entry :
         QDir(folder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        if (entry.isDir() && !entry.isSymLink()) {
            QDir(entry.filePath()).removeRecursively();
        } else if (entry.fileName() != keptName) {
            QFile::remove(entry.filePath());
        }
    }
    lock.reset();
    QDir().rmdir(folder);
    QDir().rmdir(QFileInfo(folder).path());
}

std::optional<files::UnfinishedFolder> folderBeside(const QString& target) {
    const QFileInfo info(target);
    std::error_code error;
    return files::UnfinishedFolder::in(nativePath(info.absolutePath()), info.fileName().toStdString(), error);
}

bool isFree(const QString& folder) {
    return !QFileInfo::exists(folder) ||
           QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

} // namespace

FolderInTheMaking::FolderInTheMaking(const QString& target)
    : m_target(target), m_folder(folderBeside(target)) {}

QString FolderInTheMaking::path() const {
    return m_folder ? QFile::decodeName(m_folder->path().c_str()) : QString();
}

Status FolderInTheMaking::takePlace() {
    if (m_folder->become(nativePath(m_target))) {
        return fileFailure(m_target, "cannot be created", "无法创建文件夹");
    }
    return {};
}

Result<EpochFolder> EpochFolder::make(const QString& epochs, const QString& name) {
    QString path = epochs + '/' + name;
    for (int number = 2; !isFree(path); ++number) {
        path = epochs + '/' + name + '-' + QString::number(number);
    }
    auto lock = QDir().mkpath(path) ? files::OwnerLock::make(nativePath(path + kInsideLock)) : nullptr;
    if (!lock) {
        QDir().rmdir(path);
        QDir().rmdir(epochs);
        return fileFailure(path, "cannot be created", "无法创建文件夹");
    }
    return EpochFolder(path, std::move(lock));
}

EpochFolder::EpochFolder(QString path, std::unique_ptr<files::OwnerLock> lock)
    : m_path(std::move(path)), m_lock(std::move(lock)),
      m_entry(std::make_unique<files::Unfinished>(nativePath(m_path))) {}

EpochFolder::EpochFolder(EpochFolder&& other) noexcept
    : m_path(std::move(other.m_path)), m_lock(std::move(other.m_lock)), m_entry(std::move(other.m_entry)) {
    other.m_path.clear();
}

EpochFolder::~EpochFolder() {
    if (!m_path.isEmpty()) {
        removeLocked(m_path, m_lock);
    }
}

void EpochFolder::keep() {
    m_entry.reset();
    m_lock.reset();
    QDir().rmdir(m_path);
    QDir().rmdir(QFileInfo(m_path).path());
    m_path.clear();
}

void EpochFolder::removeAbandoned(const QString& epochs,
                                  const std::function<bool(const QString& folder)>& isUsed) {
    for (const QFileInfo& entry : QDir(epochs).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString folder = entry.absoluteFilePath();
        auto lock = files::OwnerLock::inherit(nativePath(folder + kInsideLock));
        if (lock && !isUsed(folder)) {
            removeLocked(folder, lock);
        }
    }
}

} // namespace inspection
