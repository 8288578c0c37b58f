#pragma once

#include "workbench/inspectiondata/pictures/RasterPicture.h"

#include <QImage>
#include <QSize>
#include <QString>

#include <optional>

namespace inspection {

/// The field that a local co-registration added to the heights of the new epoch, in the colours of a ramp that it
/// fills.
struct CorrectionPicture {
    QImage image;
    double largestMetres = 0.0; ///< of the ramp
};

/// At most as large as `bounds`, with the raster's proportions. Nothing when it cannot be read.
std::optional<CorrectionPicture> correctionPicture(const QString& file, const QSize& bounds, const QColor& up,
                                                   const QColor& down);

} // namespace inspection
