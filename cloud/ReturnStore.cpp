#include "cloud/ReturnStore.h"

#include <algorithm>
#include <cstring>

namespace cloud {

namespace {

/// Which heights a percentile lies between.
struct Rank {
    Rank(std::uint64_t count, double percent) {
        const double rank = percent / 100.0 * static_cast<double>(count - 1);
        below = std::min(static_cast<std::uint64_t>(rank), count - 1);
        share = rank - static_cast<double>(below);
    }
    /// The percentile of the heights of that rank and the next.
    float between(float low, float high) const { return static_cast<float>(low + share * (high - low)); }

    std::uint64_t below; ///< from 0
    double share;        ///< of the way to the next
};

float percentileOf(float* first, float* last, double percent) {
    const Rank rank(static_cast<std::uint64_t>(last - first), percent);
    float* low = first + rank.below;
    std::nth_element(first, low, last);
    return rank.share > 0.0 ? rank.between(*low, *std::min_element(low + 1, last)) : *low;
}

/// Numbers in the order of the heights.
std::uint32_t keyOf(float height) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &height, sizeof bits);
    return bits & 0x80000000U ? ~bits : bits | 0x80000000U;
}

float heightOf(std::uint32_t key) {
    const std::uint32_t bits = key & 0x80000000U ? key & 0x7fffffffU : ~key;
    float height = 0.0F;
    std::memcpy(&height, &bits, sizeof height);
    return height;
}

/// The bin that holds `rank`, which becomes the rank in that bin.
std::uint32_t binOf(const std::vector<std::uint64_t>& bins, std::uint64_t& rank) {
    std::uint32_t bin = 0;
    while (rank >= bins[bin]) {
        rank -= bins[bin++];
    }
    return bin;
}

} // namespace

ReturnStore::ReturnStore(int columns, int rows, std::string scratchFile, std::size_t mostBytes)
    : m_across(static_cast<std::size_t>((columns + kSide - 1) / kSide)),
      m_mostOpen(std::max<std::size_t>(1, mostBytes / (sizeof(Return) * kPageReturns))),
      m_mostAtOnce(mostBytes / sizeof(float)), m_scratch(std::move(scratchFile)) {
    m_blocks.resize(m_across * static_cast<std::size_t>((rows + kSide - 1) / kSide));
}

Status ReturnStore::add(int column, int row, float height) {
    const std::size_t number =
        static_cast<std::size_t>(row / kSide) * m_across + static_cast<std::size_t>(column / kSide);
    Block& block = m_blocks[number];
    if (block.open.capacity() == 0) {
        if (auto done = open(number); !done) {
            return done;
        }
    }
    block.open.push_back({height, static_cast<std::uint16_t>(row % kSide * kSide + column % kSide)});
    return block.open.size() < kPageReturns ? Status() : writeOut(block);
}

/// Gives the block room in memory; where there is no more, another block goes out, each in its turn.
Status ReturnStore::open(std::size_t number) {
    if (m_open.size() < m_mostOpen) {
        m_open.push_back(number);
        m_blocks[number].open.reserve(kPageReturns);
        return {};
    }
    std::size_t& closed = m_open[m_nextToClose++ % m_mostOpen];
    if (auto done = writeOut(m_blocks[closed]); !done) {
        return done;
    }
    m_blocks[number].open.swap(m_blocks[closed].open);
    closed = number;
    return {};
}

Status ReturnStore::writeOut(Block& block) {
    if (block.open.empty()) {
        return {};
    }
    const std::size_t bytes = block.open.size() * sizeof(Return);
    if (auto done = m_scratch.write(m_end, &block.last, sizeof block.last); !done) {
        return done;
    }
    if (auto done = m_scratch.write(m_end + sizeof block.last, block.open.data(), bytes); !done) {
        return done;
    }
    block.last = {m_end, block.open.size()};
    m_end += sizeof block.last + bytes;
    block.open.clear();
    return {};
}

/// Calls `visitor` with each return of the block, in no order that means anything.
template<typename Visitor>
Status ReturnStore::visit(const Block& block, const Visitor& visitor) {
    std::for_each(block.open.begin(), block.open.end(), visitor);
    for (Page page = block.last; page.count > 0;) {
        m_page.resize(page.count);
        const std::uint64_t returns = page.offset + sizeof page;
        if (auto done = m_scratch.read(returns, m_page.data(), page.count * sizeof(Return)); !done) {
            return done;
        }
        std::for_each(m_page.begin(), m_page.end(), visitor);
        if (auto done = m_scratch.read(page.offset, &page, sizeof page); !done) {
            return done;
        }
    }
    return {};
}

Status ReturnStore::percentiles(double percent, HighestGrid& heights, const Progress& progress) {
    const Target target{percent, heights};
    for (std::size_t number = 0; number < m_blocks.size(); ++number) {
        if (auto done = resolve(number, target); !done) {
            return done;
        }
        m_blocks[number] = {};
        if (progress && !progress(static_cast<double>(number + 1) / static_cast<double>(m_blocks.size()))) {
            return detect::cancelled();
        }
    }
    return {};
}

/// As many cells at a time as there is memory for their returns; a cell that alone has too many by its histogram.
Status ReturnStore::resolve(std::size_t number, const Target& target) {
    constexpr int kCells = kSide * kSide;
    const Block& block = m_blocks[number];
    if (block.open.empty() && block.last.count == 0) {
        return {};
    }
    std::vector<std::uint64_t> counts(kCells);
    if (auto done = visit(block, [&](const Return& one) { ++counts[one.cell]; }); !done) {
        return done;
    }
    for (int first = 0; first < kCells;) {
        std::uint64_t sum = counts[static_cast<std::size_t>(first)];
        int last = first + 1;
        while (last < kCells && sum + counts[static_cast<std::size_t>(last)] <= m_mostAtOnce) {
            sum += counts[static_cast<std::size_t>(last++)];
        }
        if (auto done = resolveCells(number, counts, {first, last}, target); !done) {
            return done;
        }
        first = last;
    }
    return {};
}

Status ReturnStore::resolveCells(std::size_t number, const std::vector<std::uint64_t>& counts,
                                 CellRange cells, const Target& target) {
    const auto count = [&](int cell) { return counts[static_cast<std::size_t>(cell)]; };
    if (count(cells.first) > m_mostAtOnce) {
        const auto height = deepPercentile(m_blocks[number], cells.first, count(cells.first), target.percent);
        return height ? raise(number, cells.first, *height, target) : detect::failed(height);
    }
    std::vector<std::size_t> ends; // of each cell's heights, first where they begin
    std::size_t sum = 0;
    for (int cell = cells.first; cell < cells.last; ++cell) {
        ends.push_back(sum);
        sum += count(cell);
    }
    std::vector<float> sorted(sum);
    const auto sortIn = [&](const Return& one) {
        if (one.cell >= cells.first && one.cell < cells.last) {
            sorted[ends[static_cast<std::size_t>(one.cell - cells.first)]++] = one.height;
        }
    };
    if (auto done = visit(m_blocks[number], sortIn); !done) {
        return done;
    }
    for (int cell = cells.first; cell < cells.last; ++cell) {
        if (count(cell) > 0) {
            float* end = sorted.data() + ends[static_cast<std::size_t>(cell - cells.first)];
            const float height = percentileOf(end - count(cell), end, target.percent);
            if (auto done = raise(number, cell, height, target); !done) {
                return done;
            }
        }
    }
    return {};
}

/// Of a cell whose heights do not fit into memory.
Result<float> ReturnStore::deepPercentile(const Block& block, int cell, std::uint64_t count, double percent) {
    const Rank rank(count, percent);
    auto low = heightAt(block, cell, rank.below);
    if (!low || !(rank.share > 0.0)) {
        return low;
    }
    auto high = heightAt(block, cell, rank.below + 1);
    return high ? rank.between(*low, *high) : high;
}

/// The height of that rank, by the upper half of its key and then by the lower.
Result<float> ReturnStore::heightAt(const Block& block, int cell, std::uint64_t rank) {
    constexpr std::uint32_t kHalf = 16;
    constexpr std::uint32_t kLowHalf = 0xffff;
    std::vector<std::uint64_t> bins(kLowHalf + 1);
    const auto countUpper = [&](const Return& one) {
        if (one.cell == cell) {
            ++bins[keyOf(one.height) >> kHalf];
        }
    };
    if (const auto done = visit(block, countUpper); !done) {
        return detect::failed(done);
    }
    const std::uint32_t upper = binOf(bins, rank);
    bins.assign(bins.size(), 0);
    const auto countLower = [&](const Return& one) {
        const std::uint32_t key = keyOf(one.height);
        if (one.cell == cell && key >> kHalf == upper) {
            ++bins[key & kLowHalf];
        }
    };
    if (const auto done = visit(block, countLower); !done) {
        return detect::failed(done);
    }
    return heightOf(upper << kHalf | binOf(bins, rank));
}

Status ReturnStore::raise(std::size_t number, int cell, float height, const Target& target) const {
    const int column = static_cast<int>(number % m_across) * kSide + cell % kSide;
    const int row = static_cast<int>(number / m_across) * kSide + cell / kSide;
    return target.heights.raise(column, row, height);
}

} // namespace cloud
