#include <osgEarth/GeoData>
#include <osgEarth/Terrain>

#include <cmath>

namespace osgEarth {
namespace {

// Great-circle distance by the haversine formula (Sinnott 1984) on the sphere of the mean radius.
double greatCircleMetres(const osg::Vec3d& fromDegrees, const osg::Vec3d& toDegrees,
                         const osg::EllipsoidModel& ellipsoid) {
    const double radius = (2.0 * ellipsoid.getRadiusEquator() + ellipsoid.getRadiusPolar()) / 3.0;
    const double lat1 = osg::DegreesToRadians(fromDegrees.y());
    const double lat2 = osg::DegreesToRadians(toDegrees.y());
    const double sinLat = std::sin((lat2 - lat1) * 0.5);
    const double sinLon = std::sin(osg::DegreesToRadians(toDegrees.x() - fromDegrees.x()) * 0.5);
    const double h = sinLat * sinLat + std::cos(lat1) * std::cos(lat2) * sinLon * sinLon;
    return 2.0 * radius * std::asin(std::min(1.0, std::sqrt(h)));
}

} // namespace

GeoPoint::GeoPoint(const SpatialReference* srs, double x, double y)
    : _srs(srs), _p(x, y, 0.0), _altMode(ALTMODE_RELATIVE) {}

GeoPoint::GeoPoint(const SpatialReference* srs, double x, double y, double z) : _srs(srs), _p(x, y, z) {}

GeoPoint::GeoPoint(const SpatialReference* srs, double x, double y, double z, const AltitudeMode& mode)
    : _srs(srs), _p(x, y, z), _altMode(mode) {}

GeoPoint::GeoPoint(const SpatialReference* srs, const osg::Vec3d& xyz) : _srs(srs), _p(xyz) {}

GeoPoint::GeoPoint(const SpatialReference* srs, const osg::Vec3d& xyz, const AltitudeMode& mode)
    : _srs(srs), _p(xyz), _altMode(mode) {}

void GeoPoint::set(const SpatialReference* srs, double x, double y, double z, const AltitudeMode& mode) {
    set(srs, osg::Vec3d(x, y, z), mode);
}

void GeoPoint::set(const SpatialReference* srs, const osg::Vec3d& xyz, const AltitudeMode& mode) {
    _srs = srs;
    _p = xyz;
    _altMode = mode;
}

GeoPoint GeoPoint::transform(const SpatialReference* outSRS) const {
    osg::Vec3d converted;
    if (!isValid() || !_srs->transform(_p, outSRS, converted)) {
        return {};
    }
    if (isRelative()) {
        converted.z() = _p.z(); // a height above the terrain is the same number in every system
    }
    return {outSRS, converted, _altMode};
}

bool GeoPoint::transformInPlace(const SpatialReference* srs) {
    const GeoPoint converted = transform(srs);
    if (converted.isValid()) {
        *this = converted;
    }
    return converted.isValid();
}

bool GeoPoint::makeGeographic() {
    return isValid() && (_srs->isGeographic() || transformInPlace(_srs->getGeographicSRS()));
}

bool GeoPoint::makeAbsolute(const TerrainResolver* terrain) {
    if (!isValid() || isAbsolute()) {
        return isValid();
    }
    double terrainHeight = 0.0;
    if (terrain == nullptr || !terrain->getHeight(_srs.get(), x(), y(), &terrainHeight)) {
        return false;
    }
    z() += terrainHeight;
    _altMode = ALTMODE_ABSOLUTE;
    return true;
}

bool GeoPoint::makeRelative(const TerrainResolver* terrain) {
    if (!isValid() || isRelative()) {
        return isValid();
    }
    double terrainHeight = 0.0;
    if (terrain == nullptr || !terrain->getHeight(_srs.get(), x(), y(), &terrainHeight)) {
        return false;
    }
    z() -= terrainHeight;
    _altMode = ALTMODE_RELATIVE;
    return true;
}

bool GeoPoint::toWorld(osg::Vec3d& out) const {
    return isValid() && isAbsolute() && _srs->transformToWorld(_p, out);
}

bool GeoPoint::toWorld(osg::Vec3d& out, const TerrainResolver* terrain) const {
    GeoPoint absolute = *this;
    return absolute.makeAbsolute(terrain) && absolute.toWorld(out);
}

bool GeoPoint::fromWorld(const SpatialReference* srs, const osg::Vec3d& world) {
    osg::Vec3d local;
    if (srs == nullptr || !srs->transformFromWorld(world, local)) {
        return false;
    }
    set(srs, local, ALTMODE_ABSOLUTE);
    return true;
}

bool GeoPoint::createLocalToWorld(osg::Matrixd& out) const {
    return isValid() && _srs->createLocalToWorld(_p, out);
}

bool GeoPoint::createWorldToLocal(osg::Matrixd& out) const {
    return isValid() && _srs->createWorldToLocal(_p, out);
}

bool GeoPoint::createWorldUpVector(osg::Vec3d& out) const {
    osg::Matrixd localToWorld;
    if (!createLocalToWorld(localToWorld)) {
        return false;
    }
    out.set(localToWorld(2, 0), localToWorld(2, 1), localToWorld(2, 2));
    return true;
}

double GeoPoint::distanceTo(const GeoPoint& rhs) const {
    if (!isValid() || !rhs.isValid()) {
        return 0.0;
    }
    if (_srs->isProjected() && _srs->isHorizEquivalentTo(rhs.getSRS())) {
        return (rhs._p - _p).length() * Units::convert(_srs->getUnits(), Units::METERS, 1.0);
    }
    GeoPoint from = *this;
    GeoPoint to = rhs;
    if (!from.makeGeographic() || !to.transformInPlace(from.getSRS())) {
        return 0.0;
    }
    return greatCircleMetres(from._p, to._p, *from._srs->getEllipsoid());
}

bool GeoPoint::operator==(const GeoPoint& rhs) const {
    return isValid() && rhs.isValid() && _p == rhs._p && _altMode == rhs._altMode &&
           _srs->isEquivalentTo(rhs.getSRS());
}

} // namespace osgEarth
