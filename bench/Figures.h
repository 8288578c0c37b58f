#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <vector>

/// The middle one of some values; of an even number the upper one.
inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Prints a figure beside its limit.
inline void report(const char* what, double value, double limit, const char* unit) {
    std::printf("%-52s %8.2f %-7s limit %6.1f  %s\n", what, value, unit, limit, value <= limit ? "" : "OVER");
}
