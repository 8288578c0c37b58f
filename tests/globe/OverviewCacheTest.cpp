#include "globe/src/terrain/OverviewCache.h"

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using std::chrono::hours;

class OverviewCacheTest : public testing::Test {
protected:
    fs::path entry(const std::string& name) const { return fs::path(m_folder.file(name + ".vrt")); }
    /// An entry of a thousand bytes that was used so many hours ago.
    void keep(const std::string& name, int hoursAgo) const {
        std::ofstream(entry(name)) << "<VRTDataset/>";
        std::ofstream(entry(name).string() + ".ovr") << std::string(1000, 'x');
        fs::last_write_time(entry(name), fs::file_time_type::clock::now() - hours(hoursAgo));
    }
    bool has(const std::string& name) const {
        const bool isThere = fs::exists(entry(name));
        EXPECT_EQ(fs::exists(entry(name).string() + ".ovr"), isThere) << "halves";
        return isThere;
    }

    TemporaryFolder m_folder;
};

TEST_F(OverviewCacheTest, WhatWasUsedLongestAgoGoesFirst) {
    keep("old", 30);
    keep("new", 1);
    keep("middle", 20);
    osgEarth::trimOverviewCache(m_folder.path(), 2000);
    EXPECT_TRUE(has("new"));
    EXPECT_TRUE(has("middle"));
    EXPECT_FALSE(has("old"));
}

TEST_F(OverviewCacheTest, WhatIsUsedAgainStays) {
    keep("old", 30);
    keep("new", 1);
    osgEarth::noteUse(entry("old"));
    osgEarth::trimOverviewCache(m_folder.path(), 1000);
    EXPECT_TRUE(has("old"));
    EXPECT_FALSE(has("new"));
}

TEST_F(OverviewCacheTest, TheLatestStaysHoweverLargeItIs) {
    keep("old", 30);
    keep("new", 1);
    osgEarth::trimOverviewCache(m_folder.path(), 10);
    EXPECT_TRUE(has("new"));
    EXPECT_FALSE(has("old"));
}

TEST_F(OverviewCacheTest, OtherFilesAreLeftAlone) {
    keep("old", 30);
    keep("new", 1);
    std::ofstream(m_folder.file("old.vrt.building-1-1.vrt")) << "<VRTDataset/>";
    std::ofstream(m_folder.file("notes.txt")) << std::string(5000, 'x');
    osgEarth::trimOverviewCache(m_folder.path(), 5000);
    EXPECT_TRUE(has("old")) << "there is room for both";
    osgEarth::trimOverviewCache(m_folder.path(), 1);
    EXPECT_TRUE(fs::exists(m_folder.file("notes.txt")));
    EXPECT_TRUE(fs::exists(m_folder.file("old.vrt.building-1-1.vrt")));
}

} // namespace
