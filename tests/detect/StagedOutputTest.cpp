// Outputs take their places all together or not at all.

#include "detect/StagedOutput.h"
#include "tests/support/PlainUser.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include <sys/stat.h>

namespace detect::test {
namespace {

namespace fs = std::filesystem;

class StagedOutputTest : public testing::Test {
protected:
    std::string at(const std::string& name) const { return m_folder.file(name); }
    static void write(const fs::path& file, const std::string& text) { std::ofstream(file) << text; }
    std::string textOf(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(at(name)).rdbuf();
        return text.str();
    }
    StagedOutput stage(const std::string& name) const {
        auto staged = StagedOutput::beside(at(name));
        EXPECT_TRUE(staged) << (staged ? "" : staged.error().message);
        return *std::move(staged);
    }

    TemporaryFolder m_folder;
};

TEST_F(StagedOutputTest, AllFilesOfTheFolderTakeTheirPlaces) {
    write(at("r.shp"), "earlier");
    {
        const StagedOutput output = stage("r.shp");
        write(output.path(), "shapes");
        write(output.folder() / "r.dbf", "fields");
        ASSERT_TRUE(output.commit());
    }
    EXPECT_EQ(m_folder.names(), (std::vector<std::string>{"r.dbf", "r.shp"}));
    EXPECT_EQ(textOf("r.shp"), "shapes");
}

TEST_F(StagedOutputTest, WhenOneNameCannotBeTakenAllEarlierFilesStay) {
    for (const char* name : {"r.shp", "r.dbf", "s.json"}) {
        write(at(name), "earlier");
    }
    fs::create_directory(at("r.prj"));
    {
        const StagedOutput shapes = stage("r.shp");
        const StagedOutput summary = stage("s.json");
        for (const char* name : {"r.shp", "r.dbf", "r.shx", "r.prj"}) {
            write(shapes.folder() / name, "new");
        }
        write(summary.path(), "new");
        const auto done = commitTogether({&summary, &shapes});
        ASSERT_FALSE(done);
        EXPECT_NE(done.error().message.find("r.prj"), std::string::npos) << done.error().message;
    }
    EXPECT_EQ(m_folder.names(), (std::vector<std::string>{"r.dbf", "r.prj", "r.shp", "s.json"}));
    for (const char* name : {"r.shp", "r.dbf", "s.json"}) {
        EXPECT_EQ(textOf(name), "earlier") << name;
    }
}

TEST_F(StagedOutputTest, WhatWasMovedBeforeAFailureIsMovedBack) {
    fs::permissions(m_folder.path(), fs::perms::all);
    {
        const PlainUser user; // whom permissions stop
        fs::create_directory(at("a"));
        fs::create_directory(at("b"));
        write(at("a/x"), "earlier");
        const StagedOutput first = stage("a/x");
        write(first.path(), "new");
        write(first.folder() / "fresh", "new");
        const StagedOutput second = stage("b/y");
        write(second.path(), "new");
        fs::permissions(at("b"), fs::perms::owner_read | fs::perms::owner_exec);
        EXPECT_FALSE(commitTogether({&first, &second}));
        fs::permissions(at("b"), fs::perms::owner_all);
    }
    EXPECT_EQ(textOf("a/x"), "earlier");
    EXPECT_FALSE(fs::exists(at("a/fresh")));
    EXPECT_FALSE(fs::exists(at("b/y")));
}

TEST_F(StagedOutputTest, ALinkStaysAndItsFileIsReplaced) {
    fs::create_directory(at("real"));
    write(at("real/file"), "earlier");
    fs::create_symlink(at("real/file"), at("link"));
    {
        const StagedOutput output = stage("link");
        write(output.path(), "new");
        ASSERT_TRUE(output.commit());
    }
    EXPECT_TRUE(fs::is_symlink(at("link")));
    EXPECT_EQ(textOf("real/file"), "new");
}

TEST_F(StagedOutputTest, DevicesAndPipesAreNoFiles) {
    ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/full", at("full.pdf"));
    for (const char* name : {"pipe", "full.pdf"}) {
        const auto staged = StagedOutput::beside(at(name));
        ASSERT_FALSE(staged) << name;
        EXPECT_NE(staged.error().message.find("不是普通文件"), std::string::npos) << staged.error().message;
    }
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

} // namespace
} // namespace detect::test
