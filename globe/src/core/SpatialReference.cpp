#include <osgEarth/SpatialReference>

#include "TransformPool.h"

#include <osg/Notify>

#include <ogr_spatialref.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <mutex>

namespace osgEarth {
namespace {

const char* const kSphericalMercatorProj =
    "+proj=merc +a=6378137 +b=6378137 +lat_ts=0 +lon_0=0 +x_0=0 +y_0=0 +k=1 +units=m +nadgrids=@null +wktext "
    "+no_defs +type=crs";
const char* const kWorldMercatorProj = "+proj=merc +lon_0=0 +k=1 +x_0=0 +y_0=0 +ellps=WGS84 +datum=WGS84 "
                                       "+units=m +no_defs +type=crs";
const char* const kPlateCarreeProj = "+proj=eqc +lat_ts=0 +lat_0=0 +lon_0=0 +x_0=0 +y_0=0 +ellps=WGS84 "
                                     "+datum=WGS84 +units=m +no_defs +type=crs";

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    const auto last = text.find_last_not_of(" \t\r\n");
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// What GDAL understands for the short names.
std::string definitionFor(const std::string& init) {
    static const std::map<std::string, std::string> names = {{"wgs84", "EPSG:4326"},
                                                             {"global-geodetic", "EPSG:4326"},
                                                             {"spherical-mercator", kSphericalMercatorProj},
                                                             {"global-mercator", kSphericalMercatorProj},
                                                             {"epsg:900913", kSphericalMercatorProj},
                                                             {"epsg:3785", kSphericalMercatorProj},
                                                             {"epsg:102113", kSphericalMercatorProj},
                                                             {"world-mercator", kWorldMercatorProj},
                                                             {"plate-carre", kPlateCarreeProj},
                                                             {"plate-carree", kPlateCarreeProj}};
    const auto found = names.find(lowerCase(init));
    return found != names.end() ? found->second : init;
}

std::string exportWkt(const OGRSpatialReference& ogr) {
    char* text = nullptr;
    ogr.exportToWkt(&text);
    std::string wkt = text ? text : "";
    CPLFree(text);
    return wkt;
}

Units unitsOf(const OGRSpatialReference& ogr) {
    const char* name = nullptr;
    if (ogr.IsGeographic()) {
        return Units::DEGREES;
    }
    const double metres = ogr.GetLinearUnits(&name);
    for (const Units& known : {Units::METERS, Units::FEET, Units::KILOMETERS}) {
        if (std::abs(Units::convert(known, Units::METERS, 1.0) - metres) < 1e-9) {
            return known;
        }
    }
    return {name ? name : "units", name ? name : "u", Units::TYPE_LINEAR, metres};
}

// PROJ reports every unusable definition; the caller's null result says the same.
class QuietErrors {
public:
    QuietErrors() { CPLPushErrorHandler(CPLQuietErrorHandler); }
    ~QuietErrors() { CPLPopErrorHandler(); }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;
};

osg::Vec3d geodeticToEcef(const osg::EllipsoidModel& ellipsoid, const osg::Vec3d& p) {
    osg::Vec3d world;
    ellipsoid.convertLatLongHeightToXYZ(osg::DegreesToRadians(p.y()), osg::DegreesToRadians(p.x()), p.z(),
                                        world.x(), world.y(), world.z());
    return world;
}

// Bowring's method (1976), iterated to convergence: sub-millimetre from the Earth's interior out to space.
osg::Vec3d ecefToGeodetic(const osg::EllipsoidModel& ellipsoid, const osg::Vec3d& world) {
    const double a = ellipsoid.getRadiusEquator();
    const double b = ellipsoid.getRadiusPolar();
    const double e2 = (a * a - b * b) / (a * a);
    const double ep2 = (a * a - b * b) / (b * b);
    const double p = std::hypot(world.x(), world.y());
    const double lon = p > 0.0 ? std::atan2(world.y(), world.x()) : 0.0;
    double beta = std::atan2(world.z() * a, p * b);
    double lat = 0.0;
    for (int i = 0; i < 4; ++i) {
        const double s = std::sin(beta);
        const double c = std::cos(beta);
        lat = std::atan2(world.z() + ep2 * b * s * s * s, p - e2 * a * c * c * c);
        beta = std::atan2(b * std::sin(lat), a * std::cos(lat));
    }
    const double sinLat = std::sin(lat);
    const double cosLat = std::cos(lat);
    const double height = p * cosLat + world.z() * sinLat - a * std::sqrt(1.0 - e2 * sinLat * sinLat);
    return {osg::RadiansToDegrees(lon), osg::RadiansToDegrees(lat), height};
}

} // namespace

SpatialReference* SpatialReference::create(const std::string& init, const std::string& vinit) {
    // Objects are never dropped: transformations are cached by their addresses.
    static std::mutex mutex;
    static auto* cache = new std::map<std::pair<std::string, std::string>, osg::ref_ptr<SpatialReference>>();
    const std::lock_guard lock(mutex);
    const auto key = std::make_pair(trimmed(init), trimmed(vinit));
    const auto found = cache->find(key);
    if (found != cache->end()) {
        return found->second.get();
    }
    osg::ref_ptr<SpatialReference> created = createUncached(key.first, key.second);
    if (created.valid()) {
        (*cache)[key] = created;
    }
    return created.get();
}

SpatialReference* SpatialReference::createUncached(const std::string& init, const std::string& vinit) {
    if (init.empty()) {
        return nullptr;
    }
    const QuietErrors quiet;
    auto ogr = std::make_unique<OGRSpatialReference>();
    // Whoever names a file or a web address here is mistaken; a definition never needs one.
    static const char* const options[] = {"ALLOW_NETWORK_ACCESS=NO", "ALLOW_FILE_ACCESS=NO", nullptr};
    if (ogr->SetFromUserInput(definitionFor(init).c_str(), options) != OGRERR_NONE) {
        return nullptr;
    }
    ogr->SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    const bool usable = ogr->IsGeographic() || ogr->IsProjected() || ogr->IsGeocentric();
    return usable ? new SpatialReference(std::move(ogr), init, vinit) : nullptr;
}

SpatialReference::SpatialReference(std::unique_ptr<OGRSpatialReference> ogr, std::string horizInit,
                                   std::string vertInit)
    : m_ogr(std::move(ogr)), m_horizInit(std::move(horizInit)), m_vertInit(std::move(vertInit)),
      m_wkt(exportWkt(*m_ogr)), m_units(unitsOf(*m_ogr)),
      m_ellipsoid(new osg::EllipsoidModel(m_ogr->GetSemiMajor(), m_ogr->GetSemiMinor())) {
    const char* name = m_ogr->GetName();
    m_name = name ? name : "";
    if (m_ogr->IsGeocentric()) {
        m_domain = Domain::Geocentric;
    } else if (m_ogr->IsProjected()) {
        m_domain = Domain::Projected;
    }
}

SpatialReference::~SpatialReference() = default;

bool SpatialReference::transform(const osg::Vec3d& in, const SpatialReference* outSRS,
                                 osg::Vec3d& out) const {
    osg::Vec3d point = in;
    if (!outSRS || !transformPoints(1, &point, *outSRS)) {
        return false;
    }
    out = point;
    return true;
}

bool SpatialReference::transform(std::vector<osg::Vec3d>& inout, const SpatialReference* outSRS) const {
    if (!outSRS) {
        return false;
    }
    if (outSRS == this || inout.empty()) {
        return true;
    }
    std::vector<osg::Vec3d> points = inout;
    if (!transformPoints(points.size(), points.data(), *outSRS)) {
        return false;
    }
    inout.swap(points);
    return true;
}

bool SpatialReference::transformPoints(std::size_t count, osg::Vec3d* points,
                                       const SpatialReference& out) const {
    if (&out == this) {
        return true;
    }
    if (isGeocentric() && !out.isGeocentric()) {
        std::transform(points, points + count, points,
                       [this](const osg::Vec3d& point) { return ecefToGeodetic(*m_ellipsoid, point); });
        return getGeographicSRS()->transformPoints(count, points, out);
    }
    if (out.isGeocentric() && !isGeocentric()) {
        if (!transformPoints(count, points, *out.getGeographicSRS())) {
            return false;
        }
        std::transform(points, points + count, points,
                       [&out](const osg::Vec3d& point) { return geodeticToEcef(*out.m_ellipsoid, point); });
        return true;
    }
    if (!TransformPool::instance().transform(*this, out, count, points)) {
        return false;
    }
    if (isProjected() && out.isGeographic()) {
        for (std::size_t i = 0; i < count; ++i) {
            points[i].x() = osg::clampBetween(points[i].x(), -180.0, 180.0);
            points[i].y() = osg::clampBetween(points[i].y(), -90.0, 90.0);
        }
    }
    return true;
}

bool SpatialReference::transform2D(double x, double y, const SpatialReference* outSRS, double& out_x,
                                   double& out_y) const {
    osg::Vec3d out;
    if (!transform(osg::Vec3d(x, y, 0.0), outSRS, out)) {
        return false;
    }
    out_x = out.x();
    out_y = out.y();
    return true;
}

bool SpatialReference::transformToWorld(const osg::Vec3d& in, osg::Vec3d& out_world) const {
    out_world = isGeographic() ? geodeticToEcef(*m_ellipsoid, in) : in;
    return true;
}

bool SpatialReference::transformFromWorld(const osg::Vec3d& world, osg::Vec3d& out_local,
                                          double* out_geodeticZ) const {
    out_local = isGeographic() ? ecefToGeodetic(*m_ellipsoid, world) : world;
    if (out_geodeticZ) {
        *out_geodeticZ = out_local.z();
    }
    return true;
}

bool SpatialReference::isHorizEquivalentTo(const SpatialReference* rhs) const {
    if (!rhs) {
        return false;
    }
    return rhs == this || TransformPool::instance().areEquivalent(*this, *rhs);
}

bool SpatialReference::isEquivalentTo(const SpatialReference* rhs) const {
    return isHorizEquivalentTo(rhs) && m_vertInit == rhs->m_vertInit;
}

const SpatialReference* SpatialReference::getGeographicSRS() const {
    if (isGeographic() && m_vertInit.empty()) {
        return this;
    }
    if (!m_geographic) {
        m_geographic = findGeographic(); // several threads may find the same
    }
    return m_geographic;
}

const SpatialReference* SpatialReference::findGeographic() const {
    const std::unique_ptr<OGRSpatialReference> geographic(m_ogr->CloneGeogCS());
    if (!geographic) {
        return nullptr;
    }
    const SpatialReference* wgs84 = get("wgs84");
    geographic->SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return geographic->IsSame(wgs84->m_ogr.get()) != 0 ? wgs84 : create(exportWkt(*geographic));
}

const SpatialReference* SpatialReference::getGeocentricSRS() const {
    if (isGeocentric()) {
        return this;
    }
    OGRSpatialReference geocentric;
    geocentric.SetGeocCS("Geocentric");
    geocentric.CopyGeogCSFrom(m_ogr.get());
    geocentric.SetLinearUnits("metre", 1.0);
    return create(exportWkt(geocentric));
}

bool SpatialReference::createLocalToWorld(const osg::Vec3d& point, osg::Matrixd& out) const {
    if (isProjected()) {
        out.makeTranslate(point);
        return true;
    }
    osg::Vec3d geodetic = point;
    if (isGeocentric()) {
        geodetic = ecefToGeodetic(*m_ellipsoid, point);
    }
    m_ellipsoid->computeLocalToWorldTransformFromLatLongHeight(
        osg::DegreesToRadians(geodetic.y()), osg::DegreesToRadians(geodetic.x()), geodetic.z(), out);
    return true;
}

bool SpatialReference::createWorldToLocal(const osg::Vec3d& point, osg::Matrixd& out) const {
    osg::Matrixd localToWorld;
    return createLocalToWorld(point, localToWorld) && out.invert_4x3(localToWorld);
}

} // namespace osgEarth
