#pragma once

#include <QLineF>
#include <QPointF>
#include <QPolygonF>
#include <QRectF>
#include <QString>

#include <vector>

/// What a new project looks like from above, as plain values: metres of its reference system, x east, y north.
namespace inspection {

struct PlanSketch {
    struct Coverage {
        QRectF box;
        QString title; ///< the epoch's date, or its file
    };
    std::vector<Coverage> epochs;  ///< in the order of the wish; an empty box for one that has no place
    QRectF overlap;                ///< of all epochs; empty when there is none
    QPolygonF line;                ///< the centre line in the direction of its chainages; empty for none
    std::vector<double> chainages; ///< metres, of each vertex
    std::vector<QRectF> stations;
};

/// What a view of everything must hold: coverages and stations. A line runs on far beyond them, so that it counts
/// only where it does not come near them, or where there is nothing else.
QRectF extentOf(const PlanSketch& sketch);

/// A place on the line and where the line goes there.
struct LineMark {
    QPointF place;
    QPointF direction; ///< of length 1
    double chainageMetres = 0.0;
};

/// Marks at every multiple of `stepMetres` of chainage.
std::vector<LineMark> marksAlong(const PlanSketch& sketch, double stepMetres);

/// The round distance (1, 2 or 5 times a power of ten) at which marks stand far enough apart to be read.
double markStep(double metresPerPixel);

} // namespace inspection
