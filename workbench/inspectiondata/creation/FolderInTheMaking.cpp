#include "workbench/inspectiondata/creation/FolderInTheMaking.h"

#include "workbench/inspectiondata/project/OwnerLock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QRandomGenerator>

#include <cstdio>

namespace inspection {

namespace {

constexpr auto kBesideLock = ".corridor-making";  ///< behind the name of a project's folder
constexpr auto kInsideLock = "/.corridor-making"; ///< in an epoch's folder

/// A killed process may have left a folder for each of these locks.
void removeAbandonedIn(const QString& parent) {
    const QString pattern = QStringLiteral(".*") + kBesideLock;
    for (const QString& name : QDir(parent).entryList({pattern}, QDir::Files | QDir::Hidden)) {
        const QString file = parent + '/' + name;
        if (const auto lock = ownerLock(file)) {
            QDir(file.chopped(QLatin1String(kBesideLock).size())).removeRecursively();
        }
    }
}

QString randomEnding() {
    return QStringLiteral("-%1").arg(QRandomGenerator::system()->generate(), 8, 16, QLatin1Char('0'));
}

/// Everything in the folder but its lock, which goes last: so a killed removal is ended by the next one.
void removeLocked(const QString& folder, std::unique_ptr<QLockFile>& lock) {
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

bool isFree(const QString& folder) {
    return !QFileInfo::exists(folder) ||
           QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

} // namespace

FolderInTheMaking::FolderInTheMaking(const QString& target) : m_target(target) {
    const QFileInfo info(target);
    removeAbandonedIn(info.absolutePath());
    const QString path = info.absolutePath() + "/." + info.fileName() + randomEnding();
    m_lock = ownerLock(path + kBesideLock);
    if (m_lock && QDir().mkdir(path)) {
        m_path = path;
    }
}

FolderInTheMaking::~FolderInTheMaking() {
    if (isThere()) {
        QDir(m_path).removeRecursively();
    }
}

Status FolderInTheMaking::takePlace() {
    if (std::rename(QFile::encodeName(m_path).constData(), QFile::encodeName(m_target).constData()) != 0) {
        return fileFailure(m_target, "cannot be created", "无法创建文件夹");
    }
    m_path.clear();
    return {};
}

Result<EpochFolder> EpochFolder::make(const QString& epochs, const QString& name) {
    QString path = epochs + '/' + name;
    for (int number = 2; !isFree(path); ++number) {
        path = epochs + '/' + name + '-' + QString::number(number);
    }
    auto lock = QDir().mkpath(path) ? ownerLock(path + kInsideLock) : nullptr;
    if (!lock) {
        QDir().rmdir(path);
        QDir().rmdir(epochs);
        return fileFailure(path, "cannot be created", "无法创建文件夹");
    }
    return EpochFolder(path, std::move(lock));
}

EpochFolder::EpochFolder(QString path, std::unique_ptr<QLockFile> lock)
    : m_path(std::move(path)), m_lock(std::move(lock)) {}

EpochFolder::EpochFolder(EpochFolder&& other) noexcept
    : m_path(std::move(other.m_path)), m_lock(std::move(other.m_lock)) {
    other.m_path.clear();
}

EpochFolder::~EpochFolder() {
    if (!m_path.isEmpty()) {
        removeLocked(m_path, m_lock);
    }
}

void EpochFolder::keep() {
    m_lock.reset();
    QDir().rmdir(m_path);
    QDir().rmdir(QFileInfo(m_path).path());
    m_path.clear();
}

void EpochFolder::removeAbandoned(const QString& epochs,
                                  const std::function<bool(const QString& folder)>& isUsed) {
    for (const QFileInfo& entry : QDir(epochs).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString folder = entry.absoluteFilePath();
        auto lock = QFileInfo::exists(folder + kInsideLock) ? ownerLock(folder + kInsideLock) : nullptr;
        if (lock && !isUsed(folder)) {
            removeLocked(folder, lock);
        }
    }
}

} // namespace inspection
