#pragma once

#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <array>
#include <memory>
#include <optional>

class GDALDataset;

namespace inspection {

/// Heights of a project's newest surface model, for places that come without one. One thread at a time.
class GroundHeights {
public:
    /// When the surface model cannot be read, every answer is empty.
    explicit GroundHeights(const ProjectDescription& project);
    ~GroundHeights();
    GroundHeights(const GroundHeights&) = delete;
    GroundHeights& operator=(const GroundHeights&) = delete;

    /// Metres of the cell at that place (WGS 84); empty where nothing was measured.
    std::optional<double> at(double lonDegrees, double latDegrees) const;

private:
    std::unique_ptr<GDALDataset> m_raster;
    Transformation m_toRaster;
    std::array<double, 6> m_toCell{};
};

} // namespace inspection
