#include "workbench/inspectiondata/text/ScaleLength.h"

#include <algorithm>
#include <cmath>

namespace inspection {

ScaleLength scaleLengthBelow(double metres) {
    const double power = std::pow(10.0, std::floor(std::log10(std::max(metres, 1e-9))));
    double length = power;
    for (const double step : {2.0, 5.0}) {
        if (step * power <= metres) {
            length = step * power;
        }
    }
    const QString text = length >= 1000.0 ? QStringLiteral("%1 km").arg(length / 1000.0, 0, 'f', 0)
                                          : QStringLiteral("%1 m").arg(length);
    return {length, text};
}

} // namespace inspection
