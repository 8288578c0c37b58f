#include "workbench/inspectiondata/project/OwnerLock.h"

#include <QDateTime>
#include <QFileInfo>
#include <QLockFile>

#include <chrono>
#include <thread>

namespace inspection {

namespace {

constexpr int kPatienceMilliseconds = 1000;

/// Whoever makes a lock file says at once who he is, unless he is killed just then.
bool isForgotten(const QString& file) {
    using namespace std::chrono_literals;
    for (QFileInfo info(file); info.exists() && info.size() == 0; info.refresh()) {
        if (info.lastModified().msecsTo(QDateTime::currentDateTime()) > kPatienceMilliseconds) {
            return true;
        }
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

} // namespace

bool takeOwnerLock(QLockFile& lock) {
    lock.setStaleLockTime(0);
    if (lock.tryLock(0)) {
        return true;
    }
    if (lock.error() != QLockFile::LockFailedError || !isForgotten(lock.fileName())) {
        return false;
    }
    lock.setStaleLockTime(kPatienceMilliseconds); // one that has been written meanwhile is younger
    const bool isTaken = lock.tryLock(0);
    lock.setStaleLockTime(0);
    return isTaken;
}

} // namespace inspection
