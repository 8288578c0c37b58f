#pragma once

namespace inspection {

/// Flies the globe's view to a place, seen obliquely from the south. Does nothing without a globe. GUI
/// thread.
void flyTo(double lonDegrees, double latDegrees, double rangeMetres, double seconds = 1.5);

} // namespace inspection
