#pragma once

#include <gtest/gtest.h>

#include <unistd.h>

/// Lets go of root's right to write everywhere while it lives; only the calling process's effective user
/// changes.
class PlainUser {
public:
    PlainUser() : m_wasRoot(geteuid() == 0 && seteuid(65534) == 0) {}
    ~PlainUser() {
        if (m_wasRoot) {
            EXPECT_EQ(seteuid(0), 0);
        }
    }
    PlainUser(const PlainUser&) = delete;
    PlainUser& operator=(const PlainUser&) = delete;

private:
    bool m_wasRoot;
};
