#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/inspection/scene/Globe.h"

#include "host/viewer/CXViewer.h"

#include <osgEarth/ElevationQuery>
#include <osgEarth/GeoData>
#include <osgEarth/MapNode>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

namespace inspection {

namespace {

constexpr double kPitchDegrees = -60.0;
constexpr double kNoElevationBelowMetres = -9999.0;

} // namespace

double groundMetres(osgEarth::MapNode& map, double lonDegrees, double latDegrees) {
    osgEarth::ElevationQuery query(map.getMap());
    const osgEarth::GeoPoint point(osgEarth::SpatialReference::get("wgs84"), lonDegrees, latDegrees, 0.0,
                                   osgEarth::ALTMODE_ABSOLUTE);
    const float metres = query.getElevation(point, 0.0001);
    return metres > kNoElevationBelowMetres ? metres : 0.0;
}

void flyTo(double lonDegrees, double latDegrees, double rangeMetres, double seconds) {
    if (!g_pCXviewer || !g_pCXviewer->getManipulator() || !g_pCXviewer->getMapNode()) {
        return;
    }
    const double height = groundMetres(*g_pCXviewer->getMapNode(), lonDegrees, latDegrees);
    const osgEarth::Viewpoint viewpoint("", lonDegrees, latDegrees, height, 0.0, kPitchDegrees, rangeMetres);
    g_pCXviewer->getManipulator()->setViewpoint(viewpoint, seconds);
    redrawGlobe();
}

} // namespace inspection
