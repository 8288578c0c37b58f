// How a raster's cells become colours and heights.
#pragma once
#include <array>
#include <cstdint>
#include <vector>

class GDALDataset;

namespace osgEarth {

/// Cells of a raster, reduced by a step: column and row are multiples of the step (a power of two); width and
/// height count full-resolution cells.
struct CellWindow {
    int column = 0;
    int row = 0;
    int width = 0;
    int height = 0;
    int step = 1;
    int reducedWidth() const { return (width + step - 1) / step; }
    int reducedHeight() const { return (height + step - 1) / step; }
};

/// The meaning of a raster's bands. Immutable after construction. Where reading the means of a large window
/// would take long, because there are no overviews, single cells stand for their neighbours.
class RasterBands {
public:
    RasterBands() = default;
    /// The data set has one band or more.
    explicit RasterBands(GDALDataset& dataset);

    bool hasPalette() const { return m_colours == Colours::Palette; }
    /// Whether the raster is so large that it takes overviews, which it has not, to see it as a whole.
    static bool wantsOverviews(GDALDataset& dataset);

    /// RGBA, 4 bytes a cell, row by row from the top. False when the cells cannot be read.
    bool readImage(GDALDataset& dataset, const CellWindow& window, std::vector<std::uint8_t>& rgba) const;
    /// Heights of the first band; NaN where there is no data.
    bool readHeights(GDALDataset& dataset, const CellWindow& window, std::vector<float>& heights) const;

private:
    enum class Colours { Grey, GreyAlpha, Palette, Rgb, Rgba };

    Colours m_colours = Colours::Grey;
    bool m_hasMask = false;
    double m_darkest = 0.0; // of sources that are not 8-bit: the values shown as black and white
    double m_brightest = 255.0;
    std::vector<std::array<std::uint8_t, 4>> m_palette;
};

} // namespace osgEarth
