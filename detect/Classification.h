#pragma once

#include "detect/Detection.h"

namespace detect {

/// The class an inspector will most likely give, in Chinese (UTF-8), from the shape of the change alone.
/// Fullness is |mean dZ| over the largest |dZ|: about 1 for a box, 1/2 for a bowl, 1/3 for a cone.
///
///     fill, full (>= 0.6) and at least 2 m high on average    建构筑物  (flat roof, upright walls)
///     any other fill                                          重物占压  (heap, stacked goods)
///     cut, full (>= 0.6) or at least 3 m deep                 深挖      (steep sides)
///     any other cut                                           塌陷      (shallow bowl)
const char* suggestClass(const Anomaly& anomaly);

} // namespace detect
