#include "workbench/inspectiondata/compute/SearchGroups.h"

#include <gtest/gtest.h>

namespace {

using detect::Box;
using inspection::SearchGroup;
using inspection::searchGroups;

using Windows = std::vector<std::optional<Box>>;

constexpr double kCellArea = 0.25;

/// Windows of stations along a line, each with a margin of 132 m around it.
Windows along(int stations, double length, double dx, double dy) {
    constexpr double kMargin = 132.0;
    constexpr double kHalfWidth = 100.0;
    Windows windows;
    for (int i = 0; i < stations; ++i) {
        const double x = i * dx;
        const double y = i * dy;
        windows.emplace_back(
            Box{x - kMargin, y - kHalfWidth - kMargin, x + length + kMargin, y + kHalfWidth + kMargin});
    }
    return windows;
}

double cellsOf(const Box& box) {
    return (box.xMax - box.xMin) * (box.yMax - box.yMin) / kCellArea;
}

double cellsOneByOne(const Windows& windows) {
    double cells = 0.0;
    for (const auto& window : windows) {
        cells += cellsOf(*window);
    }
    return cells;
}

double cellsTogether(const std::vector<SearchGroup>& groups) {
    double cells = 0.0;
    for (const SearchGroup& group : groups) {
        cells += group.cells;
    }
    return cells;
}

/// Every window is in one group, in order, and its group's window holds it.
void expectWhole(const std::vector<SearchGroup>& groups, const Windows& windows) {
    std::size_t next = 0;
    for (const SearchGroup& group : groups) {
        ASSERT_EQ(group.first, next);
        ASSERT_GT(group.count, 0U);
        for (; next < group.first + group.count; ++next) {
            const auto& window = windows.at(next);
            ASSERT_EQ(window.has_value(), group.window.has_value());
            if (window) {
                EXPECT_LE(group.window->xMin, window->xMin);
                EXPECT_LE(group.window->yMin, window->yMin);
                EXPECT_GE(group.window->xMax, window->xMax);
                EXPECT_GE(group.window->yMax, window->yMax);
            }
        }
    }
    EXPECT_EQ(next, windows.size());
}

TEST(SearchGroups, ShortStationsInARowLookAtTheirGroundOnce) {
    const Windows windows = along(400, 5.0, 5.0, 0.0); // 2 km
    const auto groups = searchGroups(windows, kCellArea);
    expectWhole(groups, windows);
    const double ground = cellsOf({-132.0, -232.0, 2132.0, 232.0});
    EXPECT_EQ(groups.size(), 1U);
    EXPECT_LT(cellsTogether(groups), 1.01 * ground);
    EXPECT_GT(cellsOneByOne(windows), 40.0 * ground);
}

TEST(SearchGroups, AGroupIsBoundedHoweverLongTheLine) {
    const Windows windows = along(4000, 250.0, 250.0, 0.0); // 1000 km
    const auto groups = searchGroups(windows, kCellArea);
    expectWhole(groups, windows);
    for (const SearchGroup& group : groups) {
        EXPECT_LE(group.cells, 6.4e7);
    }
    const double ground = cellsOf({-132.0, -232.0, 1000132.0, 232.0});
    EXPECT_LT(cellsTogether(groups), 1.05 * ground);
}

TEST(SearchGroups, ALineAcrossTheGridIsNotSearchedAsASquare) {
    const Windows windows = along(200, 50.0, 50.0, 50.0); // 10 km in each direction
    const auto groups = searchGroups(windows, kCellArea);
    expectWhole(groups, windows);
    EXPECT_GT(groups.size(), 5U);
    EXPECT_LT(cellsTogether(groups), 0.65 * cellsOneByOne(windows));
    EXPECT_LT(cellsTogether(groups), 0.2 * cellsOf({-132.0, -232.0, 10132.0, 10232.0}));
}

TEST(SearchGroups, StationsFarApartAreSearchedApart) {
    Windows windows = along(2, 250.0, 30000.0, 0.0);
    EXPECT_EQ(searchGroups(windows, kCellArea).size(), 2U);
    expectWhole(searchGroups(windows, kCellArea), windows);
}

TEST(SearchGroups, AWindowThatIsNotKnownIsSearchedAlone) {
    Windows windows = along(3, 50.0, 50.0, 0.0);
    windows[1].reset();
    const auto groups = searchGroups(windows, kCellArea);
    expectWhole(groups, windows);
    EXPECT_EQ(groups.size(), 3U);
}

TEST(SearchGroups, NothingToSearchIsNoGroup) {
    EXPECT_TRUE(searchGroups({}, kCellArea).empty());
}

} // namespace
