#include <osgEarthFeatures/GeometryCompiler>

namespace osgEarth {
namespace Features {

GeometryCompilerOptions::GeometryCompilerOptions()
    : _maxGranularity(10.0), _geoInterp(GEOINTERP_GREAT_CIRCLE), _mergeGeometry(true),
      _ignoreAltitudeSymbol(false) {}

} // namespace Features
} // namespace osgEarth
