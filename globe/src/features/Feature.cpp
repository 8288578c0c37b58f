#include <osgEarthFeatures/Feature>

namespace osgEarth {
namespace Features {

Feature::Feature() : m_geoInterp(GEOINTERP_GREAT_CIRCLE) {}

Feature::Feature(Symbology::Geometry* geometry, const SpatialReference* srs, const Symbology::Style& style,
                 FeatureID fid)
    : m_geometry(geometry), m_srs(srs), m_geoInterp(GEOINTERP_GREAT_CIRCLE), m_fid(fid) {
    if (!style.empty()) {
        m_style = style;
    }
}

Feature::Feature(const Feature& rhs, const osg::CopyOp& op)
    : osg::Object(rhs, op), m_geometry(rhs.m_geometry.valid() ? rhs.m_geometry->clone() : nullptr),
      m_srs(rhs.m_srs), m_style(rhs.m_style), m_geoInterp(rhs.m_geoInterp), m_fid(rhs.m_fid) {}

Feature::~Feature() = default;

GeoExtent Feature::getExtent() const {
    return m_geometry.valid() ? GeoExtent(m_srs.get(), m_geometry->getBounds()) : GeoExtent();
}

} // namespace Features
} // namespace osgEarth
