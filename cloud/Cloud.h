#pragma once

#include "detect/Detection.h"
#include "detect/Result.h"

/// Point clouds of surveys (LAS and LAZ) and the surface models made of them. Knows GDAL and the result types of
/// detection, nothing else of the product.
namespace cloud {

using detect::Failure;
using detect::Progress;
using detect::Result;
using detect::Status;

/// One return of the survey, in the reference system of its file.
struct CloudPoint {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    std::uint8_t classification = 0; ///< ASPRS: 2 ground, 7 and 18 noise
    bool isWithheld = false;         ///< not to be used, the survey says
};

} // namespace cloud
