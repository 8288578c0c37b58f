#pragma once

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
#include <iostream>

/// While it lives, no file of this process may grow, which is what a full disk looks like to it.
class FullDisk {
public:
    FullDisk() : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &m_usual), 0);
        rlimit none = m_usual;
        none.rlim_cur = 0;
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
    }
    ~FullDisk() {
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &m_usual), 0);
        std::signal(SIGXFSZ, m_handler);
        std::cout.clear(); // it may have been a file on that disk
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    void (*m_handler)(int);
    rlimit m_usual{};
};
