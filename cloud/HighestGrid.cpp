#include "cloud/HighestGrid.h"

#include "detect/GdalErrors.h"

#include <cpl_vsi.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace cloud {

namespace {

constexpr float kEmpty = std::numeric_limits<float>::quiet_NaN();

} // namespace

struct HighestGrid::ScratchFile {
    explicit ScratchFile(std::string path) : name(std::move(path)), file(VSIFOpenL(name.c_str(), "w+b")) {}
    ~ScratchFile() {
        if (file) {
            VSIFCloseL(file);
            VSIUnlink(name.c_str());
        }
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    bool seek(std::size_t number, std::size_t bytes) {
        return file && VSIFSeekL(file, static_cast<vsi_l_offset>(number) * bytes, SEEK_SET) == 0;
    }

    std::string name;
    VSILFILE* file;
};

HighestGrid::HighestGrid(int columns, int rows, std::string scratchFile, std::size_t mostBytes)
    : m_columns(columns), m_rows(rows), m_across(static_cast<std::size_t>((columns + kSide - 1) / kSide)),
      m_mostBlocks(std::max<std::size_t>(m_across + 1, mostBytes / (sizeof(float) * kSide * kSide))),
      m_scratchName(std::move(scratchFile)) {
    const std::size_t blocks = m_across * static_cast<std::size_t>((rows + kSide - 1) / kSide);
    m_blocks.resize(blocks);
    m_isStored.resize(blocks);
    m_lastUse.resize(blocks);
}

HighestGrid::~HighestGrid() = default;

Status HighestGrid::raise(int column, int row, float height) {
    const std::size_t number =
        static_cast<std::size_t>(row / kSide) * m_across + static_cast<std::size_t>(column / kSide);
    Block* heights = block(number);
    if (!heights) {
        return failure();
    }
    float& kept = (*heights)[static_cast<std::size_t>(row % kSide * kSide + column % kSide)];
    if (!(kept >= height)) {
        kept = height;
    }
    return {};
}

Status HighestGrid::read(int firstRow, int count, std::vector<float>& heights) {
    heights.assign(static_cast<std::size_t>(count) * static_cast<std::size_t>(m_columns), kEmpty);
    for (int row = firstRow; row < firstRow + count; ++row) {
        float* line =
            &heights[static_cast<std::size_t>(row - firstRow) * static_cast<std::size_t>(m_columns)];
        for (std::size_t i = 0; i < m_across; ++i) {
            const std::size_t number = static_cast<std::size_t>(row / kSide) * m_across + i;
            if (!m_blocks[number] && !m_isStored[number]) {
                continue;
            }
            const Block* from = block(number);
            if (!from) {
                return failure();
            }
            const int column = static_cast<int>(i) * kSide;
            const float* cells = from->data() + static_cast<std::ptrdiff_t>(row % kSide) * kSide;
            std::copy(cells, cells + std::min(kSide, m_columns - column), line + column);
        }
    }
    return {};
}

HighestGrid::Block* HighestGrid::block(std::size_t number) {
    if (number != m_current) {
        if (!m_blocks[number] && !fetch(number)) {
            return nullptr;
        }
        m_current = number;
        m_lastUse[number] = ++m_clock;
    }
    return m_blocks[number].get();
}

bool HighestGrid::fetch(std::size_t number) {
    if (m_resident.size() >= m_mostBlocks && !evictOldest()) {
        return false;
    }
    auto heights = std::make_unique<Block>(static_cast<std::size_t>(kSide) * kSide, kEmpty);
    const std::size_t bytes = heights->size() * sizeof(float);
    if (m_isStored[number] &&
        (!m_scratch->seek(number, bytes) || VSIFReadL(heights->data(), bytes, 1, m_scratch->file) != 1)) {
        return false;
    }
    m_blocks[number] = std::move(heights);
    m_resident.push_back(number);
    return true;
}

bool HighestGrid::evictOldest() {
    const auto oldest =
        std::min_element(m_resident.begin(), m_resident.end(),
                         [this](std::size_t a, std::size_t b) { return m_lastUse[a] < m_lastUse[b]; });
    if (!m_scratch) {
        m_scratch = std::make_unique<ScratchFile>(m_scratchName);
    }
    const Block& heights = *m_blocks[*oldest];
    const std::size_t bytes = heights.size() * sizeof(float);
    if (!m_scratch->seek(*oldest, bytes) || VSIFWriteL(heights.data(), bytes, 1, m_scratch->file) != 1) {
        return false;
    }
    m_isStored[*oldest] = true;
    m_blocks[*oldest].reset();
    m_resident.erase(oldest);
    return true;
}

detect::Unexpected HighestGrid::failure() const {
    return detect::failureOf(m_scratchName, "无法写入临时文件，磁盘可能已满");
}

} // namespace cloud
