#pragma once

#include "detect/raster/HeightCorrection.h"
#include "detect/search/BlockPlan.h"
#include "detect/search/LevelOfDetection.h"
#include "detect/search/ResamplingBlur.h"
#include "detect/search/RimSigns.h"
#include "detect/search/Runs.h"

namespace detect {

/// What one block holds.
struct Block {
    CellWindow window;
    MeasuredRuns found;    ///< in row order
    std::vector<float> dz; ///< packed rows, metres; empty unless asked for
    std::int64_t compared = 0;
};

/// What all workers of one search do; outlives them.
struct BlockTask {
    const BlockPlan& plan;
    /// Cells around a block may be read up to here.
    CellWindow overlap;
    HeightCorrection correction;
    Shift shift = {};
    LevelOfDetection level = {};
    double growRatio = 0.5;
    ResamplingBlur blur = {};
    /// Leave out what cannot become a component with a core; see dropLonelyRuns.
    bool dropLonely = true;
    /// Count the cells whose change a shift would explain; see Run::explainedByShift.
    bool explain = true;
    bool keepDz = false;
};

/// Reads one block of both epochs and finds the runs in it. One for each thread.
class BlockWorker {
public:
    BlockWorker(PairReader reader, const BlockTask& task);

    Result<Block> operator()(int index);

private:
    /// Where a block lies in what was read with the cells around it.
    struct Inset {
        CellWindow read;
        int firstRow = 0;
        int firstColumn = 0;

        std::size_t cell(int row) const {
            return static_cast<std::size_t>(firstRow + row) * static_cast<std::size_t>(read.columns) +
                   static_cast<std::size_t>(firstColumn);
        }
    };

    Inset withNeighbours(const CellWindow& window) const;
    Status readBoth(const CellWindow& window);
    void judge(const Inset& inset, const CellWindow& window);
    void findRuns(const Inset& inset, Block& block);
    void measureRuns(const Inset& inset, Block& block) const;
    std::int32_t explainedByShift(const Inset& inset, const CellWindow& window, const Run& run) const;
    void findCores(const Inset& inset, const CellWindow& window, Run& run) const;
    bool hasRims() const;
    const std::int8_t* rimsOf(const Inset& inset, const CellWindow& window, int row);
    void markRims(const float* sigmas, const float* medians, std::size_t columns, std::int8_t* rims) const;
    bool isStrong(const Inset& inset, const CellWindow& window, const RunSpan& run) const;
    CellUncertainty uncertainty() const;
    std::vector<float> dzOf(const Inset& inset, const CellWindow& window) const;

    PairReader m_reader;
    const BlockTask& m_task;
    RunFinder m_finder;
    std::vector<RunSpan> m_spans; ///< of the present block
    ResamplingBlur m_blur;
    std::vector<float> m_old;
    std::vector<float> m_new;
    std::vector<float> m_dz;      ///< of the cells read, like all that follows
    std::vector<float> m_sigmas;  ///< empty where one holds for all
    std::vector<float> m_blurs;   ///< empty where heights come untouched
    std::vector<float> m_medians; ///< of the row at hand
    std::vector<float> m_sorted;
    RimSigns m_rimSigns;             ///< where one standard deviation holds for all
    std::vector<std::int8_t> m_rims; ///< of the row at hand
};

} // namespace detect
