#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QColor>
#include <QImage>
#include <QString>

/// Pictures of raster windows, for the report, the overlays on the globe and the image window. Any thread.
namespace inspection {

/// A box of a reference system and the size of its picture. North is up; the first row is at yMax.
struct PictureWindow {
    QString srs; ///< anything GDAL understands; empty means the raster's own
    double xMin = 0.0;
    double yMin = 0.0;
    double xMax = 0.0;
    double yMax = 0.0;
    int width = 0; ///< pixels
    int height = 0;
};

/// Colours of elevation differences: transparent at zero and at no-data, towards `fill` upwards and `cut`
/// downwards.
struct DifferenceRamp {
    QColor fill;
    QColor cut;
    double fullMetres = 2.0;  ///< |dZ| from which on the colour is full
    double clearMetres = 0.0; ///< |dZ| below which nothing is drawn
};

/// The orthophoto, transparent where it has no data. A single band is shown grey.
INSPECTIONDATA_API Result<QImage> orthophotoPicture(const QString& file, const PictureWindow& window);

/// Shaded relief of a surface model, lit from the north-west at 45 degrees (Horn 1981), transparent at
/// no-data.
INSPECTIONDATA_API Result<QImage> reliefPicture(const QString& file, const PictureWindow& window);

/// Elevation differences in the colours of `ramp`, with transparency.
INSPECTIONDATA_API Result<QImage> differencePicture(const QString& file, const PictureWindow& window,
                                                    const DifferenceRamp& ramp);

/// Colour of one difference in metres.
INSPECTIONDATA_API QColor differenceColour(const DifferenceRamp& ramp, double dzMetres);

} // namespace inspection
