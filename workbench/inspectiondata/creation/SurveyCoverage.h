#pragma once

#include "detect/heights/SurfaceModel.h"
#include "workbench/inspectiondata/creation/SurveyRaster.h"

#include <list>
#include <optional>

namespace inspection {

/// Where a survey has heights. A tile is opened when a place in it is asked for, and a few stay open. One thread at a
/// time.
class SurveyCoverage {
public:
    /// `reference`: of the places that are asked for. What cannot be read covers nothing; point clouds are taken to cover
    /// all ground within their bounds.
    SurveyCoverage(const SurveyRaster& raster, const OGRSpatialReference& reference);

    bool holds(double x, double y) const;

private:
    struct OpenTile {
        std::size_t tile = 0;
        std::optional<detect::SurfaceModel> surface; ///< empty when it cannot be read
    };
    bool isCovered(std::size_t tile, const detect::Point& place) const;

    SurveyRaster m_survey;
    Transformation m_toRaster;
    mutable std::list<OpenTile> m_open; ///< the one that was asked last comes first
};

} // namespace inspection
