#include "detect/raster/TileStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace detect::test {
namespace {

constexpr int kColumns = 1000;
constexpr int kRows = 700;
constexpr int kTile = 256; // enough cells to be a tile of its own

float heightAt(int column, int row) {
    return static_cast<float>(row * kColumns + column);
}

/// Decodes a raster whose heights tell where they are, and counts.
class Decoder {
public:
    Status operator()(const CellWindow& window, float* heights) {
        ++decoded;
        for (int row = 0; row < window.rows; ++row) {
            for (int column = 0; column < window.columns; ++column) {
                *heights++ = heightAt(window.column + column, window.row + row);
            }
        }
        return {};
    }

    std::atomic<int> decoded{0};
};

void expectHeights(const CellWindow& window, const std::vector<float>& heights) {
    for (int row = 0; row < window.rows; ++row) {
        for (int column = 0; column < window.columns; ++column) {
            ASSERT_EQ(heights[static_cast<std::size_t>(row * window.columns + column)],
                      heightAt(window.column + column, window.row + row));
        }
    }
}

TEST(TileStore, ThreadsThatReadOverlappingBlocksDecodeEachTileOnce) {
    TileStore store(kColumns, kRows, kTile, kTile, std::size_t{64} << 20);
    Decoder decoder;
    std::atomic<int> next{0};
    const auto work = [&] {
        for (int block = next++; block < 12; block = next++) {
            const int column = block % 4 * kTile;
            const int row = block / 4 * kTile;
            CellWindow window{std::max(0, column - 3), std::max(0, row - 3), 0, 0};
            window.columns = std::min(kColumns, column + kTile + 3) - window.column;
            window.rows = std::min(kRows, row + kTile + 3) - window.row;
            std::vector<float> heights(static_cast<std::size_t>(window.cells()));
            EXPECT_TRUE(store.read(window, heights.data(), static_cast<std::size_t>(window.columns),
                                   [&](const CellWindow& w, float* h) { return decoder(w, h); }));
            expectHeights(window, heights);
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(decoder.decoded, 12);
}

TEST(TileStore, TwoRowsOfTilesAreRoomEnoughOnTheWayDown) {
    const std::size_t rowBytes = std::size_t{kColumns} * kTile * sizeof(float);
    TileStore store(kColumns, kRows, kTile, kTile, 2 * rowBytes + rowBytes / 2);
    Decoder decoder;
    for (int block = 0; block < 12; ++block) {
        const int row = std::max(0, block / 4 * kTile - 1);
        const int column = std::max(0, block % 4 * kTile - 1);
        const CellWindow window{column, row, std::min(kTile + 2, kColumns - column),
                                std::min(kTile + 2, kRows - row)};
        std::vector<float> heights(static_cast<std::size_t>(window.cells()));
        ASSERT_TRUE(store.read(window, heights.data(), static_cast<std::size_t>(window.columns),
                               [&](const CellWindow& w, float* h) { return decoder(w, h); }));
        expectHeights(window, heights);
    }
    EXPECT_EQ(decoder.decoded, 12);
}

TEST(TileStore, SmallStripsAreTakenTogetherAndAStripOfTheWholeRasterIsCut) {
    for (const int stripRows : {1, 7, kRows}) {
        TileStore store(kColumns, kRows, kColumns, stripRows, std::size_t{1} << 20);
        Decoder decoder;
        const CellWindow window{10, 20, 900, 600};
        std::vector<float> heights(static_cast<std::size_t>(window.cells()));
        ASSERT_TRUE(store.read(window, heights.data(), 900,
                               [&](const CellWindow& w, float* h) { return decoder(w, h); }));
        expectHeights(window, heights);
        EXPECT_LT(decoder.decoded, 12) << "strips of " << stripRows;
    }
}

TEST(TileStore, FailureIsHandedOnAndTheTileCanBeTriedAgain) {
    TileStore store(kColumns, kRows, kTile, kTile, std::size_t{1} << 20);
    float height = 0.0F;
    const auto failed = store.read({5, 5, 1, 1}, &height, 1, [](const CellWindow&, float*) {
        return Status(Unexpected(Failure{"读取失败"}));
    });
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().message, "读取失败");
    Decoder decoder;
    EXPECT_TRUE(
        store.read({5, 5, 1, 1}, &height, 1, [&](const CellWindow& w, float* h) { return decoder(w, h); }));
    EXPECT_EQ(height, heightAt(5, 5));
}

} // namespace
} // namespace detect::test
