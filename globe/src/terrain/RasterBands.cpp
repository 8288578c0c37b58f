#include "RasterBands.h"

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace osgEarth {
namespace {

// A raster whose coarsest picture is larger than this, in cells a side, wants overviews.
constexpr int kLargestWithoutOverviews = 4096;
// About what a tile may decode.
constexpr double kAffordableCells = 16.0e6;

// Cells that are decoded along one side for taking one of every `step`.
double decodedAlong(double cells, double step, int blockCells) {
    return std::min(cells, std::ceil(cells / step) * blockCells);
}

double decodedCells(GDALRasterBand& band, double width, double height, double step) {
    int blockWidth = 1;
    int blockHeight = 1;
    band.GetBlockSize(&blockWidth, &blockHeight);
    return decodedAlong(width, step, blockWidth) * decodedAlong(height, step, blockHeight);
}

// The window's own step when the means can be read in time, else the step for taking single cells.
int affordableStep(GDALRasterBand& band, const CellWindow& window) {
    double reduction = 1.0; // of the coarsest picture that is fine enough
    for (int i = 0; i < band.GetOverviewCount(); ++i) {
        const double here = static_cast<double>(band.GetXSize()) / band.GetOverview(i)->GetXSize();
        if (here <= window.step * 1.01) {
            reduction = std::max(reduction, here);
        }
    }
    const double width = window.width / reduction;
    const double height = window.height / reduction;
    if (width * height <= kAffordableCells) {
        return window.step;
    }
    int step = window.step;
    while (decodedCells(band, window.width, window.height, step) > kAffordableCells &&
           step < std::min(window.width, window.height)) {
        step *= 2;
    }
    return step;
}

bool readReduced(GDALRasterBand& band, const CellWindow& w, void* out, GDALDataType type, GSpacing pixelBytes,
                 GDALRIOResampleAlg algorithm) {
    GDALRasterIOExtraArg argument;
    INIT_RASTERIO_EXTRA_ARG(argument);
    argument.eResampleAlg = algorithm;
    return band.RasterIO(GF_Read, w.column, w.row, w.width, w.height, out, w.reducedWidth(),
                         w.reducedHeight(), type, pixelBytes, pixelBytes * w.reducedWidth(),
                         &argument) == CE_None;
}

bool readBand(GDALRasterBand& band, const CellWindow& w, void* out, GDALDataType type, GSpacing pixelBytes,
              GDALRIOResampleAlg algorithm) {
    CellWindow sampled = w;
    sampled.step = w.step > 1 ? affordableStep(band, w) : 1;
    const bool isExact = sampled.step == w.step;
    if (isExact) {
        return readReduced(band, w, out, type, pixelBytes, w.step > 1 ? algorithm : GRIORA_NearestNeighbour);
    }
    const auto bytes = static_cast<std::size_t>(GDALGetDataTypeSizeBytes(type));
    const auto width = static_cast<std::size_t>(sampled.reducedWidth());
    std::vector<std::uint8_t> cells(width * static_cast<std::size_t>(sampled.reducedHeight()) * bytes);
    if (!readReduced(band, sampled, cells.data(), type, static_cast<GSpacing>(bytes),
                     GRIORA_NearestNeighbour)) {
        return false;
    }
    auto* to = static_cast<std::uint8_t*>(out);
    const auto repeats = static_cast<std::size_t>(sampled.step / w.step);
    for (std::size_t row = 0; row < static_cast<std::size_t>(w.reducedHeight()); ++row) {
        for (std::size_t column = 0; column < static_cast<std::size_t>(w.reducedWidth()); ++column) {
            std::memcpy(to, &cells[(row / repeats * width + column / repeats) * bytes], bytes);
            to += pixelBytes;
        }
    }
    return true;
}

std::size_t reducedCells(const CellWindow& window) {
    return static_cast<std::size_t>(window.reducedWidth()) * static_cast<std::size_t>(window.reducedHeight());
}

} // namespace

RasterBands::RasterBands(GDALDataset& dataset) {
    GDALRasterBand& first = *dataset.GetRasterBand(1);
    const int bands = dataset.GetRasterCount();
    const auto isAlpha = [&](int band) {
        return dataset.GetRasterBand(band)->GetColorInterpretation() == GCI_AlphaBand;
    };
    if (const GDALColorTable* table = first.GetColorTable()) {
        m_colours = Colours::Palette;
        for (int i = 0; i < table->GetColorEntryCount(); ++i) {
            const GDALColorEntry& c = *table->GetColorEntry(i);
            m_palette.push_back({static_cast<std::uint8_t>(c.c1), static_cast<std::uint8_t>(c.c2),
                                 static_cast<std::uint8_t>(c.c3), static_cast<std::uint8_t>(c.c4)});
        }
    } else if (bands >= 3) {
        m_colours = bands >= 4 && isAlpha(4) ? Colours::Rgba : Colours::Rgb;
    } else {
        m_colours = bands == 2 && isAlpha(2) ? Colours::GreyAlpha : Colours::Grey;
    }
    const int maskFlags = first.GetMaskFlags();
    m_hasMask =
        (maskFlags & GMF_ALL_VALID) == 0 && m_colours != Colours::Rgba && m_colours != Colours::GreyAlpha;

    if (first.GetRasterDataType() != GDT_Byte && !hasPalette()) {
        double range[2] = {0.0, 255.0};
        const bool isLarge = static_cast<double>(first.GetXSize()) * first.GetYSize() > kAffordableCells / 4;
        if (first.ComputeRasterMinMax(isLarge ? TRUE : FALSE, range) == CE_None && range[1] > range[0]) {
            m_darkest = range[0];
            m_brightest = range[1];
        }
    }
}

bool RasterBands::wantsOverviews(GDALDataset& dataset) {
    GDALRasterBand& band = *dataset.GetRasterBand(1);
    int size = std::max(band.GetXSize(), band.GetYSize());
    for (int i = 0; i < band.GetOverviewCount(); ++i) {
        GDALRasterBand& overview = *band.GetOverview(i);
        size = std::min(size, std::max(overview.GetXSize(), overview.GetYSize()));
    }
    return size > kLargestWithoutOverviews;
}

bool RasterBands::readImage(GDALDataset& dataset, const CellWindow& window,
                            std::vector<std::uint8_t>& rgba) const {
    const std::size_t count = reducedCells(window);
    rgba.assign(count * 4, 255);
    std::vector<std::size_t> holes; // cells that are not a number
    const auto readChannel = [&](int bandNumber, std::size_t channel, GDALRIOResampleAlg algorithm) {
        GDALRasterBand& band = *dataset.GetRasterBand(bandNumber);
        if (band.GetRasterDataType() == GDT_Byte) {
            return readBand(band, window, rgba.data() + channel, GDT_Byte, 4, algorithm);
        }
        std::vector<float> values(count);
        if (!readBand(band, window, values.data(), GDT_Float32, sizeof(float), algorithm)) {
            return false;
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (std::isnan(values[i])) {
                holes.push_back(i);
            }
            const double shade = (values[i] - m_darkest) / (m_brightest - m_darkest) * 255.0;
            rgba[i * 4 + channel] = static_cast<std::uint8_t>(shade >= 0.0 ? std::min(shade, 255.0) : 0.0);
        }
        return true;
    };

    const bool isColour = m_colours == Colours::Rgb || m_colours == Colours::Rgba;
    const auto algorithm = hasPalette() ? GRIORA_NearestNeighbour : GRIORA_Average;
    for (int channel = 0; channel < (isColour ? 3 : 1); ++channel) {
        if (!readChannel(channel + 1, static_cast<std::size_t>(channel), algorithm)) {
            return false;
        }
    }
    for (std::size_t i = 0; i < count && !isColour; ++i) {
        std::uint8_t* const cell = &rgba[i * 4];
        if (m_colours != Colours::Palette) {
            cell[1] = cell[2] = cell[0];
        } else if (cell[0] < m_palette.size()) {
            std::copy_n(m_palette[cell[0]].data(), 4, cell);
        }
    }
    bool isRead = true;
    if (m_colours == Colours::Rgba || m_colours == Colours::GreyAlpha) {
        isRead = readChannel(m_colours == Colours::Rgba ? 4 : 2, 3, GRIORA_Average);
    } else if (m_hasMask) {
        isRead = readBand(*dataset.GetRasterBand(1)->GetMaskBand(), window, rgba.data() + 3, GDT_Byte, 4,
                          GRIORA_NearestNeighbour);
    }
    for (const std::size_t hole : holes) {
        rgba[hole * 4 + 3] = 0;
    }
    return isRead;
}

bool RasterBands::readHeights(GDALDataset& dataset, const CellWindow& window,
                              std::vector<float>& heights) const {
    const std::size_t count = reducedCells(window);
    heights.resize(count);
    GDALRasterBand& band = *dataset.GetRasterBand(1);
    if (!readBand(band, window, heights.data(), GDT_Float32, sizeof(float), GRIORA_Average)) {
        return false;
    }
    int hasNoData = 0;
    const auto noData = static_cast<float>(band.GetNoDataValue(&hasNoData));
    constexpr float kHole = std::numeric_limits<float>::quiet_NaN();
    if (hasNoData != 0) {
        std::replace(heights.begin(), heights.end(), noData, kHole);
    } else if (m_hasMask) {
        std::vector<std::uint8_t> mask(count);
        if (!readBand(*band.GetMaskBand(), window, mask.data(), GDT_Byte, 1, GRIORA_NearestNeighbour)) {
            return false;
        }
        for (std::size_t i = 0; i < count; ++i) {
            heights[i] = mask[i] != 0 ? heights[i] : kHole;
        }
    }
    // Heights beyond anything on Earth are fill values that the file does not declare.
    std::replace_if(
        heights.begin(), heights.end(), [](float h) { return !(h > -12000.0F && h < 30000.0F); }, kHole);
    return true;
}

} // namespace osgEarth
