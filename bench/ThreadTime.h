#pragma once

#include <ctime>

/// Processor time of this thread, which hardly depends on what else the machine does.
inline double threadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}
