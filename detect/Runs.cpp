#include "detect/Runs.h"

#include <algorithm>
#include <cstring>

namespace detect {

namespace {

enum Touch : std::uint8_t { None = 0, Above = 1, Below = 2 };

void markSigns(const float* dz, std::size_t columns, float threshold, std::int8_t* signs) {
    for (std::size_t i = 0; i < columns; ++i)
        signs[i] = static_cast<std::int8_t>(static_cast<int>(dz[i] >= threshold) -
                                            static_cast<int>(dz[i] <= -threshold));
}

/// First cell at or after `i` that is a member of either sign.
std::size_t nextMember(const std::int8_t* signs, std::size_t i, std::size_t columns) {
    while (i + sizeof(std::uint64_t) <= columns) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, signs + i, sizeof eight);
        if (eight != 0)
            break;
        i += sizeof eight;
    }
    while (i < columns && signs[i] == 0)
        ++i;
    return i;
}

void measure(const float* dz, Run& run) {
    run.lowest = run.highest = dz[0];
    for (std::int32_t i = 0; i < run.cells(); ++i) {
        run.lowest = std::min(run.lowest, dz[i]);
        run.highest = std::max(run.highest, dz[i]);
        (dz[i] > 0.0F ? run.raised : run.sunk) += static_cast<double>(dz[i]);
    }
}

bool isMeasured(float dz) {
    return dz == dz;
}

/// Notes in `touches` which runs of two neighbouring rows [upper, middle) and [middle, lower) lie over each
/// other.
void markTouches(const std::vector<Run>& runs, std::size_t upper, std::size_t middle, std::size_t lower,
                 std::vector<std::uint8_t>& touches) {
    std::size_t a = upper;
    std::size_t b = middle;
    while (a < middle && b < lower) {
        const Run& above = runs[a];
        const Run& below = runs[b];
        if (above.sign == below.sign && above.begin < below.end && below.begin < above.end) {
            touches[a] |= Below;
            touches[b] |= Above;
        }
        above.end < below.end ? ++a : ++b;
    }
}

} // namespace

void RunFinder::find(const float* dz, int columns, int row, int firstColumn, std::vector<Run>& runs,
                     const std::uint8_t* excluded) {
    const auto count = static_cast<std::size_t>(columns);
    m_signs.resize(count);
    markSigns(dz, count, m_threshold, m_signs.data());
    for (std::size_t i = 0; excluded != nullptr && i < count; ++i)
        m_signs[i] = excluded[i] != 0 ? std::int8_t{0} : m_signs[i];

    const auto append = [&](std::size_t begin, std::size_t end, std::int8_t sign, bool gap) {
        Run run;
        run.row = row;
        run.begin = firstColumn + static_cast<std::int32_t>(begin);
        run.end = firstColumn + static_cast<std::int32_t>(end);
        run.sign = sign;
        run.gap = gap;
        measure(dz + begin, run);
        runs.push_back(run);
    };

    for (std::size_t i = nextMember(m_signs.data(), 0, count); i < count;) {
        const std::int8_t sign = m_signs[i];
        std::size_t end = i + 1;
        while (end < count && m_signs[end] == sign)
            ++end;
        append(i, end, sign, false);
        if (end + 1 < count && m_signs[end] == 0 && m_signs[end + 1] == sign && isMeasured(dz[end]))
            append(end, end + 1, sign, true);
        i = nextMember(m_signs.data(), end, count);
    }
}

void dropLonelyRuns(std::vector<Run>& runs, int firstRow, int lastRow) {
    std::vector<std::uint8_t> touches(runs.size(), None);
    std::size_t upper = 0;
    std::size_t middle = 0;
    for (std::size_t i = 0; i <= runs.size(); ++i) {
        const bool rowEnds = i == runs.size() || runs[i].row != runs[middle].row;
        if (!rowEnds)
            continue;
        if (middle > upper && i > middle && runs[upper].row + 1 == runs[middle].row)
            markTouches(runs, upper, middle, i, touches);
        upper = middle;
        middle = i;
    }

    const auto onSeam = [&](const Run& run) { return run.row == firstRow || run.row == lastRow; };
    const auto fillable = [&](std::size_t i) {
        return runs[i].gap && (onSeam(runs[i]) || touches[i] == (Above | Below));
    };
    std::size_t kept = 0;
    bool previousFillable = false;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const bool thisFillable = fillable(i);
        const bool besideFillable = previousFillable || (i + 1 < runs.size() && fillable(i + 1));
        const bool keep =
            runs[i].gap ? thisFillable : onSeam(runs[i]) || touches[i] != None || besideFillable;
        previousFillable = thisFillable;
        if (keep)
            runs[kept++] = runs[i];
    }
    runs.resize(kept);
}

} // namespace detect
