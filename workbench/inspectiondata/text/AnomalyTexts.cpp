#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QCoreApplication>
#include <QLocale>

#include <cmath>

namespace inspection {

const QStringList& fixedClasses() {
    static const QStringList classes = {QStringLiteral("建构筑物"), QStringLiteral("重物占压"),
                                        QStringLiteral("深挖"), QStringLiteral("塌陷")};
    return classes;
}

QString kindText(const SdiffData& anomaly) {
    return anomaly.isFill ? QStringLiteral("填方") : QStringLiteral("挖方");
}

QString figureText(double value) {
    const int decimals = value < 10.0 ? 2 : value < 100.0 ? 1 : 0;
    return QLocale(QLocale::Chinese).toString(value, 'f', decimals);
}

QString figureText(double value, double sigma) {
    const int decimals = sigma < 0.095 ? 2
                         : sigma < 9.5 ? 1
                                       : 0; // one or two digits of the standard deviation
    const QLocale locale(QLocale::Chinese);
    return locale.toString(value, 'f', decimals) + QStringLiteral(" ± ") +
           locale.toString(sigma, 'f', decimals);
}

QString volumeText(const SdiffData& anomaly) {
    const double volume = anomaly.volumeCubicMetres();
    return anomaly.volumeSigmaCubicMetres ? figureText(volume, *anomaly.volumeSigmaCubicMetres)
                                          : figureText(volume);
}

bool isSignificant(const SdiffData& anomaly) {
    constexpr double kTwoSided95 = 1.96; // standard deviations
    return anomaly.volumeSigmaCubicMetres &&
           anomaly.volumeCubicMetres() >= kTwoSided95 * *anomaly.volumeSigmaCubicMetres;
}

QString differenceText(double metres, int decimals) {
    const QString digits = QString::number(std::abs(metres), 'f', decimals);
    return (metres < 0.0 ? QStringLiteral("−") : QStringLiteral("+")) + digits;
}

QString positionText(double lonDegrees, double latDegrees) {
    return QStringLiteral("%1° %2, %3° %4")
        .arg(std::abs(lonDegrees), 0, 'f', 6)
        .arg(lonDegrees < 0.0 ? 'W' : 'E')
        .arg(std::abs(latDegrees), 0, 'f', 6)
        .arg(latDegrees < 0.0 ? 'S' : 'N');
}

double largestDifferenceMetres(const SdiffData& anomaly) {
    return std::abs(anomaly.dzMinMetres) > std::abs(anomaly.dzMaxMetres) ? anomaly.dzMinMetres
                                                                         : anomaly.dzMaxMetres;
}

} // namespace inspection
