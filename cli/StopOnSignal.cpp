#include "cli/StopOnSignal.h"

#include "cli/Command.h"
#include "files/UnfinishedFolder.h"

#include <atomic>
#include <csignal>
#include <thread>

#include <unistd.h>

namespace cli {

namespace {

std::atomic<bool> stopAsked{false};
std::atomic<int> listeners{0}; ///< who would hear of it

std::atomic<const char*> faultWords{nullptr};
constexpr int kFault = SIGUSR1; ///< from endOnFault

/// Those that the process does not ignore, as one that was started in the background does.
sigset_t requestsToEnd() {
    sigset_t requests;
    sigemptyset(&requests);
    sigaddset(&requests, kFault);
    for (const int request : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action{};
        if (sigaction(request, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&requests, request);
        }
    }
    return requests;
}

[[noreturn]] void waitForTheEnd(const char* command, const sigset_t& requests) {
    for (;;) {
        int request = 0;
        if (sigwait(&requests, &request) != 0) {
            continue;
        }
        const char* const fault = faultWords;
        if (!fault && listeners > 0 && !stopAsked.exchange(true)) {
            continue;
        }
        files::removeUnfinished();
        _exit(fail(command, kStatusFailed, fault ? fault : "已取消"));
    }
}

} // namespace

void endOnSignal(const char* command) {
    const sigset_t requests = requestsToEnd();
    pthread_sigmask(SIG_BLOCK, &requests,
                    nullptr); // threads inherit it, so that the one below hears of them alone
    std::thread([command, requests] { waitForTheEnd(command, requests); }).detach();
}

void endOnFault(const char* words) {
    constexpr unsigned kPatienceSeconds = 10; // should the fault have left a lock of the allocator closed
    faultWords = words;
    kill(getpid(), kFault);
    sleep(kPatienceSeconds);
    _exit(kStatusFailed);
}

StopOnSignal::StopOnSignal() {
    ++listeners;
}

StopOnSignal::~StopOnSignal() {
    --listeners;
}

bool StopOnSignal::asked() const {
    return stopAsked;
}

} // namespace cli
