#include "detect/heights/HeightCoding.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>

namespace detect {

namespace {

constexpr float kLowestMetres = -12000.0F;
constexpr float kHighestMetres = 30000.0F;
// What 16-bit files write besides -9999 for cells without a height. In metres no place is as low, in feet or hundredths
// of a metre many are.
constexpr float kLowestShort = -32768.0F;
constexpr float kLowestShortButOne = -32767.0F;

struct Unit {
    const char* name;
    double metres;
};
constexpr double kFoot = 0.3048;
constexpr double kSurveyFoot = 1200.0 / 3937.0;
constexpr std::array<Unit, 21> kUnits{{{"m", 1.0},
                                       {"metre", 1.0},
                                       {"metres", 1.0},
                                       {"meter", 1.0},
                                       {"meters", 1.0},
                                       {"ft", kFoot},
                                       {"foot", kFoot},
                                       {"feet", kFoot},
                                       {"international foot", kFoot},
                                       {"us survey foot", kSurveyFoot},
                                       {"us survey feet", kSurveyFoot},
                                       {"u.s. survey foot", kSurveyFoot},
                                       {"us-ft", kSurveyFoot},
                                       {"us_ft", kSurveyFoot},
                                       {"ftus", kSurveyFoot},
                                       {"foot_us", kSurveyFoot},
                                       {"dm", 0.1},
                                       {"cm", 0.01},
                                       {"centimetre", 0.01},
                                       {"centimeter", 0.01},
                                       {"mm", 0.001}}};

std::optional<double> metresOfNamed(const char* unit) {
    const auto* found = std::find_if(kUnits.begin(), kUnits.end(),
                                     [unit](const Unit& known) { return unit && EQUAL(unit, known.name); });
    return found == kUnits.end() ? std::nullopt : std::optional(found->metres);
}

double metresOfVertical(const OGRSpatialReference* reference) {
    if (!reference || reference->IsVertical() == 0) {
        return 1.0;
    }
    const double metres = reference->GetTargetLinearUnits("VERT_CS", static_cast<const char**>(nullptr));
    return metres > 0.0 ? metres : 1.0;
}

double metresPerHeightUnit(GDALRasterBand& band) {
    if (const auto named = metresOfNamed(band.GetUnitType())) {
        return *named;
    }
    const GDALDataset* dataset = band.GetDataset();
    return metresOfVertical(dataset ? dataset->GetSpatialRef() : nullptr);
}

/// As GDAL rounds the cells themselves; figures that Float32 cannot hold become its largest.
float roundedLikeCells(double noData) {
    constexpr double kLargest = std::numeric_limits<float>::max();
    return static_cast<float>(std::isinf(noData) ? noData : std::clamp(noData, -kLargest, kLargest));
}

void hideInvalid(float* heights, int count, float noData) {
    for (int i = 0; i < count; ++i) {
        const float z = heights[i];
        const bool valid = (z > kLowestMetres) & (z < kHighestMetres) & (z != noData);
        heights[i] = valid ? z : kNoHeight;
    }
}

/// GDAL takes an alpha band of whole numbers only for a mask; that of a warped surface model is of its own type.
GDALRasterBand* alphaOf(GDALDataset& dataset) {
    GDALRasterBand* last = dataset.GetRasterBand(dataset.GetRasterCount());
    return last->GetColorInterpretation() == GCI_AlphaBand ? last : nullptr;
}

} // namespace

GDALRasterBand* maskOf(GDALRasterBand& band) {
    if ((band.GetMaskFlags() & GMF_PER_DATASET) != 0) {
        return band.GetMaskBand();
    }
    return band.GetDataset() ? alphaOf(*band.GetDataset()) : nullptr;
}

HeightCoding HeightCoding::of(GDALRasterBand& band) {
    HeightCoding coding;
    int declared = 0;
    const double noData = band.GetNoDataValue(&declared);
    coding.hasNoData = declared != 0;
    if (coding.hasNoData) {
        coding.noData = roundedLikeCells(noData);
    }
    const double metres = metresPerHeightUnit(band);
    coding.metresPerUnit = static_cast<float>(band.GetScale() * metres);
    coding.offsetMetres = static_cast<float>(band.GetOffset() * metres);
    coding.hasMask = maskOf(band) != nullptr;
    return coding;
}

void HeightCoding::toMetres(float* figures, int count) const {
    if (!isScaled()) {
        hideInvalid(figures, count, noData);
        return;
    }
    const float first = hasNoData ? noData : kLowestShort;
    const float second = hasNoData ? noData : kLowestShortButOne;
    for (int i = 0; i < count; ++i) {
        const float z = figures[i];
        const bool isFill = (z == noData) | (z == first) | (z == second);
        figures[i] = isFill ? kNoHeight : z * metresPerUnit + offsetMetres;
    }
    hideInvalid(figures, count, kNoHeight);
}

} // namespace detect
