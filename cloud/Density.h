#pragma once

#include "cloud/Survey.h"

namespace cloud {

/// Points for each square unit of the reference system where the survey has points at all, by its first million.
/// Empty ground inside the bounds does not count.
Result<double> densityOf(const Survey& survey);

} // namespace cloud
