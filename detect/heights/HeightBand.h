#pragma once

#include "detect/heights/Grid.h"
#include "detect/heights/HeightCoding.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace detect {

/// A band, of a file or of one of its overviews, whose cells come out in metres. One thread at a time; the bands
/// outlive it.
class HeightBand {
public:
    HeightBand() = default;
    /// `mask` is null where none tells, too; `file` is named when reading fails.
    HeightBand(GDALRasterBand& band, GDALRasterBand* mask, const HeightCoding& coding, std::string file)
        : m_band(&band), m_maskBand(mask), m_coding(coding), m_file(std::move(file)) {}

    /// Reads a window that lies inside the band into `heights` (row by row, `window.columns` in each), NaN where
    /// there is none; rows follow each other at a distance of `stride` cells.
    Status read(const CellWindow& window, float* heights, std::size_t stride);

private:
    Status hideMasked(const CellWindow& window, float* heights, std::size_t stride);

    GDALRasterBand* m_band = nullptr;
    GDALRasterBand* m_maskBand = nullptr;
    HeightCoding m_coding;
    std::string m_file;
    std::vector<std::uint8_t> m_mask;
};

} // namespace detect
