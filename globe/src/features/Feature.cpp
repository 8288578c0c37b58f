#include <osgEarthFeatures/Feature>

namespace osgEarth {
namespace Features {

Feature::Feature() : _geoInterp(GEOINTERP_GREAT_CIRCLE) {}

Feature::Feature(Symbology::Geometry* geometry, const SpatialReference* srs, const Symbology::Style& style,
                 FeatureID fid)
    : _geometry(geometry), _srs(srs), _geoInterp(GEOINTERP_GREAT_CIRCLE), _fid(fid) {
    if (!style.empty())
        _style = style;
}

Feature::Feature(const Feature& rhs, const osg::CopyOp& op)
    : osg::Object(rhs, op), _geometry(rhs._geometry.valid() ? rhs._geometry->clone() : nullptr),
      _srs(rhs._srs), _style(rhs._style), _geoInterp(rhs._geoInterp), _fid(rhs._fid) {}

Feature::~Feature() = default;

GeoExtent Feature::getExtent() const {
    return _geometry.valid() ? GeoExtent(_srs.get(), _geometry->getBounds()) : GeoExtent();
}

} // namespace Features
} // namespace osgEarth
