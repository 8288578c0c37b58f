#pragma once

#include <QLineF>
#include <QString>

#include <vector>

namespace inspection {

/// Elevations in metres at `count` evenly spaced points along a line in the reference system `srs`, bilinear
/// between the cells of the surface model; NaN outside the raster and on no-data. Empty when the raster
/// cannot be read or its reference system is unknown. Any thread.
std::vector<double> sampleElevations(const QString& surfaceModel, const QString& srs, const QLineF& line,
                                     int count);

} // namespace inspection
