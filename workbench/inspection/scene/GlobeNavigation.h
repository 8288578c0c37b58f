#pragma once

namespace osgEarth {
class MapNode;
}

namespace inspection {

/// Flies the globe's view to a place, seen obliquely from the south. Does nothing without a globe. GUI
/// thread.
void flyTo(double lonDegrees, double latDegrees, double rangeMetres, double seconds = 1.5);

/// Height of the ground there above the ellipsoid; 0 where it is not known. GUI thread.
double groundMetres(osgEarth::MapNode& map, double lonDegrees, double latDegrees);

} // namespace inspection
