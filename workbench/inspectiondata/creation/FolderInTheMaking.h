#pragma once

#include "files/UnfinishedFolder.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

/// Folders that are being made. A lock file tells others that whoever makes one still lives; what the dead have left
/// is removed by the next who makes something in the same place.
namespace inspection {

/// A hidden folder beside a project's, which becomes the project's; removed with all in it when it does not.
class FolderInTheMaking {
public:
    /// Removes what others left beside the target first.
    explicit FolderInTheMaking(const QString& target);

    bool isThere() const { return m_folder.has_value(); }
    QString path() const;
    /// At once or not at all.
    Status takePlace();

private:
    QString m_target;
    std::optional<files::UnfinishedFolder> m_folder; ///< none when it could not be made
};

/// The folder of an epoch in a project that is open for writing, made under its own name: nobody looks into it before
/// project.json names it. Removed with all in it unless it is kept.
class EpochFolder {
public:
    /// `epochs` is the folder that it lies in; where `name` is taken it is called "NAME-2" and so on.
    static Result<EpochFolder> make(const QString& epochs, const QString& name);
    EpochFolder(EpochFolder&& other) noexcept;
    EpochFolder& operator=(EpochFolder&&) = delete;
    ~EpochFolder();

    const QString& path() const { return m_path; }
    /// From now on it is the project's; without files it goes.
    void keep();

    /// Removes what killed processes left in `epochs`; folders for which `isUsed` says so are kept.
    static void removeAbandoned(const QString& epochs,
                                const std::function<bool(const QString& folder)>& isUsed);

private:
    EpochFolder(QString path, std::unique_ptr<files::OwnerLock> lock);

    QString m_path; ///< empty when it is somebody else's affair
    std::unique_ptr<files::OwnerLock> m_lock;
    std::unique_ptr<files::Unfinished> m_entry;
};

} // namespace inspection
