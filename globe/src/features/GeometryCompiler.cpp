#include <osgEarthFeatures/GeometryCompiler>

namespace osgEarth {
namespace Features {

GeometryCompilerOptions::GeometryCompilerOptions()
    : m_maxGranularity(10.0), m_geoInterp(GEOINTERP_GREAT_CIRCLE), m_mergeGeometry(true),
      m_ignoreAltitudeSymbol(false) {}

} // namespace Features
} // namespace osgEarth
