#include "detect/coregister/ModelChoice.h"

#include "detect/coregister/LocalMisfit.h"
#include "detect/coregister/StableStatistics.h"

#include <cmath>
#include <cstdio>

namespace detect {

namespace {

constexpr double kLeastShiftCells = 0.05;
constexpr double kShiftErrors = 4.0;
constexpr double kBiasErrors = 3.0;
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
    ModelChoice(const PairLayout& layout, const StableSample& sample, int threads, const Progress& progress)
        : m_layout(layout), m_sample(sample), m_threads(threads), m_progress(progress),
          m_search(layout, sample, threads, progress) {}

    Result<Coregistration> choose(const Coregistration& measured, const Coregistration& biased) {
        Coregistration found = biased;
        const auto chosen = chooseShift(biased, found)
                                .and_then([&] { return choosePlane(biased, found); })
                                .and_then([&] { return chooseBias(measured, found); })
                                .and_then([&] { return chooseLocal(found); });
        if (!chosen) {
            return failed(chosen);
        }
        found.reason = m_reason;
        return found;
    }

private:
    void say(const std::string& reason) { m_reason += (m_reason.empty() ? "" : "；") + reason; }

    Status chooseShift(const Coregistration& biased, Coregistration& found) {
        Coregistration shifted = biased;
        shifted.method = CoregistrationMethod::Full;
        if (auto done = m_search.improve(shifted, false); !done) {
            return failed(done);
        }
        if (!shifted.refusal.empty()) {
            say("不平移（" + shifted.refusal + "）");
            return {};
        }
        const double length = std::hypot(shifted.dxMetres, shifted.dyMetres);
        const double error = m_search.evidence().standardErrorMetres;
        if (m_search.cellsOf(shifted) < kLeastShiftCells || length < kShiftErrors * error) {
            say("不平移（不足 0.05 像元或 4 倍标准误差）");
            return {};
        }
        say(text("平移 %.3f、%.3f m（标准误差 %.3f m）", shifted.dxMetres, shifted.dyMetres, error));
        found = shifted;
        return {};
    }

    Status choosePlane(const Coregistration& biased, Coregistration& found) {
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
        if (!fit || !(after < kLeftByPlane * before)) {
            say("无倾斜");
            return {};
        }
        say(text("倾斜 %.3g、%.3g（16×16 像元块均值的离散 %.4f → %.4f m）", fit->adjustment.tiltEast,
                 fit->adjustment.tiltNorth, before, after));
        if (found.method != CoregistrationMethod::Full) {
            found.method = CoregistrationMethod::Full;
            m_search.finish(equations, fit->adjustment, found);
            return {};
        }
        Coregistration levelled = biased; // shift and plane are found better together
        levelled.method = CoregistrationMethod::Full;
        if (auto done = m_search.improve(levelled, true); !done) {
            return failed(done);
        }
        if (levelled.refusal.empty()) {
            found = levelled;
        } else {
            m_search.finish(equations, fit->adjustment, found);
        }
        return {};
    }

    Status chooseBias(const Coregistration& measured, Coregistration& found) {
        const double cells = static_cast<double>(m_sample.dz.size()) / found.correlatedCells;
        const double error = kMedianEfficiency * found.sigmaMetres / std::sqrt(std::max(1.0, cells));
        if (found.method == CoregistrationMethod::Bias && std::abs(found.dzMetres) <= kBiasErrors * error) {
            found = measured;
            say(text("无高差（不足 3 倍标准误差 %.4f m）", error));
            return {};
        }
        say(text("高差 %.3f m", found.dzMetres));
        return {};
    }

    Status chooseLocal(Coregistration& found) {
        const auto read = m_search.readAt(found);
        if (!read) {
            return failed(read);
        }
        const Foretelling sampled = foretellFromSample(m_layout, *read);
        if (!ShiftSearch::spansEnough(*read) || !sampled.isSmoothMisfit(found.sigmaMetres)) {
            say("无局部起伏");
            return {};
        }
        auto corrected = correctLocally(m_layout, m_search, m_threads, m_progress, false, found);
        if (!corrected) {
            return failed(corrected);
        }
        say(*corrected ? text("局部起伏 %.3f m，可由相邻地块预测到 %.3f m 以内", sampled.scatterMetres,
                              sampled.leftMetres)
                       : "无局部起伏");
        return {};
    }

    const PairLayout& m_layout;
    const StableSample& m_sample;
    const int m_threads;
    const Progress& m_progress;
    ShiftSearch m_search;
    std::string m_reason;
};

} // namespace

Result<bool> correctLocally(const PairLayout& layout, const ShiftSearch& search, int threads,
                            const Progress& progress, bool always, Coregistration& found) {
    Foretelling foretelling;
    const auto added = addLocalField(layout, threads, progress, always, found, foretelling);
    if (!added || !*added) {
        return added;
    }
    found.method = CoregistrationMethod::Local;
    const auto read = search.readAt(found);
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

Result<Coregistration> chooseModel(const PairLayout& layout, const StableSample& sample,
                                   const Coregistration& measured, const Coregistration& biased, int threads,
                                   const Progress& progress) {
    return ModelChoice(layout, sample, threads, progress).choose(measured, biased);
}

} // namespace detect
