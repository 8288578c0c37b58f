#pragma once

#include "host/Export.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace inspection {

/// How often elevation differences occur, in bins of one width.
struct Histogram {
    double fromMetres = 0.0; ///< lower edge of the first bin
    double stepMetres = 0.0;
    std::vector<std::int64_t> counts; ///< the first and the last also hold what is below and above
};

/// `bins` bins between -`halfWidthMetres` and it.
Histogram emptyHistogram(double halfWidthMetres, int bins);
/// Counts a finite number of metres.
void count(Histogram& histogram, double metres);
/// Adds what another of the same bins holds; one of other bins is left out.
INSPECTIONDATA_API void add(Histogram& histogram, const Histogram& other);

/// As JSON: from_m, step_m, counts.
std::string histogramText(const Histogram& histogram);
/// Nothing for a text that histogramText did not write, nor for counts that no survey has.
INSPECTIONDATA_API std::optional<Histogram> readHistogram(const std::string& text);

} // namespace inspection
