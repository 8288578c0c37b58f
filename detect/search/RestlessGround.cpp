#include "detect/search/RestlessGround.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

constexpr double kStepMetres = 0.5;
constexpr int kMostStep = 16;
constexpr int kStepsAcrossTile = 8;
constexpr int kWindowReach = 2; ///< tiles around the middle one
constexpr std::size_t kMostChunks = 4096;
/// Of the cells of a window; noise of 0.07 m leaves one in fifty at half a threshold of 0.3 m.
constexpr int kLeastShareOfEachSign = 16; ///< one in so many
constexpr float kMostOverOwn = 3.0F;
constexpr float kMostOverShortest = 3.0F;
constexpr float kMeanSigmas = 5.0F;
double cellMetres(const Grid& grid) {
    const std::array<double, 4> step = grid.cellStepsMetres();
    return std::sqrt(std::abs(step[0] * step[3] - step[1] * step[2]));
}

std::int64_t keyOf(int chunkRow, int chunkColumn) {
    return (std::int64_t{chunkRow} << 32) + chunkColumn;
}

constexpr double kNoMean = std::numeric_limits<double>::quiet_NaN();

/// Of cells by their dZ.
struct Counts {
    int risen = 0;
    int fallen = 0;
    int measured = 0;

    void add(const float* oldHeights, const float* newHeights, int columns, float memberMetres) {
        for (int i = 0; i < columns; ++i) {
            const float dz = newHeights[i] - oldHeights[i];
            risen += static_cast<int>(dz >= memberMetres);
            fallen += static_cast<int>(dz <= -memberMetres);
            measured += static_cast<int>(dz == dz);
        }
    }
};

} // namespace

RestlessGround::Tiles RestlessGround::Tiles::around(int tiles, const Tiles& limits) const {
    return {std::max(limits.firstRow, firstRow - tiles), std::max(limits.firstColumn, firstColumn - tiles),
            std::min(limits.lastRow, lastRow + tiles), std::min(limits.lastColumn, lastColumn + tiles)};
}

RestlessGround::RestlessGround(PairReader reader, const PairLayout& layout,
                               const HeightCorrection& correction, const Shift& shift, float memberMetres,
                               float stableMetres)
    : m_reader(std::move(reader)), m_overlap(layout.overlap), m_correction(correction), m_shift(shift),
      m_memberMetres(memberMetres), m_stableMetres(stableMetres),
      m_step(static_cast<int>(
          std::clamp<double>(std::floor(kStepMetres / cellMetres(layout.oldRaster.grid)), 1.0, kMostStep))),
      m_tile(kStepsAcrossTile * m_step), m_all(tilesOf(layout.overlap)) {}

RestlessGround::Tiles RestlessGround::tilesOf(const CellWindow& window) const {
    return {window.row / m_tile, window.column / m_tile, (window.row + window.rows - 1) / m_tile,
            (window.column + window.columns - 1) / m_tile};
}

Result<RestlessTiles> RestlessGround::look(const CellWindow& window) {
    if (m_chunks.size() > kMostChunks) {
        m_chunks.clear();
    }
    const Tiles tiles = tilesOf(window);
    const Tiles windows = tiles.around(kWindowReach, m_all);
    const Tiles around = tiles.around(2 * kWindowReach, m_all);
    const auto count = [this](int row, int column, Chunk& chunk) {
        return chunk.measured[0] < 0 ? countSigns(row, column, chunk) : Status();
    };
    if (auto done = forChunks(around, count); !done) {
        return failed(done);
    }
    RestlessTiles found;
    bool calm = true;
    for (int row = windows.firstRow; calm && row <= windows.lastRow; ++row) {
        for (int column = windows.firstColumn; calm && column <= windows.lastColumn; ++column) {
            calm = !windowMixes(row, column);
        }
    }
    if (calm) {
        return found;
    }
    const auto measure = [this](int row, int column, Chunk& chunk) {
        return chunk.roughness.empty() ? measureRoughness(row, column, chunk) : Status();
    };
    if (auto done = forChunks(around, measure); !done) {
        return failed(done);
    }
    found.cellsAcrossTile = m_tile;
    found.firstRow = tiles.firstRow;
    found.firstColumn = tiles.firstColumn;
    found.columns = tiles.lastColumn - tiles.firstColumn + 1;
    calm = true;
    for (int row = tiles.firstRow; row <= tiles.lastRow; ++row) {
        for (int column = tiles.firstColumn; column <= tiles.lastColumn; ++column) {
            found.tiles.push_back(judge(row, column));
            calm = calm && found.tiles.back().scatterMetres == 0.0F;
        }
    }
    if (calm) {
        found.tiles.clear();
    }
    return found;
}

Status RestlessGround::readDz(const CellWindow& window, std::vector<float>& dz) {
    if (auto done = readBoth(window); !done) {
        return failed(done);
    }
    dz.resize(m_old.size());
    for (std::size_t i = 0; i < dz.size(); ++i) {
        dz[i] = m_new[i] - m_old[i];
    }
    return {};
}

Status RestlessGround::readBoth(const CellWindow& window) {
    m_old.resize(static_cast<std::size_t>(window.cells()));
    m_new.resize(m_old.size());
    if (auto done = m_reader.readOld(window, m_old.data()); !done) {
        return failed(done);
    }
    if (auto done = m_reader.readNew(window, m_shift, m_new.data()); !done) {
        return failed(done);
    }
    m_correction.addTo(window, m_new.data());
    return {};
}

template<class Visit>
Status RestlessGround::forChunks(const Tiles& tiles, const Visit& visit) {
    for (int row = tiles.firstRow / kTilesAcross; row <= tiles.lastRow / kTilesAcross; ++row) {
        for (int column = tiles.firstColumn / kTilesAcross; column <= tiles.lastColumn / kTilesAcross;
             ++column) {
            auto [place, isNew] = m_chunks.try_emplace(keyOf(row, column));
            if (isNew) {
                place->second.measured[0] = -1;
                place->second.oldMean.fill(kNoMean);
                place->second.newMean.fill(kNoMean);
            }
            if (auto done = visit(row, column, place->second); !done) {
                return failed(done);
            }
        }
    }
    return {};
}

RestlessGround::Place RestlessGround::placeOf(int tileRow, int tileColumn) const {
    const Chunk& chunk = m_chunks.at(keyOf(tileRow / kTilesAcross, tileColumn / kTilesAcross));
    return {&chunk,
            static_cast<std::size_t>((tileRow % kTilesAcross) * kTilesAcross + tileColumn % kTilesAcross)};
}

Status RestlessGround::countSigns(int chunkRow, int chunkColumn, Chunk& chunk) {
    const int side = kTilesAcross * m_tile;
    const CellWindow window = intersect({chunkColumn * side, chunkRow * side, side, side}, m_overlap);
    chunk.measured[0] = 0;
    if (window.empty() || m_reader.isEmpty(window)) {
        return {};
    }
    if (auto done = readBoth(window); !done) {
        return failed(done);
    }
    for (int tile = 0; tile < kTiles; ++tile) {
        const CellWindow cells = cellsOf(chunkRow, chunkColumn, tile);
        Counts counts;
        for (int row = cells.row; row < cells.row + cells.rows; ++row) {
            const std::ptrdiff_t first =
                std::ptrdiff_t{row - window.row} * window.columns + (cells.column - window.column);
            counts.add(m_old.data() + first, m_new.data() + first, cells.columns, m_memberMetres);
        }
        const auto place = static_cast<std::size_t>(tile);
        chunk.risen[place] = counts.risen;
        chunk.fallen[place] = counts.fallen;
        chunk.measured[place] = counts.measured;
    }
    return {};
}

CellWindow RestlessGround::cellsOf(int chunkRow, int chunkColumn, int tile) const {
    return intersect({(chunkColumn * kTilesAcross + tile % kTilesAcross) * m_tile,
                      (chunkRow * kTilesAcross + tile / kTilesAcross) * m_tile, m_tile, m_tile},
                     m_overlap);
}

Status RestlessGround::measureRoughness(int chunkRow, int chunkColumn, Chunk& chunk) {
    const int side = kTilesAcross * m_tile;
    const int reach = kFarthestSteps * m_step;
    chunk.roughness.resize(kTiles);
    const CellWindow read = intersect(
        {chunkColumn * side - reach, chunkRow * side - reach, side + 2 * reach, side + 2 * reach}, m_overlap);
    if (auto done = readBoth(read); !done) {
        return failed(done);
    }
    for (int tile = 0; tile < kTiles; ++tile) {
        const CellWindow cells = cellsOf(chunkRow, chunkColumn, tile);
        const auto place = static_cast<std::size_t>(tile);
        chunk.roughness[place] = ownRoughness({m_old.data(), m_new.data(), read}, cells, m_step);
        if (2 * chunk.measured[place] >= m_tile * m_tile) {
            chunk.oldMean[place] = meanOf(cells, read, m_old);
            chunk.newMean[place] = meanOf(cells, read, m_new);
        }
    }
    return {};
}

/// Of the cells that both epochs show.
double RestlessGround::meanOf(const CellWindow& tile, const CellWindow& read,
                              const std::vector<float>& heights) const {
    double sum = 0.0;
    int count = 0;
    for (int row = tile.row - read.row; row < tile.row - read.row + tile.rows; ++row) {
        for (int column = tile.column - read.column; column < tile.column - read.column + tile.columns;
             ++column) {
            const std::size_t cell = static_cast<std::size_t>(row) * static_cast<std::size_t>(read.columns) +
                                     static_cast<std::size_t>(column);
            if (m_new[cell] - m_old[cell] == m_new[cell] - m_old[cell]) {
                sum += static_cast<double>(heights[cell]);
                ++count;
            }
        }
    }
    return sum / count;
}

bool RestlessGround::windowMixes(int tileRow, int tileColumn) {
    Scatter& kept = keptWindow(tileRow, tileColumn);
    if (kept.mixes < 0) {
        kept.mixes = mixes(tileRow, tileColumn) ? 1 : 0;
    }
    return kept.mixes != 0;
}

RestlessGround::Scatter& RestlessGround::keptWindow(int tileRow, int tileColumn) {
    const auto tile =
        static_cast<std::size_t>((tileRow % kTilesAcross) * kTilesAcross + tileColumn % kTilesAcross);
    return m_chunks.at(keyOf(tileRow / kTilesAcross, tileColumn / kTilesAcross)).windows[tile];
}

bool RestlessGround::mixes(int tileRow, int tileColumn) const {
    const Tiles window = Tiles{tileRow, tileColumn, tileRow, tileColumn}.around(kWindowReach, m_all);
    int risen = 0;
    int fallen = 0;
    int measured = 0;
    for (int row = window.firstRow; row <= window.lastRow; ++row) {
        for (int column = window.firstColumn; column <= window.lastColumn; ++column) {
            const auto [chunk, tile] = placeOf(row, column);
            risen += chunk->risen[tile];
            fallen += chunk->fallen[tile];
            measured += chunk->measured[tile];
        }
    }
    return std::min(risen, fallen) * kLeastShareOfEachSign >= std::max(1, measured);
}

RestlessGround::Scatter RestlessGround::windowScatter(int tileRow, int tileColumn) {
    Scatter& kept = keptWindow(tileRow, tileColumn);
    if (kept.ofCells < 0.0F) {
        kept.ofCells = 0.0F;
        if (windowMixes(tileRow, tileColumn)) {
            const Tiles window = Tiles{tileRow, tileColumn, tileRow, tileColumn}.around(kWindowReach, m_all);
            kept.ofCells = scatterOfCells(window);
            kept.ofMeans = std::max(scatterOfMeans(window, 1), scatterOfMeans(window, 2));
        }
    }
    return kept;
}

/// Of the distances the one that tells most: what hangs together farther than one of them is seen by the next. But
/// the shortest must see something of it beyond the surveys' noise, too: beside edges of changes the longer ones err.
float RestlessGround::scatterOfCells(const Tiles& window) const {
    float most = 0.0F;
    float limit = 0.0F;
    for (std::size_t i = 0; i < OwnRoughness::kDistances; ++i) {
        std::vector<float> old;
        std::vector<float> young;
        for (int row = window.firstRow; row <= window.lastRow; ++row) {
            for (int column = window.firstColumn; column <= window.lastColumn; ++column) {
                const auto [from, tile] = placeOf(row, column);
                old.push_back(from->roughness[tile].old[i]);
                young.push_back(from->roughness[tile].young[i]);
            }
        }
        const float scatter = scatterFrom(steadyMean(old), steadyMean(young));
        if (i == 0) {
            const float beyondNoise = scatter * scatter - m_stableMetres * m_stableMetres;
            limit = beyondNoise > 0.0F ? kMostOverShortest * std::sqrt(beyondNoise) : 0.0F;
        }
        most = scatter > most ? scatter : most; // false for NaN
    }
    return std::min(most, limit);
}

float RestlessGround::scatterOfMeans(const Tiles& window, int apart) const {
    std::vector<float> old;
    std::vector<float> young;
    const auto add = [&](const Place& before, const Place& here, const Place& after) {
        const double a = before.chunk->oldMean[before.tile] - 2.0 * here.chunk->oldMean[here.tile] +
                         after.chunk->oldMean[after.tile];
        const double b = before.chunk->newMean[before.tile] - 2.0 * here.chunk->newMean[here.tile] +
                         after.chunk->newMean[after.tile];
        old.push_back(ownShare(a, b));
        young.push_back(ownShare(b, a));
    };
    for (int row = window.firstRow; row <= window.lastRow; ++row) {
        for (int column = window.firstColumn; column <= window.lastColumn; ++column) {
            if (column - apart >= window.firstColumn && column + apart <= window.lastColumn) {
                add(placeOf(row, column - apart), placeOf(row, column), placeOf(row, column + apart));
            }
            if (row - apart >= window.firstRow && row + apart <= window.lastRow) {
                add(placeOf(row - apart, column), placeOf(row, column), placeOf(row + apart, column));
            }
        }
    }
    const float scatter = scatterFrom(steadyMean(old), steadyMean(young));
    return scatter == scatter ? scatter : 0.0F;
}

float RestlessGround::ownScatter(int tileRow, int tileColumn) const {
    const auto [chunk, tile] = placeOf(tileRow, tileColumn);
    const OwnRoughness& roughness = chunk->roughness[tile];
    float most = 0.0F;
    for (std::size_t i = 0; i < OwnRoughness::kDistances; ++i) {
        const float scatter = scatterFrom(roughness.old[i], roughness.young[i]);
        most = scatter > most ? scatter : most;
    }
    return most;
}

RestlessTile RestlessGround::judge(int tileRow, int tileColumn) {
    const Tiles tile{tileRow, tileColumn, tileRow, tileColumn};
    const Tiles windows = tile.around(kWindowReach, m_all);
    Scatter most;
    most.ofCells = 0.0F;
    for (int row = windows.firstRow; row <= windows.lastRow; ++row) {
        for (int column = windows.firstColumn; column <= windows.lastColumn; ++column) {
            const Scatter scatter = windowScatter(row, column);
            most.ofCells = std::max(most.ofCells, scatter.ofCells);
            most.ofMeans = std::max(most.ofMeans, scatter.ofMeans);
        }
    }
    const Tiles beside = tile.around(1, m_all);
    float own = 0.0F;
    for (int row = beside.firstRow; row <= beside.lastRow; ++row) {
        for (int column = beside.firstColumn; column <= beside.lastColumn; ++column) {
            own = std::max(own, ownScatter(row, column));
        }
    }
    RestlessTile judged;
    judged.scatterMetres = std::min(most.ofCells, kMostOverOwn * own);
    const auto [chunk, place] = placeOf(tileRow, tileColumn);
    const double mean = chunk->newMean[place] - chunk->oldMean[place];
    const auto needed = static_cast<double>(most.ofCells + kMeanSigmas * most.ofMeans);
    judged.standsOut = mean >= needed ? 1 : mean <= -needed ? -1 : 0; // 0 for NaN
    return judged;
}

} // namespace detect
