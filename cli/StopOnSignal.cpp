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

/// Those that the process does not ignore, as one that was started in the background does.
sigset_t requestsToEnd() {
    sigset_t requests;
    sigemptyset(&requests);
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
        if (sigwait(&requests, &request) != 0 || (listeners > 0 && !stopAsked.exchange(true))) {
            continue;
        }
        files::removeUnfinished();
        _exit(fail(command, kStatusFailed, "已取消"));
    }
}

} // namespace

void endOnSignal(const char* command) {
    const sigset_t requests = requestsToEnd();
    pthread_sigmask(SIG_BLOCK, &requests,
                    nullptr); // threads inherit it, so that the one below hears of them alone
    std::thread([command, requests] { waitForTheEnd(command, requests); }).detach();
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
