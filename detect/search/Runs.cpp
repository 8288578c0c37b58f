#include "detect/search/Runs.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

namespace detect {

namespace {

enum Touch : std::uint8_t { None = 0, Above = 1, Below = 2 };

/// First cell at or after `i` that is a member of either sign.
std::size_t nextMember(const std::int8_t* signs, std::size_t i, std::size_t columns) {
    while (i + sizeof(std::uint64_t) <= columns) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, signs + i, sizeof eight);
        if (eight != 0) {
            break;
        }
        i += sizeof eight;
    }
    while (i < columns && signs[i] == 0) {
        ++i;
    }
    return i;
}

/// No survey is as bad as this; keeps the sums within 64 bits.
constexpr double kWorstSigmaMetres = 64.0;

/// What dZ may be off for being blurred counts as two standard deviations.
std::int64_t varianceUnits(float sigmaMetres, float blurMetres) {
    const auto noise = static_cast<double>(sigmaMetres);
    const double blur = static_cast<double>(blurMetres) / 2.0;
    const double variance = std::min(noise * noise + blur * blur, kWorstSigmaMetres * kWorstSigmaMetres);
    return static_cast<std::int64_t>(variance / kVarianceUnitSquareMetres);
}

bool isMeasured(float dz) {
    return dz == dz;
}

/// Notes in `touches` which runs of two neighbouring rows [upper, middle) and [middle, lower) lie over each
/// other.
void markTouches(const std::vector<RunSpan>& runs, std::size_t upper, std::size_t middle, std::size_t lower,
                 std::vector<std::uint8_t>& touches) {
    std::size_t a = upper;
    std::size_t b = middle;
    while (a < middle && b < lower) {
        const RunSpan& above = runs[a];
        const RunSpan& below = runs[b];
        if (above.sign == below.sign && above.begin < below.end && below.begin < above.end) {
            touches[a] |= Below;
            touches[b] |= Above;
        }
        above.end < below.end ? ++a : ++b;
    }
}

} // namespace

void RunFinder::markSigns(const RowOfCells& cells) {
    const auto count = static_cast<std::size_t>(cells.columns);
    m_signs.resize(count);
    const float* dz = cells.dz;
    std::int8_t* signs = m_signs.data();
    const auto sign = [](float height, float threshold) {
        return static_cast<std::int8_t>(static_cast<int>(height >= threshold) -
                                        static_cast<int>(height <= -threshold));
    };
    if (!cells.sigmas) {
        const float threshold = m_level.at(m_level.sigma) * m_growRatio;
        for (std::size_t i = 0; i < count; ++i) {
            signs[i] = sign(dz[i], threshold);
        }
    } else {
        const float* sigmas = cells.sigmas; // signs could lie anywhere, so members would be read each time
        const CellLevel level = m_level;
        const float growRatio = m_growRatio;
        for (std::size_t i = 0; i < count; ++i) {
            signs[i] = sign(dz[i], level.at(sigmas[i]) * growRatio);
        }
    }
    const std::int8_t* const rims = cells.rims; // signs could lie over the pointer
    for (std::size_t i = 0; rims && i < count; ++i) {
        signs[i] = signs[i] != 0 ? signs[i] : rims[i];
    }
}

void RunFinder::find(const RowOfCells& cells, std::vector<RunSpan>& runs) {
    markSigns(cells);
    const auto count = static_cast<std::size_t>(cells.columns);
    const auto append = [&](std::size_t begin, std::size_t end, std::int8_t sign, bool gap) {
        RunSpan run;
        run.row = cells.row;
        run.begin = cells.firstColumn + static_cast<std::int32_t>(begin);
        run.end = cells.firstColumn + static_cast<std::int32_t>(end);
        run.sign = sign;
        run.gap = gap;
        runs.push_back(run);
    };
    const auto isWeak = [&](std::size_t i) { return m_signs[i] == 0 && isMeasured(cells.dz[i]); };

    if (count == 1 && isWeak(0)) { // perhaps a gap between neighbours of either sign
        append(0, 1, -1, true);
        append(0, 1, 1, true);
        return;
    }
    for (std::size_t i = nextMember(m_signs.data(), 0, count); i < count;) {
        const std::int8_t sign = m_signs[i];
        std::size_t end = i + 1;
        while (end < count && m_signs[end] == sign) {
            ++end;
        }
        if (i == 1 && isWeak(0)) {
            append(0, 1, sign, true);
        }
        append(i, end, sign, false);
        const bool memberBeyond = end + 1 >= count || m_signs[end + 1] == sign;
        if (end < count && isWeak(end) && memberBeyond) {
            append(end, end + 1, sign, true);
        }
        i = nextMember(m_signs.data(), end, count);
    }
}

void dropLonelyRuns(std::vector<RunSpan>& runs, const BlockEdges& edges) {
    std::vector<std::uint8_t> touches(runs.size(), None);
    std::size_t upper = 0;
    std::size_t middle = 0;
    for (std::size_t i = 0; i <= runs.size(); ++i) {
        const bool rowEnds = i == runs.size() || runs[i].row != runs[middle].row;
        if (!rowEnds) {
            continue;
        }
        if (middle > upper && i > middle && runs[upper].row + 1 == runs[middle].row) {
            markTouches(runs, upper, middle, i, touches);
        }
        upper = middle;
        middle = i;
    }

    const auto fillable = [&](std::size_t i) {
        return runs[i].gap && (edges.touches(runs[i]) || touches[i] == (Above | Below));
    };
    std::size_t kept = 0;
    bool previousFillable = false;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const bool thisFillable = fillable(i);
        const bool besideFillable = previousFillable || (i + 1 < runs.size() && fillable(i + 1));
        const bool keep =
            runs[i].gap ? thisFillable : edges.touches(runs[i]) || touches[i] != None || besideFillable;
        previousFillable = thisFillable;
        if (keep) {
            runs[kept++] = runs[i];
        }
    }
    runs.resize(kept);
}

namespace {

/// Which runs hang together.
class RunSets {
public:
    explicit RunSets(std::size_t count) : m_up(count) {
        std::iota(m_up.begin(), m_up.end(), std::uint32_t{0});
    }

    std::uint32_t root(std::uint32_t run) {
        while (m_up[run] != run) {
            m_up[run] = m_up[m_up[run]];
            run = m_up[run];
        }
        return run;
    }
    void join(std::size_t a, std::size_t b) {
        m_up[root(static_cast<std::uint32_t>(a))] = root(static_cast<std::uint32_t>(b));
    }

private:
    std::vector<std::uint32_t> m_up;
};

void joinRuns(const std::vector<RunSpan>& runs, RunSets& sets) {
    std::size_t upper = 0; ///< first run of the row above that may touch
    std::size_t rowBegin = 0;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const RunSpan& run = runs[i];
        if (i > 0 && runs[i - 1].row != run.row) {
            upper = rowBegin;
            rowBegin = i;
        }
        if (i > rowBegin && runs[i - 1].end == run.begin && runs[i - 1].sign == run.sign) {
            sets.join(i, i - 1);
        }
        while (upper < rowBegin && (runs[upper].row + 1 < run.row || runs[upper].end <= run.begin)) {
            ++upper;
        }
        for (std::size_t a = upper; a < rowBegin && runs[a].begin < run.end; ++a) {
            if (runs[a].sign == run.sign && runs[a].end > run.begin) {
                sets.join(i, a);
            }
        }
    }
}

} // namespace

void dropWeakComponents(std::vector<RunSpan>& runs, const BlockEdges& edges,
                        const std::function<bool(const RunSpan&)>& isStrong) {
    RunSets sets(runs.size());
    joinRuns(runs, sets);
    std::vector<std::uint8_t> keep(runs.size(), 0);
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const std::uint32_t root = sets.root(static_cast<std::uint32_t>(i));
        if (keep[root] == 0 && (edges.touches(runs[i]) || isStrong(runs[i]))) {
            keep[root] = 1;
        }
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        if (keep[sets.root(static_cast<std::uint32_t>(i))] != 0) {
            runs[kept++] = runs[i];
        }
    }
    runs.resize(kept);
}

void measureRun(const float* dz, const CellUncertainty& uncertainty, const CellLevel& level, Run& run) {
    run.lowest = run.highest = dz[0];
    const auto cells = static_cast<std::size_t>(run.cells());
    for (std::size_t i = 0; i < cells; ++i) {
        run.lowest = std::min(run.lowest, dz[i]);
        run.highest = std::max(run.highest, dz[i]);
        const auto units = static_cast<std::int64_t>(static_cast<double>(dz[i]) / kSumUnitMetres);
        (units > 0 ? run.raised : run.sunk) += units;
        const float sigma = uncertainty.sigmas ? uncertainty.sigmas[i] : level.sigma;
        run.strongest = std::max(run.strongest, std::abs(dz[i]) / uncertainty.seedLevel(i, level));
        run.variance += varianceUnits(sigma, uncertainty.blurs ? uncertainty.blurs[i] : 0.0F);
    }
}

} // namespace detect
