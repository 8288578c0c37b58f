// How long a server is left alone that does not answer.
#pragma once
#include <algorithm>
#include <chrono>

namespace osgEarth {

inline constexpr std::chrono::seconds kLongestPause{300};

/// After so many failures in a row, 1 or more: 5 seconds at first, twice as long each time, 5 minutes at last.
inline std::chrono::seconds pauseAfter(int failures) {
    constexpr std::chrono::seconds kFirstPause{5};
    constexpr int kMostDoublings = 6;
    return std::min(kLongestPause, kFirstPause * (1 << std::min(failures - 1, kMostDoublings)));
}

} // namespace osgEarth
