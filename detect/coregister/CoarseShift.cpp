#include "detect/coregister/CoarseShift.h"

#include "detect/coregister/RobustStatistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace detect {

namespace {

constexpr int kReach = kCoarseReachCells;
constexpr int kFirstStep = 4;
constexpr int kMostPatches = 24;
constexpr int kLargestSide = 192; ///< of the part of a patch that is looked at
constexpr std::size_t kWantedPoints = 4000;
constexpr double kMuchLess = 0.7; ///< scatter that makes a shift, or a shift further away, worth believing
constexpr double kEnoughPoints = 0.5;

CellWindow middleOf(const CellWindow& window) {
    const int columns = std::min(window.columns, kLargestSide);
    const int rows = std::min(window.rows, kLargestSide);
    return {window.column + (window.columns - columns) / 2, window.row + (window.rows - rows) / 2, columns,
            rows};
}

CellWindow grown(const CellWindow& window) {
    return {window.column - kReach, window.row - kReach, window.columns + 2 * kReach,
            window.rows + 2 * kReach};
}

/// Heights of the old epoch at some points, and the new epoch's around them.
class Neighbourhood {
public:
    static Result<Neighbourhood> read(const PairLayout& layout, const Patch& patch,
                                      const HeightCorrection& correction) {
        // Opened for each: of a striped raster a narrow window caches whole strips, which go with the reader.
        auto opened = PairReader::open(layout);
        if (!opened) {
            return failed(opened);
        }
        auto& reader = *opened;
        Neighbourhood made;
        made.m_points = middleOf(patch.window);
        made.m_window = intersect(grown(made.m_points), layout.overlap);
        made.m_new.resize(static_cast<std::size_t>(made.m_window.cells()));
        if (auto done = reader.readNew(made.m_window, {}, made.m_new.data()); !done) {
            return failed(done);
        }
        correction.addTo(made.m_window, made.m_new.data());
        made.m_patch = &patch;
        return made;
    }

    std::int64_t cells() const { return m_points.cells(); }

    /// Appends dZ with the new epoch moved by so many cells, at every `stride`th cell each way.
    void appendDz(const CellShift& shift, int stride, std::vector<float>& dz) const {
        for (int row = m_points.row; row < m_points.row + m_points.rows; row += stride) {
            const int newRow = row - shift.rows - m_window.row;
            if (newRow < 0 || newRow >= m_window.rows) {
                continue;
            }
            for (int column = m_points.column; column < m_points.column + m_points.columns;
                 column += stride) {
                const int newColumn = column - shift.columns - m_window.column;
                if (newColumn < 0 || newColumn >= m_window.columns) {
                    continue;
                }
                const float difference = at(m_new, m_window, newColumn, newRow) - oldHeight(column, row);
                if (!std::isnan(difference)) {
                    dz.push_back(difference);
                }
            }
        }
    }

private:
    static float at(const std::vector<float>& heights, const CellWindow& window, int column, int row) {
        return heights[static_cast<std::size_t>(row) * static_cast<std::size_t>(window.columns) +
                       static_cast<std::size_t>(column)];
    }
    float oldHeight(int column, int row) const {
        const CellWindow& window = m_patch->window;
        return at(m_patch->oldHeights, window, column - window.column, row - window.row);
    }

    const Patch* m_patch = nullptr;
    CellWindow m_points; ///< where dZ is looked at
    CellWindow m_window; ///< of the new heights
    std::vector<float> m_new;
};

class Trials {
public:
    explicit Trials(std::vector<Neighbourhood> places) : m_places(std::move(places)) {
        std::int64_t cells = 0;
        for (const Neighbourhood& place : m_places) {
            cells += place.cells();
        }
        m_stride = std::max(
            1, static_cast<int>(std::sqrt(static_cast<double>(cells) / static_cast<double>(kWantedPoints))));
        m_still = scatter({});
        m_mostPoints = m_points;
    }

    CellShift best() {
        const Trial still{{}, m_still};
        Trial near = still;
        for (int step = kFirstStep; step > 0; step /= 2) {
            walk(step, near);
        }
        Trial far = near;
        for (int rows = -kReach; rows <= kReach; rows += kFirstStep) {
            for (int columns = -kReach; columns <= kReach; columns += kFirstStep) {
                take({columns, rows}, far);
            }
        }
        for (int step = kFirstStep / 2; step > 0; step /= 2) {
            walk(step, far);
        }
        // Ground that repeats itself (terraces, rows of houses) fits in many places: the nearest is meant.
        return better(far, better(near, still)).shift;
    }

private:
    struct Trial {
        CellShift shift;
        double scatter = 0.0;
    };

    static const Trial& better(const Trial& candidate, const Trial& nearer) {
        return candidate.scatter < kMuchLess * nearer.scatter ? candidate : nearer;
    }

    /// To the best neighbour at this step until there is no better one.
    void walk(int step, Trial& best) {
        for (CellShift centre = best.shift;; centre = best.shift) {
            for (const int rows : {-step, 0, step}) {
                for (const int columns : {-step, 0, step}) {
                    take({centre.columns + columns, centre.rows + rows}, best);
                }
            }
            if (centre.columns == best.shift.columns && centre.rows == best.shift.rows) {
                return;
            }
        }
    }

    void take(const CellShift& shift, Trial& best) {
        if (std::abs(shift.columns) > kReach || std::abs(shift.rows) > kReach) {
            return;
        }
        const double found = scatter(shift);
        if (found < best.scatter) {
            best = {shift, found};
        }
    }

    /// Infinite where too few points are left to judge.
    double scatter(const CellShift& shift) {
        m_dz.clear();
        for (const Neighbourhood& place : m_places) {
            place.appendDz(shift, m_stride, m_dz);
        }
        m_points = m_dz.size();
        if (m_dz.empty() ||
            static_cast<double>(m_points) < kEnoughPoints * static_cast<double>(m_mostPoints)) {
            return std::numeric_limits<double>::infinity();
        }
        const double centre = median(m_dz);
        return nmad(m_dz, centre);
    }

    std::vector<Neighbourhood> m_places;
    int m_stride = 1;
    double m_still = 0.0; ///< scatter without a shift
    std::size_t m_points = 0;
    std::size_t m_mostPoints = 0;
    std::vector<float> m_dz;
};

} // namespace

Result<CellShift> findCoarseShift(const PairLayout& layout, const std::vector<Patch>& patches,
                                  const HeightCorrection& correction) {
    std::vector<Neighbourhood> places;
    const std::size_t every = std::max<std::size_t>(1, patches.size() / kMostPatches);
    for (std::size_t i = 0; i < patches.size(); i += every) {
        auto place = Neighbourhood::read(layout, patches[i], correction);
        if (!place) {
            return failed(place);
        }
        places.push_back(std::move(*place));
    }
    return Trials(std::move(places)).best();
}

} // namespace detect
