#include "workbench/inspection/table/AnomalyColumns.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QObject>

#include <cmath>

namespace inspection {

namespace {

using Row = const AnomalyRow&;

AnomalyColumn words(const QString& title, QString (*text)(Row), bool (*isBefore)(Row, Row),
                    const QString& toolTip = {}) {
    return {title, text, nullptr, isBefore, toolTip};
}

AnomalyColumn figure(const QString& title, QString (*text)(Row), std::optional<double> (*number)(Row),
                     const QString& toolTip = {}) {
    return {title, text, number, nullptr, toolTip};
}

template<auto Member>
bool isLess(Row left, Row right) {
    return left.anomaly().*Member < right.anomaly().*Member;
}

template<auto Member>
std::optional<double> numberOf(Row row) {
    return row.anomaly().*Member;
}

/// A figure that an anomaly of before may lack.
template<auto Member>
AnomalyColumn uncertainty(const QString& title, const QString& toolTip) {
    AnomalyColumn column = figure(
        title,
        [](Row row) {
            const std::optional<double>& number = row.anomaly().*Member;
            return number ? figureText(*number) : QString();
        },
        numberOf<Member>, toolTip);
    column.isHiddenAtFirst = true;
    return column;
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// The number that begins there, which is left behind; one of many digits is as good as any other.
unsigned long long takeNumber(const std::string& text, std::size_t& place) {
    unsigned long long number = 0;
    for (; place < text.size() && isDigit(text[place]); ++place) {
        number = number * 10 + static_cast<unsigned>(text[place] - '0');
    }
    return number;
}

/// "S2-0001" before "S10-0001": the digits count as numbers.
bool isNameBefore(Row leftRow, Row rightRow) {
    const std::string& left = leftRow.anomaly().name;
    const std::string& right = rightRow.anomaly().name;
    std::size_t l = 0;
    std::size_t r = 0;
    while (l < left.size() && r < right.size()) {
        if (isDigit(left[l]) && isDigit(right[r])) {
            const auto leftNumber = takeNumber(left, l);
            const auto rightNumber = takeNumber(right, r);
            if (leftNumber != rightNumber) {
                return leftNumber < rightNumber;
            }
        } else if (left[l] != right[r]) {
            return static_cast<unsigned char>(left[l]) < static_cast<unsigned char>(right[r]);
        } else {
            ++l;
            ++r;
        }
    }
    return left.size() - l < right.size() - r;
}

double largestMagnitude(const SdiffData& anomaly) {
    return std::abs(largestDifferenceMetres(anomaly));
}

AnomalyColumn pipeDistance() {
    AnomalyColumn column = figure(
        kPipeDistanceTitle.inBrackets(),
        [](Row row) {
            const auto& metres = row.pipeMetres();
            return metres ? pipeDistanceText(*metres) : QString();
        },
        [](Row row) { return row.pipeMetres(); },
        QObject::tr("异常轮廓到管道中心线的最短水平距离，相交时为 0；没有中心线时为空"));
    column.measure = [](Row row) { row.pipeMetres(); };
    return column;
}

AnomalyColumn highConsequenceAreas() {
    AnomalyColumn column = words(
        kHighConsequenceAreasTitle, [](Row row) { return areaNamesText(row.highConsequenceAreas()); },
        [](Row left, Row right) { return left.highConsequenceAreas() < right.highConsequenceAreas(); },
        QObject::tr("异常轮廓接触或重叠的高后果区；没有时为空"));
    column.measure = [](Row row) { row.highConsequenceAreas(); };
    return column;
}

AnomalyColumn chainage() {
    AnomalyColumn column = figure(
        QObject::tr("里程"),
        [](Row row) {
            const auto metres = row.chainageMetres();
            return metres ? chainageText(*metres) : QString();
        },
        [](Row row) { return row.chainageMetres(); },
        QObject::tr("异常中心在管道中心线上的里程；没有中心线时为空"));
    column.isWrittenAsText = true;
    column.measure = [](Row row) { row.chainageMetres(); };
    return column;
}

std::array<AnomalyColumn, AnomalyColumn::Count> makeColumns() {
    return {{
        words(
            QObject::tr("名称"), [](Row row) { return fromGbk(row.anomaly().name); }, isNameBefore),
        words(
            QObject::tr("类型"), [](Row row) { return kindText(row.anomaly()); },
            [](Row left, Row right) { return left.anomaly().isFill && !right.anomaly().isFill; }),
        figure(
            kAreaTitle.inBrackets(), [](Row row) { return figureText(row.anomaly().areaSquareMetres); },
            numberOf<&SdiffData::areaSquareMetres>),
        figure(
            kVolumeTitle.inBrackets(), [](Row row) { return figureText(row.anomaly().volumeCubicMetres()); },
            [](Row row) { return std::optional(row.anomaly().volumeCubicMetres()); }),
        figure(
            kMeanDifferenceTitle.inBrackets(),
            [](Row row) { return differenceText(row.anomaly().dzMeanMetres); },
            numberOf<&SdiffData::dzMeanMetres>),
        figure(
            QObject::tr("最大|dZ|(m)"),
            [](Row row) { return QString::number(largestMagnitude(row.anomaly()), 'f', 2); },
            [](Row row) { return std::optional(largestMagnitude(row.anomaly())); }),
        words(
            QObject::tr("属性"), [](Row row) { return fromGbk(row.anomaly().attribute).simplified(); },
            isLess<&SdiffData::attribute>),
        words(
            kSuggestedTitle, [](Row row) { return fromGbk(row.anomaly().suggested); },
            isLess<&SdiffData::suggested>),
        pipeDistance(),
        highConsequenceAreas(),
        words(
            QObject::tr("位置"),
            [](Row row) { return positionText(row.anomaly().lonDegrees, row.anomaly().latDegrees); },
            isLess<&SdiffData::lonDegrees>),
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
        words(
            QObject::tr("站段"), [](Row row) { return row.station().name; },
            [](Row left, Row right) { return left.station().id < right.station().id; }),
        chainage(),
    }};
}

} // namespace

const std::array<AnomalyColumn, AnomalyColumn::Count>& anomalyColumns() {
    static const auto columns = makeColumns();
    return columns;
}

const AnomalyColumn& anomalyColumn(int column) {
    return anomalyColumns().at(static_cast<std::size_t>(column));
}

} // namespace inspection
