#include "cli/StopOnSignal.h"

#include <atomic>
#include <csignal>

namespace cli {

namespace {
std::atomic<bool> stopAsked{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void askStop(int) {
    stopAsked = true;
}
} // namespace

StopOnSignal::StopOnSignal()
    : m_interrupt(std::signal(SIGINT, askStop)), m_terminate(std::signal(SIGTERM, askStop)) {}

StopOnSignal::~StopOnSignal() {
    std::signal(SIGINT, m_interrupt);
    std::signal(SIGTERM, m_terminate);
}

bool StopOnSignal::asked() const {
    return stopAsked;
}

} // namespace cli
