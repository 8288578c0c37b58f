#pragma once

#include <filesystem>
#include <memory>

namespace files {

/// A small file that says that somebody works here. The system keeps the lock on it (flock) and lets go of it when the
/// process ends, however it ends; so what lies beside a lock that can be taken was left by the dead.
class OwnerLock {
public:
    /// Makes the file. Null when another process has it, or when it cannot be made or locked there.
    static std::unique_ptr<OwnerLock> make(const std::filesystem::path& file);
    /// Takes over the file of a process that has ended. Null when there is none, when its owner lives, or when it is
    /// no file of this kind.
    static std::unique_ptr<OwnerLock> inherit(const std::filesystem::path& file);

    OwnerLock(const OwnerLock&) = delete;
    OwnerLock& operator=(const OwnerLock&) = delete;
    /// The file goes.
    ~OwnerLock();

    const std::filesystem::path& file() const { return m_file; }

private:
    OwnerLock(std::filesystem::path file, int descriptor)
        : m_file(std::move(file)), m_descriptor(descriptor) {}
    static std::unique_ptr<OwnerLock> lock(const std::filesystem::path& file, int descriptor);

    std::filesystem::path m_file;
    int m_descriptor;
};

} // namespace files
