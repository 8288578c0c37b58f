#include "detect/raster/Resampler.h"

#include "detect/raster/CubicWeights.h"
#include "detect/raster/HeightRange.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

constexpr int kTileSamples = 512;
/// A neighbour with less weight than this has no say, so that grids which meet up to rounding stay exact.
constexpr double kLeastWeight = 1e-6;

/// Posts around a place, before it and after it, that cubic convolution leans on.
constexpr int kPostsBefore = 1;
constexpr int kPostsAfter = 2;
constexpr int kPosts = kPostsBefore + 1 + kPostsAfter;

using PostWeights = std::array<float, kPosts>;

/// The sixteen posts from `first` on, kept within their heights; NaN when one is missing. Sums differences from
/// one of them, which are small, so that no digits of the height are lost.
float convolved(const float* first, std::size_t stride, const PostWeights& across, const PostWeights& down) {
    const float base = first[stride + 1];
    float sum = 0.0F;
    float lowest = base;
    float highest = base;
    for (std::size_t row = 0; row < kPosts; ++row, first += stride) {
        float ofRow = 0.0F;
        for (std::size_t column = 0; column < kPosts; ++column) {
            ofRow += across[column] * (first[column] - base);
            lowest = std::min(lowest, first[column]);
            highest = std::max(highest, first[column]);
        }
        sum += down[row] * ofRow;
    }
    const float height = base + sum;
    return height < lowest ? lowest : height > highest ? highest : height;
}

bool finite(const Point& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

Point between(const Point& a, const Point& b, double t) {
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t};
}

} // namespace

Result<Resampler> Resampler::create(const Grid& oldGrid, const Grid& newGrid, const std::string& newPath) {
    return GridMapping::create(oldGrid, newGrid, newPath).map([](GridMapping&& mapping) {
        return Resampler(std::move(mapping));
    });
}

Status Resampler::readSourceAround(RasterSource& newRaster, const CellWindow& tile,
                                   const CellLattice& lattice) {
    std::vector<Point> places = lattice.nodes;
    if (places.size() == 2 * static_cast<std::size_t>(lattice.columns)) { // perhaps a few of the rows between
        const double first = double(tile.row - lattice.firstRow) / CellLattice::kStep;
        const double last = double(tile.row + tile.rows - lattice.firstRow) / CellLattice::kStep;
        for (std::size_t i = 0; i < places.size() / 2; ++i) {
            const Point upper = lattice.nodes[i];
            const Point lower = lattice.nodes[i + places.size() / 2];
            places[i] = between(upper, lower, first);
            places[i + places.size() / 2] = between(upper, lower, last);
        }
    }
    Box box{HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    for (const Point& p : places) {
        if (finite(p)) {
            box = {std::min(box.xMin, p.x), std::min(box.yMin, p.y), std::max(box.xMax, p.x),
                   std::max(box.yMax, p.y)};
        }
    }
    m_sourceWindow = {};
    const Grid& grid = m_mapping.newGrid();
    if (!(box.xMin < grid.columns() && box.yMin < grid.rows() && box.xMax > 0.0 && box.yMax > 0.0)) {
        return {};
    }
    const int left = static_cast<int>(std::max(0.0, std::floor(box.xMin) - kPostsAfter));
    const int top = static_cast<int>(std::max(0.0, std::floor(box.yMin) - kPostsAfter));
    const int right = static_cast<int>(std::min<double>(grid.columns(), std::ceil(box.xMax) + kPostsAfter));
    const int bottom = static_cast<int>(std::min<double>(grid.rows(), std::ceil(box.yMax) + kPostsAfter));
    m_sourceWindow = {left, top, right - left, bottom - top};
    m_sourceHeights.resize(static_cast<std::size_t>(m_sourceWindow.cells()));
    return newRaster.read(m_sourceWindow, m_sourceHeights.data(),
                          static_cast<std::size_t>(m_sourceWindow.columns));
}

float Resampler::sample(const Point& newCell) const {
    const double x = newCell.x - 0.5 - m_sourceWindow.column;
    const double y = newCell.y - 0.5 - m_sourceWindow.row;
    if (!(x > -kLeastWeight && y > -kLeastWeight && x < m_sourceWindow.columns - 1 + kLeastWeight &&
          y < m_sourceWindow.rows - 1 + kLeastWeight)) {
        return kNoHeight;
    }
    const double wholeX = std::floor(x + kLeastWeight);
    const double wholeY = std::floor(y + kLeastWeight);
    const double right = std::max(0.0, x - wholeX);
    const double below = std::max(0.0, y - wholeY);
    const auto width = static_cast<std::size_t>(m_sourceWindow.columns);
    const float* post =
        m_sourceHeights.data() + static_cast<std::size_t>(wholeY) * width + static_cast<std::size_t>(wholeX);
    const auto along = [right](const float* pair) {
        return right < kLeastWeight ? static_cast<double>(pair[0])
                                    : pair[0] + right * (double(pair[1]) - pair[0]);
    };
    const double upper = along(post);
    const double bilinear = below < kLeastWeight ? upper : upper + below * (along(post + width) - upper);
    const bool onPost = right < kLeastWeight && below < kLeastWeight;
    const bool hasPosts = wholeX >= kPostsBefore && wholeY >= kPostsBefore &&
                          wholeX + kPostsAfter < m_sourceWindow.columns &&
                          wholeY + kPostsAfter < m_sourceWindow.rows;
    if (onPost || !hasPosts || m_mapping.samplesPerCell() > 1) {
        return static_cast<float>(bilinear);
    }
    const float cubic =
        convolved(post - kPostsBefore * (width + 1), width, cubicWeights(right), cubicWeights(below));
    return std::isnan(cubic) ? static_cast<float>(bilinear) : cubic;
}

/// What sample() gives, with the weights worked out once. They depend on the shift only, not on the tile.
void Resampler::shiftTile(const CellWindow& tile, const Shift& shift, float* heights, std::size_t stride) {
    std::vector<Point> first{{0.0, 0.0}};
    m_mapping.toNewCells(first, shift);
    const double wholeX = std::floor(first[0].x + kLeastWeight);
    const double wholeY = std::floor(first[0].y + kLeastWeight);
    const double rightShare = std::max(0.0, first[0].x - wholeX);
    const double belowShare = std::max(0.0, first[0].y - wholeY);
    // A post that has no weight need not be there.
    const int right = rightShare < kLeastWeight ? 0 : 1;
    const int below = belowShare < kLeastWeight ? 0 : 1;
    const double u = right != 0 ? rightShare : 0.0;
    const double v = below != 0 ? belowShare : 0.0;
    const int left = tile.column + static_cast<int>(wholeX) - m_sourceWindow.column;
    const int top = tile.row + static_cast<int>(wholeY) - m_sourceWindow.row;
    const int begin = std::clamp(-left, 0, tile.columns);
    const int end = std::clamp(m_sourceWindow.columns - right - left, begin, tile.columns);
    for (int row = 0; row < tile.rows; ++row) {
        float* line = heights + static_cast<std::size_t>(row) * stride;
        std::fill_n(line, tile.columns, kNoHeight);
        const int y = top + row;
        if (y < 0 || y + below >= m_sourceWindow.rows) {
            continue;
        }
        const float* upper =
            m_sourceHeights.data() + std::int64_t{y} * m_sourceWindow.columns + (left + begin);
        const float* lower = upper + std::int64_t{below} * m_sourceWindow.columns;
        for (int column = 0; column < end - begin; ++column) {
            const auto a = static_cast<double>(upper[column]);
            const auto b = static_cast<double>(lower[column]);
            const double alongUpper = a + u * (static_cast<double>(upper[column + right]) - a);
            const double alongLower = b + u * (static_cast<double>(lower[column + right]) - b);
            line[begin + column] = static_cast<float>(alongUpper + v * (alongLower - alongUpper));
        }
        if (right != 0 || below != 0) {
            convolveLine({left, y}, {u, v}, tile.columns, line);
        }
    }
}

/// Puts cubic heights over the bilinear ones of a row of cells, where all sixteen posts are there. `post` is the
/// one before the first cell, in the source window.
void Resampler::convolveLine(const Post& post, const Point& share, int columns, float* line) {
    const int begin = std::clamp(kPostsBefore - post.column, 0, columns);
    const int end = std::clamp(m_sourceWindow.columns - kPostsAfter - post.column, begin, columns);
    if (begin == end || post.row < kPostsBefore || post.row + kPostsAfter >= m_sourceWindow.rows) {
        return;
    }
    const auto width = static_cast<std::size_t>(m_sourceWindow.columns);
    const float* first = m_sourceHeights.data() + static_cast<std::size_t>(post.row - kPostsBefore) * width +
                         static_cast<std::size_t>(post.column + begin - kPostsBefore);
    const std::size_t count = static_cast<std::size_t>(end - begin) + kPosts - 1;
    addUpRows(first, width, cubicWeights(share.y), count);
    const PostWeights across = cubicWeights(share.x);
    for (std::size_t i = 0; i + kPosts <= count; ++i) {
        const float* posts = m_posts.weighted.data() + i;
        const float* low = m_posts.lowest.data() + i;
        const float* high = m_posts.highest.data() + i;
        const float base = posts[1];
        const float cubic = base + across[0] * (posts[0] - base) + across[2] * (posts[2] - base) +
                            across[3] * (posts[3] - base);
        const float lowest = std::min(std::min(low[0], low[1]), std::min(low[2], low[3]));
        const float highest = std::max(std::max(high[0], high[1]), std::max(high[2], high[3]));
        const float within = cubic < lowest ? lowest : cubic > highest ? highest : cubic;
        float& height = line[static_cast<std::size_t>(begin) + i];
        height = within == within ? within : height;
    }
}

/// Column by column, so that every post is looked at once for its column and not for each cell beside it.
void Resampler::addUpRows(const float* first, std::size_t stride, const std::array<float, 4>& down,
                          std::size_t count) {
    for (auto* values : {&m_posts.weighted, &m_posts.lowest, &m_posts.highest}) {
        values->resize(count);
    }
    float* const weighted = m_posts.weighted.data();
    float* const lowest = m_posts.lowest.data();
    float* const highest = m_posts.highest.data();
    const float* const rows[] = {first, first + stride, first + 2 * stride, first + 3 * stride};
    for (std::size_t i = 0; i < count; ++i) {
        const float a = rows[0][i];
        const float b = rows[1][i];
        const float c = rows[2][i];
        const float d = rows[3][i];
        weighted[i] = b + down[0] * (a - b) + down[2] * (c - b) + down[3] * (d - b);
        lowest[i] = std::min(std::min(a, b), std::min(c, d));
        highest[i] = std::max(std::max(a, b), std::max(c, d));
    }
}

Status Resampler::readTile(RasterSource& newRaster, const CellWindow& tile, const Shift& shift,
                           float* heights, std::size_t stride) {
    const CellLattice lattice = m_mapping.lattice(tile, shift);
    if (auto done = readSourceAround(newRaster, tile, lattice); !done) {
        return failed(done);
    }
    if (m_mapping.isPlainShift() && !m_sourceWindow.empty()) {
        shiftTile(tile, shift, heights, stride);
        return {};
    }
    const int n = m_mapping.samplesPerCell();
    for (int row = 0; row < tile.rows; ++row) {
        float* line = heights + static_cast<std::size_t>(row) * stride;
        const int wholeRow = tile.row + row;
        const int nodeRow = (wholeRow - lattice.firstRow) / CellLattice::kStep;
        const Point* nodeLine = lattice.nodes.data() + std::ptrdiff_t{nodeRow} * lattice.columns;
        for (int column = 0; column < tile.columns; ++column) {
            if (m_sourceWindow.empty()) {
                line[column] = kNoHeight;
                continue;
            }
            const int wholeColumn = tile.column + column;
            const Point* node = nodeLine + (wholeColumn - lattice.firstColumn) / CellLattice::kStep;
            double sum = 0.0;
            for (int s = 0; s < n * n; ++s) {
                // From the cell's own numbers only, so that no rounding depends on the tile.
                const int across = s % n;
                const int down = s / n;
                const double tx =
                    (wholeColumn % CellLattice::kStep + (across + 0.5) / n) / CellLattice::kStep;
                const double ty = (wholeRow % CellLattice::kStep + (down + 0.5) / n) / CellLattice::kStep;
                const Point upper = between(node[0], node[1], tx);
                const Point lower = between(node[lattice.columns], node[lattice.columns + 1], tx);
                sum += static_cast<double>(sample(between(upper, lower, ty)));
            }
            line[column] = static_cast<float>(sum / (n * n));
        }
    }
    return {};
}

Status Resampler::read(RasterSource& newRaster, const CellWindow& oldWindow, const Shift& shift,
                       float* heights) {
    const int step = std::max(CellLattice::kStep, kTileSamples / m_mapping.samplesPerCell());
    const auto stride = static_cast<std::size_t>(oldWindow.columns);
    for (int done = 0; done < oldWindow.columns; done += step) {
        const CellWindow tile{oldWindow.column + done, oldWindow.row,
                              std::min(step, oldWindow.columns - done), oldWindow.rows};
        if (auto read = readTile(newRaster, tile, shift, heights + done, stride); !read) {
            return failed(read);
        }
    }
    return {};
}

} // namespace detect
