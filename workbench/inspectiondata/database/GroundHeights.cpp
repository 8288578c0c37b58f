#include "workbench/inspectiondata/database/GroundHeights.h"

#include <cmath>

namespace inspection {

GroundHeights::GroundHeights(const ProjectDescription& project) {
    auto surface = detect::SurfaceModel::open(project.epochs.back().dsm.toStdString());
    if (!surface) {
        return;
    }
    const OGRSpatialReference& own = surface->grid().srs();
    const auto reference = own.IsEmpty() ? referenceOf(project.crs) : std::optional(own);
    if (reference) {
        m_toRaster = transformationBetween(wgs84(), *reference);
        m_surface.emplace(std::move(*surface));
    }
}

std::optional<double> GroundHeights::at(double lonDegrees, double latDegrees) {
    if (!m_surface || !m_toRaster || m_toRaster->Transform(1, &lonDegrees, &latDegrees) == 0) {
        return std::nullopt;
    }
    const float metres = m_surface->at(detect::Point{lonDegrees, latDegrees});
    return std::isnan(metres) ? std::nullopt : std::optional<double>(metres);
}

} // namespace inspection
