#pragma once

#include "detect/Detection.h"
#include "host/Export.h"
#include "workbench/inspectiondata/creation/Centerline.h"

#include <QString>

#include <functional>
#include <vector>

namespace inspection {

/// A station of a new project: a box of ground, and what of the pipe lies in it.
struct Stretch {
    QString name;
    double startMetres = 0.0; ///< chainages; both 0 without a centre line
    double endMetres = 0.0;
    detect::Box box; ///< in the project's reference system
};

/// Stretches of `lengthMetres` of chainage each, with all ground within `halfWidthMetres` of them east, west, north and
/// south, named by chainage. A rest of less than a fifth of the length goes with the stretch before.
INSPECTIONDATA_API std::vector<Stretch> stretchesAlong(const Centerline& centerline, double lengthMetres,
                                                       double halfWidthMetres);

/// Equal boxes over an area, as near to squares as the number allows: one for each four million cells, a dozen at most.
INSPECTIONDATA_API std::vector<Stretch> stretchesOver(const detect::Box& area, double cells);

/// Polygons of a file (with name, start_m and end_m where it has them) as the boxes around them. Fails when the file
/// cannot be read or holds no polygon.
INSPECTIONDATA_API Result<std::vector<Stretch>> stretchesIn(const QString& file, const QString& crs,
                                                            const OGRSpatialReference& reference);

/// Whether the surveys hold data at a place, in the project's reference system.
using Coverage = std::function<bool(double x, double y)>;

/// The stretches cut to `area`; without those of which no probe on a grid of 5 x 5 is covered.
INSPECTIONDATA_API std::vector<Stretch> stretchesWithData(const std::vector<Stretch>& stretches,
                                                          const detect::Box& area, const Coverage& covered);

} // namespace inspection
