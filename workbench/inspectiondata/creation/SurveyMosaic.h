#pragma once

#include "workbench/inspectiondata/creation/SurveyRaster.h"

#include <memory>

class GDALDataset;

namespace inspection {

/// The raster of a survey: its one file, or all its tiles as one virtual raster, written to `file` (VRT) unless that is
/// empty. Fails when a tile cannot be read, with nothing written.
Result<std::shared_ptr<GDALDataset>> openMosaic(const SurveyRaster& raster, const QString& file = {});

/// Where a surface model has heights. One thread at a time.
class SurveyCoverage {
public:
    /// `reference`: of the places that are asked for. Without a readable raster nothing is covered.
    SurveyCoverage(const SurveyRaster& raster, const OGRSpatialReference& reference);

    bool holds(double x, double y) const;

private:
    std::shared_ptr<GDALDataset> m_dataset;
    Transformation m_toRaster;
    std::array<double, 6> m_toCell{};
};

} // namespace inspection
