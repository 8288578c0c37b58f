#pragma once

#include "host/inspection/Station.h"

#include <QString>
#include <QStringList>

namespace inspection {

/// How an anomaly's figures are written in the windows.

/// The four fixed classes, in the order of the menus.
const QStringList& fixedClasses();
/// "填方" or "挖方".
QString kindText(const SdiffData& anomaly);
/// A non-negative figure with about three significant digits, with the digits grouped.
QString figureText(double value);
/// The same with its standard deviation, both with the digits that this allows: "18.3 ± 0.9".
QString figureText(double value, double sigma);
/// The volume of the anomaly's kind, with its standard deviation where that is known, in m³.
QString volumeText(const SdiffData& anomaly);
/// True when the volume is more than its uncertainty at a confidence of 95 %, two-sided, can make of stable ground;
/// also false where that is not known.
bool isSignificant(const SdiffData& anomaly);
/// An elevation difference in metres, always with its sign: "+1.25", "−0.80".
QString differenceText(double metres, int decimals = 2);
/// "112.345678° E, 34.567890° N".
QString positionText(double lonDegrees, double latDegrees);
/// The difference with the larger magnitude, with its sign.
double largestDifferenceMetres(const SdiffData& anomaly);

} // namespace inspection
