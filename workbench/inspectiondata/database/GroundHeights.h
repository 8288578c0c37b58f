#pragma once

#include "detect/heights/SurfaceModel.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <optional>

namespace inspection {

/// Heights of a project's newest surface model, for places that come without one. One thread at a time.
class GroundHeights {
public:
    /// When the surface model cannot be read, every answer is empty.
    explicit GroundHeights(const ProjectDescription& project);

    /// Metres of the cell at that place (WGS 84); empty where nothing was measured.
    std::optional<double> at(double lonDegrees, double latDegrees);

private:
    std::optional<detect::SurfaceModel> m_surface;
    Transformation m_toRaster;
};

} // namespace inspection
