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
    : m_srs(srs), m_p(x, y, 0.0), m_altMode(ALTMODE_RELATIVE) {}

GeoPoint::GeoPoint(const SpatialReference* srs, double x, double y, double z) : m_srs(srs), m_p(x, y, z) {}

GeoPoint::GeoPoint(const SpatialReference* srs, double x, double y, double z, const AltitudeMode& mode)
    : m_srs(srs), m_p(x, y, z), m_altMode(mode) {}

GeoPoint::GeoPoint(const SpatialReference* srs, const osg::Vec3d& xyz) : m_srs(srs), m_p(xyz) {}

GeoPoint::GeoPoint(const SpatialReference* srs, const osg::Vec3d& xyz, const AltitudeMode& mode)
    : m_srs(srs), m_p(xyz), m_altMode(mode) {}

void GeoPoint::set(const SpatialReference* srs, double x, double y, double z, const AltitudeMode& mode) {
    set(srs, osg::Vec3d(x, y, z), mode);
}

void GeoPoint::set(const SpatialReference* srs, const osg::Vec3d& xyz, const AltitudeMode& mode) {
    m_srs = srs;
    m_p = xyz;
    m_altMode = mode;
}

GeoPoint GeoPoint::transform(const SpatialReference* outSRS) const {
    osg::Vec3d converted;
    if (!isValid() || !m_srs->transform(m_p, outSRS, converted)) {
        return {};
    }
    if (isRelative()) {
        converted.z() = m_p.z(); // a height above the terrain is the same number in every system
    }
    return {outSRS, converted, m_altMode};
}

bool GeoPoint::transformInPlace(const SpatialReference* srs) {
    const GeoPoint converted = transform(srs);
    if (converted.isValid()) {
        *this = converted;
    }
    return converted.isValid();
}

bool GeoPoint::makeGeographic() {
    return isValid() && (m_srs->isGeographic() || transformInPlace(m_srs->getGeographicSRS()));
}

bool GeoPoint::makeAbsolute(const TerrainResolver* terrain) {
    if (!isValid() || isAbsolute()) {
        return isValid();
    }
    double terrainHeight = 0.0;
    if (!terrain || !terrain->getHeight(m_srs.get(), x(), y(), &terrainHeight)) {
        return false;
    }
    z() += terrainHeight;
    m_altMode = ALTMODE_ABSOLUTE;
    return true;
}

bool GeoPoint::makeRelative(const TerrainResolver* terrain) {
    if (!isValid() || isRelative()) {
        return isValid();
    }
    double terrainHeight = 0.0;
    if (!terrain || !terrain->getHeight(m_srs.get(), x(), y(), &terrainHeight)) {
        return false;
    }
    z() -= terrainHeight;
    m_altMode = ALTMODE_RELATIVE;
    return true;
}

bool GeoPoint::toWorld(osg::Vec3d& out) const {
    return isValid() && isAbsolute() && m_srs->transformToWorld(m_p, out);
}

bool GeoPoint::toWorld(osg::Vec3d& out, const TerrainResolver* terrain) const {
    GeoPoint absolute = *this;
    return absolute.makeAbsolute(terrain) && absolute.toWorld(out);
}

bool GeoPoint::fromWorld(const SpatialReference* srs, const osg::Vec3d& world) {
    osg::Vec3d local;
    if (!srs || !srs->transformFromWorld(world, local)) {
        return false;
    }
    set(srs, local, ALTMODE_ABSOLUTE);
    return true;
}

bool GeoPoint::createLocalToWorld(osg::Matrixd& out) const {
    return isValid() && m_srs->createLocalToWorld(m_p, out);
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
    if (m_srs->isProjected() && m_srs->isHorizEquivalentTo(rhs.getSRS())) {
        return (rhs.m_p - m_p).length() * Units::convert(m_srs->getUnits(), Units::METERS, 1.0);
    }
    GeoPoint from = *this;
    GeoPoint to = rhs;
    if (!from.makeGeographic() || !to.transformInPlace(from.getSRS())) {
        return 0.0;
    }
    return greatCircleMetres(from.m_p, to.m_p, *from.m_srs->getEllipsoid());
}

bool GeoPoint::operator==(const GeoPoint& rhs) const {
    return isValid() && rhs.isValid() && m_p == rhs.m_p && m_altMode == rhs.m_altMode &&
           m_srs->isEquivalentTo(rhs.getSRS());
}

} // namespace osgEarth
