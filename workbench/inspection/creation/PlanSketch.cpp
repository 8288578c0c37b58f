#include "workbench/inspection/creation/PlanSketch.h"

#include <algorithm>
#include <cmath>

namespace inspection {

QRectF extentOf(const PlanSketch& sketch) {
    QRectF extent;
    for (const PlanSketch::Coverage& epoch : sketch.epochs) {
        extent |= epoch.box;
    }
    for (const QRectF& station : sketch.stations) {
        extent |= station;
    }
    const QRectF line = sketch.line.boundingRect();
    const bool isNear = line.right() >= extent.left() && line.left() <= extent.right() &&
                        line.bottom() >= extent.top() && line.top() <= extent.bottom();
    if (sketch.line.isEmpty() || (!extent.isEmpty() && isNear)) {
        return extent;
    }
    // A line that runs straight east or north has a box without area, which unites with nothing.
    return extent | line.adjusted(-1.0, -1.0, 1.0, 1.0);
}

std::vector<LineMark> marksAlong(const PlanSketch& sketch, double stepMetres) {
    constexpr std::size_t kMostMarks = 10000;
    std::vector<LineMark> marks;
    if (!(stepMetres > 0.0)) {
        return marks;
    }
    for (std::size_t i = 1; i < sketch.chainages.size(); ++i) {
        const QLineF segment(sketch.line[qsizetype(i) - 1], sketch.line[qsizetype(i)]);
        const double start = sketch.chainages[i - 1];
        const double end = sketch.chainages[i];
        if (!(end > start) || !(segment.length() > 0.0)) {
            continue;
        }
        const QPointF direction = (segment.p2() - segment.p1()) / segment.length();
        const bool isLast = i + 1 == sketch.chainages.size();
        for (double number = std::ceil(start / stepMetres); marks.size() < kMostMarks; ++number) {
            const double chainage = number * stepMetres;
            if (chainage > end || (chainage == end && !isLast)) {
                break; // a mark at a vertex is that of the segment behind it
            }
            marks.push_back({segment.pointAt((chainage - start) / (end - start)), direction, chainage});
        }
    }
    return marks;
}

double markStep(double metresPerPixel) {
    constexpr double kPixelsApart = 90.0;
    const double least = std::max(metresPerPixel * kPixelsApart, 1.0);
    const double power = std::pow(10.0, std::floor(std::log10(least)));
    for (const double step : {1.0, 2.0, 5.0}) {
        if (step * power >= least) {
            return step * power;
        }
    }
    return 10.0 * power;
}

} // namespace inspection
