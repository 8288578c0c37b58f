// Full-resolution heights of a raster, cached in square blocks.
#pragma once
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace osgEarth {
class RasterSource;

/// Least-recently-used cache of height blocks. Thread safe; at most about 32 MB.
class HeightBlocks {
public:
    explicit HeightBlocks(RasterSource& source) : m_source(source) {}

    /// Bilinear height at fractional cell coordinates (cell centres at .5); NaN outside the raster and in
    /// holes. Beside a hole the valid neighbours decide, provided the nearest cell is valid.
    float sample(double column, double row);

private:
    // Blocks overlap by one cell, so that the four neighbours of any point lie in one block.
    static constexpr int kBlockCells = 128;
    static constexpr std::size_t kMaxBlocks = 512;
    struct Block {
        std::vector<float> heights;
        int width = 0;
    };
    using BlockPointer = std::shared_ptr<const Block>;

    void forgetOutdated();
    BlockPointer blockAt(int blockColumn, int blockRow);
    BlockPointer read(int blockColumn, int blockRow) const;

    RasterSource& m_source;
    std::mutex m_mutex;
    int m_arrivals = 0; // of heights, when the blocks were read
    std::list<std::pair<std::int64_t, BlockPointer>> m_newestFirst;
    std::unordered_map<std::int64_t, std::list<std::pair<std::int64_t, BlockPointer>>::iterator> m_byIndex;
};

/// Bilinear mean of four neighbours (weights fx, fy to the right and lower ones) that passes over NaN.
float bilinearAcrossHoles(float upperLeft, float upperRight, float lowerLeft, float lowerRight, double fx,
                          double fy);

} // namespace osgEarth
