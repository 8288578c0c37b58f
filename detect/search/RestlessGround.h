#pragma once

#include "detect/raster/HeightCorrection.h"
#include "detect/raster/RasterPair.h"
#include "detect/search/OwnRoughness.h"

#include <array>
#include <unordered_map>

namespace detect {

/// What is known of a tile.
struct RestlessTile {
    float scatterMetres = 0.0F; ///< of the dZ of a cell, one standard deviation; 0 where the ground is calm
    std::int8_t standsOut = 0;  ///< +1 or -1 when the mean dZ of the tile is none that scatter makes
};

/// The tiles of a window.
struct RestlessTiles {
    int cellsAcrossTile = 1;
    int firstColumn = 0; ///< of the tiles, in tiles
    int firstRow = 0;
    int columns = 0;
    std::vector<RestlessTile> tiles; ///< row by row; empty where all is calm

    bool calm() const { return tiles.empty(); }
    /// At a cell of the window.
    const RestlessTile& at(int row, int column) const {
        const int tileRow = row / cellsAcrossTile - firstRow;
        const int tileColumn = column / cellsAcrossTile - firstColumn;
        return tiles[static_cast<std::size_t>(tileRow * columns + tileColumn)];
    }
};

/// Tells where the surveys find another surface every time although the ground lies still: plants, and water that
/// was matched without texture to match.
///
/// Three things come together there and nowhere else. Each epoch is rough in a way of its own: with a and b the
/// second differences of the old and the new heights over some metres, the means of a (a - b) and of b (b - a) are
/// the roughness that the other epoch does not show. Rubble, relief and unchanged buildings are in both epochs and
/// drop out; a change on smooth ground makes one epoch rough, not the other. And rises and falls mix. The smaller
/// of the two means gives the scatter of dZ there, as the spatially variable level of detection after Wheaton et al.
/// (2010) and the roughness term of Lague et al. (2013) do, with the changes themselves kept out of it.
///
/// Tiles are about 4 m wide, at least 8 cells; distances of half, one and two tiles are looked at, the scatter comes
/// from 5 x 5 tiles. Of those windows that hold a tile the most restless counts, so that a stand of plants is
/// restless up to its edge, but no more than three times what the tile and those around it show themselves.
///
/// Errors of neighbouring cells are not quite the same, so that the mean of a tile scatters less than its cells do:
/// the same is found for the means. A tile whose mean differs from zero by more than noise makes of it, and by as much
/// more as a cell scatters (a stand grows about as much as it is rough), stands out. Depends on the rasters alone.
/// Belongs to one thread.
class RestlessGround {
public:
    /// `memberMetres`: the |dZ| at which cells count as risen or fallen; `stableMetres`: standard deviation of dZ on
    /// stable ground.
    RestlessGround(PairReader reader, const PairLayout& layout, const HeightCorrection& correction,
                   const Shift& shift, float memberMetres, float stableMetres);

    /// Looks at a window of old cells inside the overlap, and at what lies around it.
    Result<RestlessTiles> look(const CellWindow& window);

    /// Fills dZ (packed rows, metres, NaN where there is none) of a window inside the overlap.
    Status readDz(const CellWindow& window, std::vector<float>& dz);

private:
    static constexpr int kTilesAcross = 8; ///< of a chunk, which is read at once
    static constexpr int kTiles = kTilesAcross * kTilesAcross;

    struct Scatter {
        float ofCells = -1.0F; ///< metres; negative while not known
        float ofMeans = 0.0F;
        std::int8_t mixes = -1; ///< whether rises and falls mix; negative while not known
    };
    struct Chunk {
        std::array<int, kTiles> risen{};
        std::array<int, kTiles> fallen{};
        std::array<int, kTiles> measured{};
        std::array<double, kTiles> oldMean{}; ///< metres; NaN where less than half was measured
        std::array<double, kTiles> newMean{};
        std::vector<OwnRoughness> roughness;   ///< of its tiles; empty while nobody needed it
        std::array<Scatter, kTiles> windows{}; ///< of those around its tiles
    };
    struct Tiles {
        int firstRow, firstColumn, lastRow, lastColumn;

        Tiles around(int tiles, const Tiles& limits) const;
    };
    struct Place {
        const Chunk* chunk;
        std::size_t tile;
    };

    Tiles tilesOf(const CellWindow& window) const;
    Place placeOf(int tileRow, int tileColumn) const;
    template<class Visit>
    Status forChunks(const Tiles& tiles, const Visit& visit);
    Status readBoth(const CellWindow& window);
    Status countSigns(int chunkRow, int chunkColumn, Chunk& chunk);
    Status measureRoughness(int chunkRow, int chunkColumn, Chunk& chunk);
    bool mixes(int tileRow, int tileColumn) const;
    bool windowMixes(int tileRow, int tileColumn);
    Scatter& keptWindow(int tileRow, int tileColumn);
    CellWindow cellsOf(int chunkRow, int chunkColumn, int tile) const;
    double meanOf(const CellWindow& tile, const CellWindow& read, const std::vector<float>& heights) const;
    Scatter windowScatter(int tileRow, int tileColumn);
    float scatterOfCells(const Tiles& window) const;
    float scatterOfMeans(const Tiles& window, int apart) const;
    float ownScatter(int tileRow, int tileColumn) const;
    RestlessTile judge(int tileRow, int tileColumn);

    PairReader m_reader;
    CellWindow m_overlap;
    HeightCorrection m_correction;
    Shift m_shift;
    float m_memberMetres;
    float m_stableMetres;
    int m_step = 1; ///< cells; finer ones are passed over
    int m_tile = 8; ///< cells
    Tiles m_all;    ///< that the overlap touches
    std::unordered_map<std::int64_t, Chunk> m_chunks;
    std::vector<float> m_old;
    std::vector<float> m_new;
};

} // namespace detect
