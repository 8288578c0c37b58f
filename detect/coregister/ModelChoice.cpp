#include "detect/coregister/ModelChoice.h"

#include "detect/coregister/LocalMisfit.h"
#include "detect/coregister/StableStatistics.h"

#include <cmath>
#include <cstdio>

namespace detect {

namespace {

constexpr double kLeastShiftCells = 0.05;
/// Found with the field taken off, so far from the one found before.
constexpr double kLeastOfAnotherShift = 0.02;
constexpr double kShiftErrors = 4.0;
constexpr double kBiasErrors = 3.0;
/// A bias of less than this share of a cell's noise is no matter, and changes of the ground make one.
constexpr double kLeastOfSigma = 0.03;
constexpr double kMedianEfficiency = 1.25;
/// Of the scatter of block means, that a plane must leave at most.
constexpr double kLeftByPlane = 0.9;

template<class... Figures>
std::string text(const char* format, Figures... figures) {
    char line[256];
    std::snprintf(line, sizeof line, format, figures...);
    return line;
}

double scatterOfBlocks(const EquationSet& equations, const std::vector<float>& residuals) {
    std::vector<float> means = blockMeans(equations, residuals).dz;
    const double middle = median(means);
    return nmad(means, middle);
}

class ModelChoice {
public:
    ModelChoice(const PairLayout& layout, const StableSample& sample, bool alwaysLocal, int threads,
                const Progress& progress)
        : m_layout(layout), m_sample(sample), m_alwaysLocal(alwaysLocal), m_threads(threads),
          m_progress(progress), m_search(layout, sample, threads, progress) {}

    Result<Coregistration> choose(const Coregistration& measured, const Coregistration& biased) {
        Coregistration found = biased;
        const auto chosen = choosePlane(found)
                                .and_then([&] { return chooseShift(found); })
                                .and_then([&] { return choosePlaneOfTheShifted(biased, found); })
                                .and_then([&] { return chooseLocal(found); })
                                .and_then([&] { return chooseBias(measured, found); });
        if (!chosen) {
            return failed(chosen);
        }
        found.reason = reasonOf(found);
        return found;
    }

private:
    /// Also where the relief of a shift scatters: it is no plane.
    Status choosePlane(Coregistration& found) {
        const auto read = m_search.readAt(found);
        if (!read) {
            return failed(read);
        }
        const EquationSet& equations = *read;
        if (!ShiftSearch::spansEnough(equations)) {
            return {};
        }
        const auto fit = fitRobustly(equations, FitTerms::Tilt, m_search.cellMetres());
        const double before = scatterOfBlocks(equations, residuals(equations, {}));
        const double after = fit ? scatterOfBlocks(equations, residuals(equations, fit->adjustment)) : before;
        if (fit && after < kLeftByPlane * before) {
            m_plane = text("（16×16 像元块均值的离散 %.4f → %.4f m）", before, after);
            found.method = CoregistrationMethod::Full;
            m_search.finish(equations, fit->adjustment, found);
        }
        return {};
    }

    bool hasPlane() const { return !m_plane.empty(); }

    /// Keeps height, plane and field of `found` where there is no shift to add.
    Status chooseShift(Coregistration& found, bool withinBlocks = false) {
        Coregistration shifted = found;
        shifted.method = CoregistrationMethod::Full;
        shifted.iterations = 0;
        shifted.dxMetres = shifted.dyMetres = shifted.dxCells = shifted.dyCells = 0.0;
        auto done =
            withinBlocks ? m_search.improveWithinBlocks(shifted) : m_search.improve(shifted, hasPlane());
        if (!done) {
            return failed(done);
        }
        if (!shifted.refusal.empty()) {
            m_shift = "不平移（" + shifted.refusal + "）";
            return {};
        }
        const double length = std::hypot(shifted.dxMetres, shifted.dyMetres);
        const double error = m_search.evidence().standardErrorMetres;
        if (m_search.cellsOf(shifted) < kLeastShiftCells || length < kShiftErrors * error) {
            m_shift = "不平移（不足 0.05 像元或 4 倍标准误差）";
            return {};
        }
        m_shift = text("平移 %.3f、%.3f m（标准误差 %.3f m）", shifted.dxMetres, shifted.dyMetres, error);
        found = shifted;
        return {};
    }

    /// Relief aside may have hidden it; shift and plane are then found better together.
    Status choosePlaneOfTheShifted(const Coregistration& biased, Coregistration& found) {
        const bool moved = found.dxMetres != 0.0 || found.dyMetres != 0.0;
        if (hasPlane() || !moved) {
            return {};
        }
        const Coregistration shifted = found;
        if (auto done = choosePlane(found); !done) {
            return failed(done);
        }
        if (!hasPlane()) {
            return {};
        }
        found = biased;
        if (auto done = chooseShift(found); !done) {
            return failed(done);
        }
        if (found.method != CoregistrationMethod::Full) { // no longer told together: as they were
            found = shifted;
            return choosePlane(found);
        }
        return {};
    }

    Status chooseLocal(Coregistration& found) {
        const auto read = m_search.readAt(found);
        if (!read) {
            return failed(read);
        }
        m_foretelling = foretellFromSample(m_layout, *read);
        const bool seen = ShiftSearch::spansEnough(*read) && m_foretelling.isSmoothMisfit(found.sigmaMetres);
        if (!seen && !m_alwaysLocal) {
            return {};
        }
        const auto corrected = correct(found);
        if (!corrected || !*corrected) {
            return corrected ? Status() : failed(corrected);
        }
        return moveOnceMore(found);
    }

    /// False where no field was added.
    Result<bool> correct(Coregistration& found) {
        const auto added =
            addLocalField(m_layout, m_threads, m_progress, m_alwaysLocal, found, m_foretelling);
        if (!added || !*added) {
            return added;
        }
        found.method = CoregistrationMethod::Local;
        const auto read = m_search.readAt(found);
        if (!read) {
            return failed(read);
        }
        const std::vector<float> left = residuals(*read, {});
        if (!left.empty()) {
            found.dzMetres -= robustCentre(left).centre;
            takeStatistics(*read, left, found);
        }
        return true;
    }

    /// A slow misfit on one-sided slopes looks like a shift; with the field taken off, it no longer does.
    Status moveOnceMore(Coregistration& found) {
        Coregistration again = found;
        again.dxMetres = again.dyMetres = again.dxCells = again.dyCells = 0.0;
        if (auto done = chooseShift(again, true); !done) {
            return failed(done);
        }
        const CellFrame frame(m_layout.oldRaster.grid);
        const Point apart = frame.toCells({again.dxMetres - found.dxMetres, again.dyMetres - found.dyMetres});
        if (std::hypot(apart.x, apart.y) < kLeastOfAnotherShift) {
            return {};
        }
        again.local = {};
        found = again;
        const auto corrected = correct(found);
        return corrected ? Status() : failed(corrected);
    }

    Status chooseBias(const Coregistration& measured, Coregistration& found) {
        const double cells = static_cast<double>(m_sample.dz.size()) / found.correlatedCells;
        const double error = kMedianEfficiency * found.sigmaMetres / std::sqrt(std::max(1.0, cells));
        const double least = std::max(kBiasErrors * error, kLeastOfSigma * found.sigmaMetres);
        if (found.method == CoregistrationMethod::Bias && std::abs(found.dzMetres) <= least) {
            found = measured;
            m_bias = text("无高差（不足 %.4f m）", least);
        } else {
            m_bias = text("高差 %.3f m", found.dzMetres);
        }
        return {};
    }

    std::string reasonOf(const Coregistration& found) const {
        const std::string plane =
            hasPlane() ? text("倾斜 %.3g、%.3g", found.tiltEast, found.tiltNorth) + m_plane : "无倾斜";
        const std::string local = found.local.field
                                      ? text("局部起伏 %.3f m，可由相邻地块预测到 %.3f m 以内",
                                             m_foretelling.scatterMetres, m_foretelling.leftMetres)
                                      : "无局部起伏";
        return m_bias + "；" + m_shift + "；" + plane + "；" + local;
    }

    const PairLayout& m_layout;
    const StableSample& m_sample;
    const bool m_alwaysLocal;
    const int m_threads;
    const Progress& m_progress;
    ShiftSearch m_search;
    std::string m_shift;
    std::string m_plane; ///< its evidence; empty without one
    std::string m_bias;
    Foretelling m_foretelling;
};

} // namespace

Result<Coregistration> chooseModel(const PairLayout& layout, const StableSample& sample,
                                   const Coregistration& measured, const Coregistration& biased,
                                   bool alwaysLocal, int threads, const Progress& progress) {
    return ModelChoice(layout, sample, alwaysLocal, threads, progress).choose(measured, biased);
}

} // namespace detect
