#include "files/UnfinishedFolder.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <random>
#include <set>

namespace files {

namespace fs = std::filesystem;

namespace {

constexpr const char* kLockEnding = ".corridor-making";
constexpr std::size_t kHexDigits = 16;
constexpr int kMostTries = 3;

/// What this process has not finished; the end of a process is the affair of all its threads.
struct Register {
    std::recursive_mutex mutex; ///< an end may come from within what holds it
    std::multiset<fs::path> folders;
};

Register& unfinished() {
    static Register entries;
    return entries;
}

std::string randomHex() {
    std::random_device random;
    std::array<char, kHexDigits + 1> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x%08x", random(), random());
    return digits.data();
}

/// The folder that a lock stands for; empty for a file that only looks like one.
fs::path folderOf(const fs::path& lock) {
    const std::string name = lock.filename().string();
    const std::size_t ending = std::strlen(kLockEnding);
    if (name.size() < ending + kHexDigits + 3 || name.front() != '.' ||
        name.compare(name.size() - ending, ending, kLockEnding) != 0) {
        return {};
    }
    const std::string folder = name.substr(0, name.size() - ending);
    const std::size_t dash = folder.size() - kHexDigits - 1;
    const bool isMade =
        folder[dash] == '-' && folder.find_first_not_of("0123456789abcdef", dash + 1) == std::string::npos;
    return isMade ? lock.parent_path() / folder : fs::path();
}

} // namespace

Unfinished::Unfinished(fs::path folder) : m_folder(std::move(folder)) {
    const Finishing finishing;
    unfinished().folders.insert(m_folder);
}

Unfinished::~Unfinished() {
    const Finishing finishing;
    unfinished().folders.erase(unfinished().folders.find(m_folder));
}

Finishing::Finishing() : m_lock(unfinished().mutex) {}

void removeUnfinished() {
    constexpr int kMostRemovals = 100; // other threads may still put files into the folders
    unfinished().mutex.lock();
    for (const fs::path& folder : unfinished().folders) {
        std::error_code error;
        for (int i = 0; i < kMostRemovals && (fs::remove_all(folder, error), error); ++i) {
        }
        fs::remove(folder.native() + kLockEnding, error);
    }
}

void removeAbandoned(const fs::path& parent) {
    std::error_code error;
    for (auto entry = fs::directory_iterator(parent, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const fs::path folder = folderOf(entry->path());
        if (const auto lock = folder.empty() ? nullptr : OwnerLock::inherit(entry->path())) {
            std::error_code ignored;
            fs::remove_all(folder, ignored);
        }
    }
}

std::optional<UnfinishedFolder> UnfinishedFolder::in(const fs::path& parent, const std::string& stem,
                                                     std::error_code& error) {
    removeAbandoned(parent);
    const Finishing finishing; // nobody ends the process between the lock and its entry in the register
    const auto freshName = [&] { return parent / fs::u8path("." + stem + "-" + randomHex()); };
    fs::path path = freshName();
    auto lock = OwnerLock::make(path.native() + kLockEnding);
    for (int i = 0; i < kMostTries && !lock;
         ++i) { // another process may have taken the new file for an abandoned one
        path = freshName();
        lock = OwnerLock::make(path.native() + kLockEnding);
    }
    path = lock ? path : freshName();
    if (!fs::create_directory(path, error)) {
        return std::nullopt;
    }
    return UnfinishedFolder(path, std::move(lock));
}

UnfinishedFolder::UnfinishedFolder(fs::path path, std::unique_ptr<OwnerLock> lock)
    : m_path(std::move(path)), m_lock(std::move(lock)), m_entry(std::make_unique<Unfinished>(m_path)) {}

UnfinishedFolder::~UnfinishedFolder() {
    if (m_entry) {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
}

std::error_code UnfinishedFolder::become(const fs::path& target) {
    std::error_code error;
    {
        const Finishing finishing;
        fs::rename(m_path, target, error);
    }
    if (!error) {
        m_entry.reset();
        m_lock.reset();
    }
    return error;
}

} // namespace files
