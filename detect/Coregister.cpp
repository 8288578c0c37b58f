#include "detect/Coregister.h"

#include "detect/CoarseShift.h"
#include "detect/OrderedWork.h"
#include "detect/RobustStatistics.h"
#include "detect/StableSample.h"

#include <cmath>

namespace detect {

namespace {

constexpr int mostIterations = 25;
constexpr int reweightings = 6;
constexpr double settledCells = 0.01;
constexpr double largestStepCells = 3.0;
/// A shift below this changes nothing, and leaving it out spares the resampling.
constexpr double smallestShiftCells = 0.02;
/// Uncertain position of an old cell's slope: steep places (walls) may deviate more before they count as
/// changed.
constexpr double slopeSlackCells = 0.25;
constexpr double tukeyReach = 4.685;
constexpr double worseScatter = 1.02;

/// One cell's say about the shift: dZ = gx dx + gy dy + c.
struct Equation {
    float gx = 0.0F;
    float gy = 0.0F;
    float dz = 0.0F;
};

struct Solution {
    double dx = 0.0;
    double dy = 0.0;
    double c = 0.0;
};

/// Slopes along columns and rows to slopes east and north.
class SlopeFrame {
public:
    explicit SlopeFrame(const Grid& grid) : m_step(grid.cellStepsMetres()) {
        m_determinant = m_step[0] * m_step[3] - m_step[1] * m_step[2];
    }
    Point toMap(double perColumn, double perRow) const {
        return {(perColumn * m_step[3] - perRow * m_step[1]) / m_determinant,
                (perRow * m_step[0] - perColumn * m_step[2]) / m_determinant};
    }
    /// Lengths of a cell along column and row, metres.
    Point cellMetres() const { return {std::hypot(m_step[0], m_step[1]), std::hypot(m_step[2], m_step[3])}; }
    /// Cells as a map shift.
    Shift toMetres(const CellShift& cells) const {
        return {cells.columns * m_step[0] + cells.rows * m_step[2],
                cells.columns * m_step[1] + cells.rows * m_step[3]};
    }
    /// A map shift in cells.
    Point toCells(double east, double north) const {
        return {(east * m_step[3] - north * m_step[2]) / m_determinant,
                (north * m_step[0] - east * m_step[1]) / m_determinant};
    }

private:
    std::array<double, 4> m_step;
    double m_determinant = 1.0;
};

void appendEquations(const Patch& patch, const std::vector<float>& newHeights, const SlopeFrame& frame,
                     std::vector<Equation>& equations) {
    const auto width = static_cast<std::size_t>(patch.window.columns);
    const auto height = static_cast<std::size_t>(patch.window.rows);
    const std::vector<float>& old = patch.oldHeights;
    for (std::size_t row = 1; row + 1 < height; ++row) {
        for (std::size_t i = row * width + 1; i + 1 < (row + 1) * width; ++i) {
            const Point slope = frame.toMap(static_cast<double>(old[i + 1] - old[i - 1]) / 2.0,
                                            static_cast<double>(old[i + width] - old[i - width]) / 2.0);
            const Equation equation{static_cast<float>(slope.x), static_cast<float>(slope.y),
                                    newHeights[i] - old[i]};
            if (!std::isnan(equation.gx + equation.gy + equation.dz))
                equations.push_back(equation);
        }
    }
}

/// The new epoch sampled at the patches with one shift.
std::variant<std::vector<Equation>, Failure>
readEquations(const PairLayout& layout, const std::vector<Patch>& patches, const Shift& shift, int threads) {
    using Equations = std::vector<Equation>;
    const SlopeFrame frame(layout.oldRaster.grid);
    class Worker {
    public:
        Worker(PairReader reader, const std::vector<Patch>& patches, const Shift& shift,
               const SlopeFrame& frame)
            : m_reader(std::move(reader)), m_patches(&patches), m_shift(shift), m_frame(&frame) {}
        std::variant<Equations, Failure> operator()(int index) {
            const Patch& patch = (*m_patches)[static_cast<std::size_t>(index)];
            m_new.resize(patch.oldHeights.size());
            if (auto failure = m_reader.readNew(patch.window, m_shift, m_new.data()))
                return *failure;
            Equations equations;
            appendEquations(patch, m_new, *m_frame, equations);
            return equations;
        }

    private:
        PairReader m_reader;
        const std::vector<Patch>* m_patches;
        Shift m_shift;
        const SlopeFrame* m_frame;
        std::vector<float> m_new;
    };

    Equations all;
    const auto makeWorker = [&]() -> std::variant<Worker, Failure> {
        auto reader = PairReader::open(layout);
        if (auto* failure = std::get_if<Failure>(&reader))
            return *failure;
        return Worker(std::get<PairReader>(std::move(reader)), patches, shift, frame);
    };
    const auto collect = [&](const Equations& equations) -> std::optional<Failure> {
        all.insert(all.end(), equations.begin(), equations.end());
        return std::nullopt;
    };
    if (auto failure = workInOrder<Equations>(static_cast<int>(patches.size()), threads, makeWorker, collect))
        return *failure;
    return all;
}

std::vector<float> residuals(const std::vector<Equation>& equations, const Solution& s) {
    std::vector<float> left;
    left.reserve(equations.size());
    for (const Equation& e : equations)
        left.push_back(static_cast<float>(static_cast<double>(e.dz) - s.c - s.dx * static_cast<double>(e.gx) -
                                          s.dy * static_cast<double>(e.gy)));
    return left;
}

/// Weighted normal equations of three unknowns.
struct NormalEquations {
    double xx = 0, xy = 0, x1 = 0, yy = 0, y1 = 0, one = 0, xz = 0, yz = 0, z1 = 0;

    void add(const Equation& e, double w) {
        const auto gx = static_cast<double>(e.gx);
        const auto gy = static_cast<double>(e.gy);
        const auto dz = static_cast<double>(e.dz);
        xx += w * gx * gx;
        xy += w * gx * gy;
        x1 += w * gx;
        yy += w * gy * gy;
        y1 += w * gy;
        one += w;
        xz += w * gx * dz;
        yz += w * gy * dz;
        z1 += w * dz;
    }

    /// Nothing when the slopes do not span the plane: flat ground, or one even slope.
    std::optional<Solution> solve() const {
        if (!(one > 0.0))
            return std::nullopt;
        // Slopes and dZ about their weighted means leave two unknowns.
        const double a = xx - x1 * x1 / one;
        const double b = xy - x1 * y1 / one;
        const double d = yy - y1 * y1 / one;
        const double p = xz - x1 * z1 / one;
        const double q = yz - y1 * z1 / one;
        const double determinant = a * d - b * b;
        if (!(determinant > 1e-9 * a * d) || !(std::min(a, d) > 1e-12 * one))
            return std::nullopt;
        Solution s;
        s.dx = (p * d - q * b) / determinant;
        s.dy = (q * a - p * b) / determinant;
        s.c = (z1 - s.dx * x1 - s.dy * y1) / one;
        return s;
    }
};

std::optional<Solution> solveRobustly(const std::vector<Equation>& equations, double slackMetres) {
    Solution solution;
    std::vector<float> left = residuals(equations, solution);
    solution.c = robustCentre(left).centre;
    for (int round = 0; round < reweightings; ++round) {
        left = residuals(equations, solution);
        const double scatter = std::max(nmad(left, 0.0), 1e-6);
        NormalEquations normal;
        for (std::size_t i = 0; i < equations.size(); ++i) {
            const Equation& e = equations[i];
            const double slope2 = static_cast<double>(e.gx) * static_cast<double>(e.gx) +
                                  static_cast<double>(e.gy) * static_cast<double>(e.gy);
            const double variance = scatter * scatter + slackMetres * slackMetres * slope2;
            const auto residual = static_cast<double>(left[i]);
            const double u2 = residual * residual / (variance * tukeyReach * tukeyReach);
            if (u2 < 1.0)
                normal.add(e, (1.0 - u2) * (1.0 - u2) / variance);
        }
        const auto better = normal.solve();
        if (!better)
            return std::nullopt;
        solution = *better;
    }
    return solution;
}

std::vector<float> dzOf(const std::vector<Equation>& equations) {
    std::vector<float> dz;
    dz.reserve(equations.size());
    for (const Equation& e : equations)
        dz.push_back(e.dz);
    return dz;
}

class ShiftSearch {
public:
    ShiftSearch(const PairLayout& layout, const StableSample& sample, int threads)
        : m_layout(layout), m_sample(sample), m_threads(threads), m_frame(layout.oldRaster.grid) {}

    /// Refines `found`, which holds the bias; leaves it as it is where no shift can be told or none helps.
    std::optional<Failure> refine(Coregistration& found, const Progress& progress) {
        auto coarse = findCoarseShift(m_layout, m_sample.patches);
        if (auto* failure = std::get_if<Failure>(&coarse))
            return *failure;
        Shift shift = m_frame.toMetres(std::get<CellShift>(coarse));
        std::optional<RobustCentre> level;
        for (bool settled = false; !settled && found.iterations < mostIterations; ++found.iterations) {
            if (progress && !progress(static_cast<double>(found.iterations) / mostIterations))
                return Failure{"已取消", true};
            auto read = readEquations(m_layout, m_sample.patches, shift, m_threads);
            if (auto* failure = std::get_if<Failure>(&read))
                return *failure;
            const auto& equations = std::get<std::vector<Equation>>(read);
            const auto step = equations.empty() ? std::nullopt : solveRobustly(equations, slackMetres());
            if (!step)
                return std::nullopt;
            settled = !advance(*step, shift);
            if (settled)
                level = robustCentre(dzOf(equations));
        }
        if (level)
            adopt(shift, *level, found);
        return std::nullopt;
    }

private:
    double slackMetres() const {
        const Point cell = m_frame.cellMetres();
        return slopeSlackCells * (cell.x + cell.y) / 2.0;
    }

    /// False when the step is too small to matter; the shift stays what it was sampled with.
    bool advance(const Solution& step, Shift& shift) const {
        const Point cells = m_frame.toCells(step.dx, step.dy);
        const double length = std::hypot(cells.x, cells.y);
        if (length < settledCells)
            return false;
        const double factor = std::min(1.0, largestStepCells / length);
        shift.eastMetres += step.dx * factor;
        shift.northMetres += step.dy * factor;
        return true;
    }

    void adopt(const Shift& shift, const RobustCentre& level, Coregistration& found) const {
        const Point cells = m_frame.toCells(shift.eastMetres, shift.northMetres);
        const bool matters = std::hypot(cells.x, cells.y) >= smallestShiftCells;
        if (!matters || level.nmad > worseScatter * found.nmadBeforeMetres)
            return;
        found.dxMetres = shift.eastMetres;
        found.dyMetres = shift.northMetres;
        found.dzMetres = -level.centre;
        found.nmadAfterMetres = level.nmad;
        const Affine& toMap = m_layout.oldRaster.grid.cellToMap();
        found.dxCells = cells.x * (toMap.c[1] < 0.0 ? -1.0 : 1.0);
        found.dyCells = cells.y * (toMap.c[5] < 0.0 ? -1.0 : 1.0);
    }

    const PairLayout& m_layout;
    const StableSample& m_sample;
    int m_threads;
    SlopeFrame m_frame;
};

} // namespace

std::variant<Coregistration, Failure> coregister(const PairLayout& layout, CoregistrationMethod method,
                                                 int threads, const Progress& progress) {
    const bool full = method == CoregistrationMethod::Full;
    const double samplingShare = full ? 0.2 : 1.0;
    const auto part = [&](double from, double share) -> Progress {
        if (!progress)
            return {};
        return [&progress, from, share](double done) { return progress(from + share * done); };
    };
    auto taken = takeSample(layout, full, threads, part(0.0, samplingShare));
    if (auto* failure = std::get_if<Failure>(&taken))
        return *failure;
    const StableSample& sample = std::get<StableSample>(taken);

    const RobustCentre level = robustCentre(sample.dz);
    Coregistration found;
    found.method = method;
    found.nmadBeforeMetres = found.nmadAfterMetres = level.nmad;
    if (method == CoregistrationMethod::None)
        return found;
    found.dzMetres = -level.centre;
    if (!full) {
        found.iterations = level.passes;
        return found;
    }
    if (auto failure =
            ShiftSearch(layout, sample, threads).refine(found, part(samplingShare, 1.0 - samplingShare)))
        return *failure;
    return found;
}

} // namespace detect
