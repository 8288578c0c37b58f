#include "workbench/inspection/table/AnomalyColumns.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QObject>

#include <cmath>

namespace inspection {

namespace {

template<auto Member>
bool isLess(const SdiffData& left, const SdiffData& right) {
    return left.*Member < right.*Member;
}

/// A figure that an anomaly of before may lack; empty then, and behind all others by AnomalyFilter.
template<auto Member>
AnomalyColumn uncertainty(const QString& title, const QString& toolTip) {
    return {title,
            true,
            [](const SdiffData& each) { return each.*Member ? figureText(*(each.*Member)) : QString(); },
            isLess<Member>,
            toolTip,
            Member};
}

double largestMagnitude(const SdiffData& anomaly) {
    return std::abs(largestDifferenceMetres(anomaly));
}

std::array<AnomalyColumn, AnomalyColumn::Count> makeColumns() {
    using Record = const SdiffData&;
    return {{
        {QObject::tr("名称"),
         false,
         [](Record each) { return fromGbk(each.name); },
         isLess<&SdiffData::name>,
         {}},
        {QObject::tr("类型"),
         false,
         kindText,
         [](Record left, Record right) { return left.isFill && !right.isFill; },
         {}},
        {kAreaTitle.inBrackets(),
         true,
         [](Record each) { return figureText(each.areaSquareMetres); },
         isLess<&SdiffData::areaSquareMetres>,
         {}},
        {kVolumeTitle.inBrackets(),
         true,
         [](Record each) { return figureText(each.volumeCubicMetres()); },
         [](Record left, Record right) { return left.volumeCubicMetres() < right.volumeCubicMetres(); },
         {}},
        {kMeanDifferenceTitle.inBrackets(),
         true,
         [](Record each) { return differenceText(each.dzMeanMetres); },
         isLess<&SdiffData::dzMeanMetres>,
         {}},
        {QObject::tr("最大|dZ|(m)"),
         true,
         [](Record each) { return QString::number(largestMagnitude(each), 'f', 2); },
         [](Record left, Record right) { return largestMagnitude(left) < largestMagnitude(right); },
         {}},
        {QObject::tr("属性"),
         false,
         [](Record each) { return fromGbk(each.attribute).simplified(); },
         isLess<&SdiffData::attribute>,
         {}},
        {kSuggestedTitle,
         false,
         [](Record each) { return fromGbk(each.suggested); },
         isLess<&SdiffData::suggested>,
         {}},
        {kPipeDistanceTitle.inBrackets(), true, nullptr, nullptr,
         QObject::tr("异常轮廓到管道中心线的最短水平距离，相交时为 0；没有中心线时为空")},
        {kHighConsequenceAreasTitle, false, nullptr, nullptr,
         QObject::tr("异常轮廓接触或重叠的高后果区；没有时为空")},
        {QObject::tr("位置"),
         false,
         [](Record each) { return positionText(each.lonDegrees, each.latDegrees); },
         isLess<&SdiffData::lonDegrees>,
         {}},
        uncertainty<&SdiffData::volumeSigmaCubicMetres>(kVolumeSigmaTitle.inBrackets(),
                                                        QObject::tr("体积的一倍标准差")),
        uncertainty<&SdiffData::sigmaMetres>(kSigmaTitle.inBrackets(),
                                             QObject::tr("异常内一个像元高程变化的标准差")),
        uncertainty<&SdiffData::levelOfDetectionMetres>(kLevelOfDetectionTitle.inBrackets(),
                                                        QObject::tr("一个像元的高程变化达到该值才算变化")),
        uncertainty<&SdiffData::significance>(kSignificanceTitle,
                                              QObject::tr("最大|dZ|与检出限之比，越大越可靠")),
        uncertainty<&SdiffData::suggestionConfidence>(kSuggestionConfidenceTitle,
                                                      QObject::tr("建议类别的把握，0 到 1")),
    }};
}

} // namespace

const std::array<AnomalyColumn, AnomalyColumn::Count>& anomalyColumns() {
    static const auto columns = makeColumns();
    return columns;
}

} // namespace inspection
