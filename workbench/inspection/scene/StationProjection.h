#pragma once

#include "workbench/inspectiondata/project/Georeference.h"

#include <osg/Vec2d>

#include <optional>
#include <string>

namespace inspection {

/// From a station's projected reference system to longitude and latitude (WGS 84, degrees). One thread at a
/// time.
class StationProjection {
public:
    /// `srs` is anything GDAL understands. A definition that it does not know makes every answer empty.
    explicit StationProjection(const std::string& srs);

    /// Longitude, latitude of (x, y) in metres of the station's system.
    std::optional<osg::Vec2d> toLonLatDegrees(double x, double y) const;

private:
    Transformation m_transformation;
};

} // namespace inspection
