#include "workbench/inspectiondata/text/CoregistrationText.h"

#include <cmath>

namespace inspection {

namespace {

QString metres(double value) {
    const QString digits = QString::number(std::abs(value), 'f', 3);
    return value < 0.0 && digits != QLatin1String("0.000") ? QStringLiteral("−") + digits : digits;
}

} // namespace

QString methodTitle(detect::CoregistrationMethod method) {
    using Method = detect::CoregistrationMethod;
    switch (method) {
    case Method::Bias:
        return QStringLiteral("高程偏差改正");
    case Method::Full:
        return QStringLiteral("平面与高程配准");
    case Method::Local:
        return QStringLiteral("局部改正");
    case Method::Auto:
        return QStringLiteral("自动");
    case Method::None:
        break;
    }
    return QStringLiteral("不配准");
}

QString shiftText(const detect::Coregistration& coregistration) {
    return QStringLiteral("dX %1 m，dY %2 m，dZ %3 m")
        .arg(metres(coregistration.dxMetres), metres(coregistration.dyMetres),
             metres(coregistration.dzMetres));
}

QString scatterText(const detect::Coregistration& coregistration) {
    return QStringLiteral("NMAD %1 → %2 m")
        .arg(metres(coregistration.nmadBeforeMetres), metres(coregistration.nmadAfterMetres));
}

QString coregistrationLine(const detect::Coregistration& coregistration) {
    QStringList parts{methodTitle(coregistration.method)};
    if (coregistration.method == detect::CoregistrationMethod::Bias) {
        parts << QStringLiteral("dZ %1 m").arg(metres(coregistration.dzMetres));
    } else if (coregistration.method != detect::CoregistrationMethod::None) {
        parts << shiftText(coregistration);
    }
    parts << scatterText(coregistration);
    if (!coregistration.refusal.empty()) {
        parts << QStringLiteral("未做水平配准：") + QString::fromStdString(coregistration.refusal);
    }
    return QStringLiteral("配准：") + parts.join(QStringLiteral("；"));
}

QStringList coregistrationReasons(const detect::Coregistration& coregistration) {
    QStringList reasons;
    if (!coregistration.reason.empty()) {
        reasons << QString::fromStdString(coregistration.reason);
    }
    if (!coregistration.refusal.empty()) {
        reasons << QStringLiteral("未做水平配准：%1；只校正高差")
                       .arg(QString::fromStdString(coregistration.refusal));
    }
    return reasons;
}

std::vector<RejectionCount> rejectionCounts(const detect::Rejections& rejections) {
    return {{QStringLiteral("零散像元"), rejections.core},
            {QStringLiteral("面积过小"), rejections.area},
            {QStringLiteral("陡坎窄条"), rejections.sliver},
            {QStringLiteral("植被碎斑"), rejections.speckle}};
}

std::optional<QString> doubtOf(double nmadAfterMetres, const detect::Parameters& parameters) {
    if (parameters.significance || !(nmadAfterMetres > parameters.thresholdMetres)) {
        return std::nullopt;
    }
    return QStringLiteral(
               "结果不可信：稳定地面的高差离散度 %1 m 大于变化阈值 %2 m。请核对两期的坐标与高程基准，"
               "改用自动配准，或提高阈值、给出显著性置信度")
        .arg(QString::number(nmadAfterMetres, 'f', 2), QString::number(parameters.thresholdMetres, 'f', 2));
}

} // namespace inspection
