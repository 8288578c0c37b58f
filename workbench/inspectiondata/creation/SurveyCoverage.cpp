#include "workbench/inspectiondata/creation/SurveyCoverage.h"

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr std::size_t kMostOpen = 16;

bool holdsPlace(const detect::Box& box, const detect::Point& place) {
    return place.x >= box.xMin && place.x <= box.xMax && place.y >= box.yMin && place.y <= box.yMax;
}

} // namespace

SurveyCoverage::SurveyCoverage(const SurveyRaster& raster, const OGRSpatialReference& reference)
    : m_survey(raster), m_toRaster(transformationBetween(reference, raster.reference)) {}

bool SurveyCoverage::holds(double x, double y) const {
    if (!m_toRaster || m_toRaster->Transform(1, &x, &y) == 0 || !holdsPlace(m_survey.box, {x, y})) {
        return false;
    }
    for (std::size_t tile = 0; tile < m_survey.boxes.size(); ++tile) {
        if (holdsPlace(m_survey.boxes[tile], {x, y}) && isCovered(tile, {x, y})) {
            return true;
        }
    }
    return m_survey.cloud.has_value();
}

bool SurveyCoverage::isCovered(std::size_t tile, const detect::Point& place) const {
    const auto open =
        std::find_if(m_open.begin(), m_open.end(), [tile](const OpenTile& one) { return one.tile == tile; });
    if (open != m_open.end()) {
        m_open.splice(m_open.begin(), m_open, open);
    } else {
        auto surface = detect::SurfaceModel::open(m_survey.files[static_cast<int>(tile)].toStdString());
        m_open.push_front({tile, surface ? std::optional(*std::move(surface)) : std::nullopt});
        m_open.resize(std::min(m_open.size(), kMostOpen));
    }
    auto& surface = m_open.front().surface;
    return surface && std::isfinite(surface->at(place));
}

} // namespace inspection
