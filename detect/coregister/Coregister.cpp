#include "detect/coregister/Coregister.h"

#include "detect/coregister/ModelChoice.h"
#include "detect/coregister/StableStatistics.h"

namespace detect {

namespace {

constexpr double kSamplingShare = 0.2;

bool needsSearch(CoregistrationMethod method) {
    return method != CoregistrationMethod::None && method != CoregistrationMethod::Bias;
}

Progress part(const Progress& progress, double from, double share) {
    if (!progress) {
        return {};
    }
    return [&progress, from, share](double done) { return progress(from + share * done); };
}

/// As the sample shows the pair, nothing done.
Coregistration measure(const StableSample& sample, const RobustCentre& level) {
    Coregistration found;
    found.nmadBeforeMetres = level.nmad;
    const double blockCells = StableSample::kBlockSide * StableSample::kBlockSide;
    takeStatistics(level, sample.sloped, {sample.blockMeans, blockCells}, found);
    return found;
}

Coregistration levelled(const Coregistration& measured, const RobustCentre& level) {
    Coregistration found = measured;
    found.method = CoregistrationMethod::Bias;
    found.dzMetres = -level.centre;
    found.iterations = level.passes;
    return found;
}

/// From the bias on.
Result<Coregistration> search(const PairLayout& layout, const StableSample& sample, Coregistration found,
                              int threads, const Progress& progress, bool tilt) {
    ShiftSearch shifts(layout, sample, threads, progress);
    found.method = CoregistrationMethod::Full;
    found.iterations = 0;
    if (auto done = shifts.improve(found, tilt); !done) {
        return failed(done);
    }
    return found;
}

} // namespace

Result<Coregistration> coregister(const PairLayout& layout, CoregistrationMethod method, int threads,
                                  const Progress& progress, bool tilt) {
    const bool searches = needsSearch(method);
    const double samplingShare = searches ? kSamplingShare : 1.0;
    const auto sample = takeSample(layout, searches, threads, part(progress, 0.0, samplingShare));
    if (!sample) {
        return failed(sample);
    }
    const RobustCentre level = robustCentre(sample->dz);
    const Coregistration measured = measure(*sample, level);
    if (method == CoregistrationMethod::None) {
        return measured;
    }
    const Coregistration biased = levelled(measured, level);
    if (method == CoregistrationMethod::Bias) {
        return biased;
    }
    const Progress searching = part(progress, samplingShare, 1.0 - samplingShare);
    if (method == CoregistrationMethod::Full) {
        return search(layout, *sample, biased, threads, searching, tilt);
    }
    const bool alwaysLocal = method == CoregistrationMethod::Local;
    return chooseModel(layout, *sample, measured, biased, alwaysLocal, threads, searching);
}

} // namespace detect
