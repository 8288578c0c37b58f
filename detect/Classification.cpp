#include "detect/Classification.h"

#include <cmath>

namespace detect {

namespace {

constexpr double fullShape = 0.6;
constexpr double buildingHeightMetres = 2.0;
constexpr double deepMetres = 3.0;

} // namespace

const char* suggestClass(const Anomaly& anomaly) {
    const bool fill = anomaly.kind == Kind::Fill;
    const double extreme = fill ? anomaly.dzMaxMetres : -anomaly.dzMinMetres;
    const bool full = std::abs(anomaly.dzMeanMetres) >= fullShape * extreme;
    if (fill)
        return full && anomaly.dzMeanMetres >= buildingHeightMetres ? "建构筑物" : "重物占压";
    return full || extreme >= deepMetres ? "深挖" : "塌陷";
}

} // namespace detect
