// What is not finished goes with whoever makes it, however he ends, and only that.

#include "files/UnfinishedFolder.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <functional>

#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using files::OwnerLock;
using files::UnfinishedFolder;

class UnfinishedFolderTest : public testing::Test {
protected:
    std::vector<std::string> names() const { return m_place.names(); }
    fs::path at(const std::string& name) const { return m_place.path() / name; }
    static void write(const fs::path& file, const std::string& text) { std::ofstream(file) << text; }
    UnfinishedFolder make(const std::string& stem = "corridor") const {
        std::error_code error;
        auto folder = UnfinishedFolder::in(m_place.path(), stem, error);
        EXPECT_TRUE(folder) << error.message();
        return *std::move(folder);
    }
    /// Another process that makes a folder with a file and ends as told; its exit status, or minus its signal.
    int inAnotherProcess(const std::function<void()>& end) const {
        const pid_t child = fork();
        if (child == 0) {
            std::error_code error;
            const auto folder = UnfinishedFolder::in(m_place.path(), "corridor", error);
            write(folder->path() / "half", "half");
            end();
            _exit(99);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }

    TemporaryFolder m_place;
};

TEST_F(UnfinishedFolderTest, GoesWithAllInItAndTheLock) {
    {
        const UnfinishedFolder folder = make();
        write(folder.path() / "file", "half");
        EXPECT_EQ(names().size(), 2U);
    }
    EXPECT_TRUE(names().empty());
}

TEST_F(UnfinishedFolderTest, BecomesWhatItWasMadeFor) {
    {
        UnfinishedFolder folder = make("project");
        write(folder.path() / "file", "whole");
        EXPECT_FALSE(folder.become(at("project")));
    }
    EXPECT_EQ(names(), std::vector<std::string>{"project"});
    EXPECT_TRUE(fs::exists(at("project/file")));
}

TEST_F(UnfinishedFolderTest, NeverTakesThePlaceOfAFullFolder) {
    fs::create_directory(at("project"));
    write(at("project/theirs"), "whole");
    {
        UnfinishedFolder folder = make("project");
        EXPECT_TRUE(folder.become(at("project")));
    }
    EXPECT_EQ(names(), std::vector<std::string>{"project"});
    EXPECT_TRUE(fs::exists(at("project/theirs")));
}

TEST_F(UnfinishedFolderTest, TheNextOneRemovesWhatAKilledProcessLeft) {
    EXPECT_EQ(inAnotherProcess([] { raise(SIGKILL); }), -SIGKILL);
    ASSERT_EQ(names().size(), 2U);
    {
        const UnfinishedFolder next = make();
    }
    EXPECT_TRUE(names().empty());
}

TEST_F(UnfinishedFolderTest, WhatALivingOneMakesStays) {
    const UnfinishedFolder living = make();
    write(living.path() / "file", "half");
    EXPECT_EQ(inAnotherProcess([] { raise(SIGKILL); }), -SIGKILL);
    files::removeAbandoned(m_place.path());
    EXPECT_EQ(names().size(), 2U);
    EXPECT_TRUE(fs::exists(living.path() / "file"));
}

TEST_F(UnfinishedFolderTest, FilesThatOnlyLookAlikeStay) {
    const std::string ours = "corridor works here, process 1\n";
    for (const char* name :
         {"..corridor-making", ".notes.corridor-making", ".notes-12345678.corridor-making",
          ".notes-123456789abcdefg.corridor-making", "a-0123456789abcdef.corridor-making"}) {
        write(at(name), ours);
    }
    fs::create_directory(at(".theirs-0123456789abcdef"));
    write(at(".theirs-0123456789abcdef.corridor-making"), "somebody else's words\n");
    fs::create_symlink(at("nowhere"), at(".link-0123456789abcdef.corridor-making"));
    const auto before = names();
    files::removeAbandoned(m_place.path());
    EXPECT_EQ(names(), before);
}

TEST_F(UnfinishedFolderTest, AProcessThatIsEndedRemovesAllOfIts) {
    EXPECT_EQ(inAnotherProcess([this] {
                  const UnfinishedFolder second = make("second");
                  write(second.path() / "half", "half");
                  files::removeUnfinished();
                  _exit(1);
              }),
              1);
    EXPECT_TRUE(names().empty());
}

TEST_F(UnfinishedFolderTest, ALockIsTakenOverFromTheDeadAlone) {
    const auto lock = OwnerLock::make(at("lock"));
    ASSERT_TRUE(lock);
    EXPECT_FALSE(OwnerLock::inherit(at("lock")));
    EXPECT_FALSE(OwnerLock::make(at("lock")));
    EXPECT_FALSE(OwnerLock::inherit(at("none")));
    write(at("left"), "corridor works here, process 1\n");
    EXPECT_TRUE(OwnerLock::inherit(at("left")));
    EXPECT_FALSE(fs::exists(at("left")));
}

} // namespace
