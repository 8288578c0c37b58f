#pragma once

#include <limits>

class GDALRasterBand;

namespace detect {

/// Where nothing was measured.
constexpr float kNoHeight = std::numeric_limits<float>::quiet_NaN();

/// How the figures of a band stand for heights. The only place that decides what a height is.
struct HeightCoding {
    float noData = -9999.0F;    ///< declared by the file, or what files write that declare none
    bool hasNoData = false;     ///< declared
    bool hasMask = false;       ///< a mask or an alpha band tells, too
    float metresPerUnit = 1.0F; ///< the band's scale and unit
    float offsetMetres = 0.0F;

    /// The unit is the band's own, else that of the vertical reference system, else the metre.
    static HeightCoding of(GDALRasterBand& band);

    bool isScaled() const { return metresPerUnit != 1.0F || offsetMetres != 0.0F; }
    /// GDAL leaves the holes out of means that it makes of the figures. Of masks it keeps no good overviews.
    bool declaresHoles() const { return hasNoData && !hasMask; }

    /// Turns figures, as GDAL converts them to Float32, into metres: NaN for the no-data value, the usual fills
    /// when none is declared, NaN, infinities, and what no place on Earth has (below -12000, above 30000 metres).
    /// The mask is not looked at.
    void toMetres(float* figures, int count) const;
};

/// The mask or the alpha band that tells where `band` has heights, not zero there; null when there is none.
GDALRasterBand* maskOf(GDALRasterBand& band);

} // namespace detect
