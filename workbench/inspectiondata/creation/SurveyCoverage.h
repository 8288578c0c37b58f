#pragma once

#include "detect/heights/SurfaceModel.h"
#include "workbench/inspectiondata/creation/SurveyRaster.h"

#include <vector>

namespace inspection {

/// Where a survey has heights. One thread at a time.
class SurveyCoverage {
public:
    /// `reference`: of the places that are asked for. What cannot be read covers nothing; point clouds are taken to cover
    /// all ground within their bounds.
    SurveyCoverage(const SurveyRaster& raster, const OGRSpatialReference& reference);

    bool holds(double x, double y) const;

private:
    bool holdsTile(const detect::Point& place) const;

    detect::Box m_box;
    bool m_isCloud;
    Transformation m_toRaster;
    mutable std::vector<detect::SurfaceModel> m_tiles;
};

} // namespace inspection
