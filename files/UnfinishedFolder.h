#pragma once

#include "files/OwnerLock.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>

/// What comes into being in a hidden folder and takes its place when it is whole. One way for all that the programs write.
namespace files {

/// A folder, or a file, that goes with all in it when the process is ended by a signal; see removeUnfinished().
class Unfinished {
public:
    explicit Unfinished(std::filesystem::path folder);
    Unfinished(const Unfinished&) = delete;
    Unfinished& operator=(const Unfinished&) = delete;
    ~Unfinished();

private:
    std::filesystem::path m_folder;
};

/// While it lives the process is not ended by removeUnfinished(): what begins to take its place takes it wholly.
class Finishing {
public:
    Finishing();

private:
    std::unique_lock<std::recursive_mutex> m_lock;
};

/// Removes all unfinished folders of this process, and from then on lets nothing be made or take its place: the caller
/// ends the process. Any thread, while the others go on.
void removeUnfinished();

/// A hidden folder ".STEM-HEX" with a lock beside it. It goes with all in it when the object goes. What killed processes
/// left in the same place is removed by the next who makes one there.
class UnfinishedFolder {
public:
    /// `parent` must exist. None, and the reason in `error`, where it cannot be written.
    static std::optional<UnfinishedFolder> in(const std::filesystem::path& parent, const std::string& stem,
                                              std::error_code& error);
    UnfinishedFolder(UnfinishedFolder&&) noexcept = default;
    UnfinishedFolder& operator=(UnfinishedFolder&&) = delete;
    ~UnfinishedFolder();

    const std::filesystem::path& path() const { return m_path; }
    /// The folder itself takes the place of an empty folder, or of nothing, at once or not at all. `target` lies in the
    /// same folder.
    std::error_code become(const std::filesystem::path& target);

private:
    UnfinishedFolder(std::filesystem::path path, std::unique_ptr<OwnerLock> lock);

    std::filesystem::path m_path;
    std::unique_ptr<OwnerLock> m_lock; ///< null on a file system without locks
    std::unique_ptr<Unfinished> m_entry;
};

/// Removes the folders of processes that have ended; `parent` is the folder that they lie in.
void removeAbandoned(const std::filesystem::path& parent);

} // namespace files
