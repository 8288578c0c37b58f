#include "workbench/inspection/scene/StationProjection.h"

#include <ogr_spatialref.h>

namespace inspection {

StationProjection::StationProjection(const std::string& srs) {
    OGRSpatialReference station;
    OGRSpatialReference geographic;
    if (srs.empty() || station.SetFromUserInput(srs.c_str()) != OGRERR_NONE ||
        geographic.importFromEPSG(4326) != OGRERR_NONE) {
        return;
    }
    station.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    geographic.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    m_transformation.reset(OGRCreateCoordinateTransformation(&station, &geographic));
}

StationProjection::~StationProjection() = default;

std::optional<osg::Vec2d> StationProjection::toLonLatDegrees(double x, double y) const {
    if (!m_transformation || m_transformation->Transform(1, &x, &y) == 0) {
        return std::nullopt;
    }
    return osg::Vec2d(x, y);
}

} // namespace inspection
