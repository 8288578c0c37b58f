#include "workbench/inspectiondata/creation/SurveyCoverage.h"

#include <algorithm>
#include <cmath>

namespace inspection {

SurveyCoverage::SurveyCoverage(const SurveyRaster& raster, const OGRSpatialReference& reference)
    : m_box(raster.box), m_isCloud(raster.cloud.has_value()),
      m_toRaster(transformationBetween(reference, raster.reference)) {
    for (const QString& file : m_isCloud ? QStringList() : raster.files) {
        auto tile = detect::SurfaceModel::open(file.toStdString());
        if (tile) {
            m_tiles.push_back(*std::move(tile));
        }
    }
}

bool SurveyCoverage::holds(double x, double y) const {
    if (!m_toRaster || m_toRaster->Transform(1, &x, &y) == 0 || x < m_box.xMin || x > m_box.xMax ||
        y < m_box.yMin || y > m_box.yMax) {
        return false;
    }
    return m_isCloud || holdsTile({x, y});
}

bool SurveyCoverage::holdsTile(const detect::Point& place) const {
    return std::any_of(m_tiles.begin(), m_tiles.end(),
                       [&place](detect::SurfaceModel& tile) { return std::isfinite(tile.at(place)); });
}

} // namespace inspection
