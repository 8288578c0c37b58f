#pragma once

#include "host/Export.h"

#include <QString>

namespace inspection {

/// A length that a scale bar can show.
struct ScaleLength {
    double metres = 0.0;
    QString text; ///< "200 m", "5 km"
};

/// 1, 2 or 5 times a power of ten metres, the largest not above `metres`.
INSPECTIONDATA_API ScaleLength scaleLengthBelow(double metres);

} // namespace inspection
