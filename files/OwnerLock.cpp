#include "files/OwnerLock.h"

#include <array>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace files {

namespace fs = std::filesystem;

namespace {

constexpr const char* kFirstWords = "corridor works here";

/// Another process may have removed the file between its opening and its locking.
bool isStillThere(const fs::path& file, int descriptor) {
    struct stat opened{};
    struct stat named{};
    return fstat(descriptor, &opened) == 0 && lstat(file.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

/// Whoever makes the file writes into it, unless the disk is full or he is killed just then.
bool isOurs(int descriptor) {
    const std::string words = kFirstWords;
    std::array<char, 64> text{};
    const ssize_t count = pread(descriptor, text.data(), text.size(), 0);
    return count == 0 ||
           (count > 0 && std::string(text.data(), static_cast<std::size_t>(count)).rfind(words, 0) == 0);
}

} // namespace

std::unique_ptr<OwnerLock> OwnerLock::lock(const fs::path& file, int descriptor) {
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0 || !isStillThere(file, descriptor)) {
        close(descriptor);
        return nullptr;
    }
    return std::unique_ptr<OwnerLock>(new OwnerLock(file, descriptor));
}

std::unique_ptr<OwnerLock> OwnerLock::make(const fs::path& file) {
    const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (descriptor < 0) {
        return nullptr;
    }
    auto made = lock(file, descriptor);
    if (made) {
        const std::string words = kFirstWords + std::string(", process ") + std::to_string(getpid()) + "\n";
        [[maybe_unused]] const ssize_t forReadersOnly = write(descriptor, words.data(), words.size());
    } else {
        unlink(file.c_str()); // a file system without locks
    }
    return made;
}

std::unique_ptr<OwnerLock> OwnerLock::inherit(const fs::path& file) {
    const int descriptor = open(file.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor < 0) {
        return nullptr;
    }
    if (!isOurs(descriptor)) {
        close(descriptor);
        return nullptr;
    }
    return lock(file, descriptor);
}

OwnerLock::~OwnerLock() {
    unlink(m_file.c_str());
    close(m_descriptor);
}

} // namespace files
