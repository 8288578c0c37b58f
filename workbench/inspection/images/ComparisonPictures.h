#pragma once

#include "workbench/inspection/images/GroundPicture.h"
#include "workbench/inspection/images/ProfileChart.h"
#include "workbench/inspectiondata/pictures/RasterPicture.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QLineF>
#include <QRectF>
#include <QSize>
#include <QString>

namespace inspection {

/// What must be added to the new epoch so that it lies on the old one, metres.
struct EpochShift {
    double dx = 0.0;
    double dy = 0.0;
    double dz = 0.0;
};

/// What the image window compares: two epochs and their differences, in the reference system of a station.
struct ComparisonSource {
    QString srs;
    Epoch oldEpoch;
    Epoch newEpoch;
    QString dzRaster; ///< empty while the station is not computed
    EpochShift shift;
    /// The new epoch was also tilted or bent, as only the raster of differences tells.
    bool isBent = false;
    DifferenceRamp ramp;
};

struct ComparisonPictures {
    GroundPicture oldEpoch;
    GroundPicture newEpoch;
    GroundPicture difference;
};

/// Reads the pictures of a stretch of ground: the orthophotos, or the shaded relief of the surface model
/// where there is none or it cannot be read, and the differences over a pale relief. All cover the same
/// ground. Any thread.
ComparisonPictures readComparison(const ComparisonSource& source, const QRectF& ground, const QSize& pixels);

/// Elevations of both epochs along a line, the new one brought onto the old one as it was for detection. Any thread.
ElevationProfile readProfile(const ComparisonSource& source, const QLineF& line);

} // namespace inspection
