#include "workbench/inspection/table/AnomalyFilter.h"

#include "host/Gbk.h"
#include "workbench/inspection/table/AnomalyTableModel.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <algorithm>

namespace inspection {

namespace {

AttributeFilter filterOf(const std::string& attribute) {
    if (attribute.empty()) {
        return AttributeFilter::NotJudged;
    }
    static const std::array<std::string, 4> classes = {toGbk(fixedClasses()[0]), toGbk(fixedClasses()[1]),
                                                       toGbk(fixedClasses()[2]), toGbk(fixedClasses()[3])};
    const auto found = std::find(classes.begin(), classes.end(), attribute);
    return static_cast<AttributeFilter>(static_cast<int>(AttributeFilter::FirstClass) +
                                        static_cast<int>(found - classes.begin()));
}

} // namespace

bool passes(const SdiffData& anomaly, AttributeFilter filter) {
    return filter == AttributeFilter::All || filter == filterOf(anomaly.attribute);
}

bool passes(const SdiffData& anomaly, SignFilter filter) {
    return filter == SignFilter::Both || anomaly.isFill == (filter == SignFilter::Fill);
}

bool passes(const SdiffData& anomaly, SignificanceFilter filter) {
    return filter == SignificanceFilter::All || isSignificant(anomaly);
}

std::array<int, kAttributeFilters> countByAttribute(const std::vector<SdiffData>& anomalies) {
    std::array<int, kAttributeFilters> counts{};
    for (const SdiffData& anomaly : anomalies) {
        ++counts[static_cast<std::size_t>(AttributeFilter::All)];
        ++counts[static_cast<std::size_t>(filterOf(anomaly.attribute))];
    }
    return counts;
}

AnomalyFilter::AnomalyFilter(QObject* parent) : QSortFilterProxyModel(parent) {}

void AnomalyFilter::setAttributeFilter(AttributeFilter filter) {
    m_attribute = filter;
    invalidateRowsFilter();
}

void AnomalyFilter::setSignFilter(SignFilter filter) {
    m_sign = filter;
    invalidateRowsFilter();
}

void AnomalyFilter::setSignificanceFilter(SignificanceFilter filter) {
    m_significance = filter;
    invalidateRowsFilter();
}

const SdiffData& AnomalyFilter::anomaly(int sourceRow) const {
    return static_cast<const AnomalyTableModel*>(sourceModel())->anomaly(sourceRow);
}

bool AnomalyFilter::filterAcceptsRow(int sourceRow, const QModelIndex& /*sourceParent*/) const {
    const SdiffData& each = anomaly(sourceRow);
    return passes(each, m_attribute) && passes(each, m_sign) && passes(each, m_significance);
}

bool AnomalyFilter::isNearer(int leftRow, int rightRow) const {
    const auto& model = *static_cast<const AnomalyTableModel*>(sourceModel());
    const auto& left = model.surroundings(leftRow).pipeMetres;
    const auto& right = model.surroundings(rightRow).pipeMetres;
    return left.has_value() != right.has_value() ? isKnownFirst(left.has_value()) : left < right;
}

bool AnomalyFilter::isUncertaintyBefore(int leftRow, int rightRow,
                                        std::optional<double> SdiffData::* figure) const {
    const auto& left = anomaly(leftRow).*figure;
    const auto& right = anomaly(rightRow).*figure;
    return left.has_value() != right.has_value() ? isKnownFirst(left.has_value()) : left < right;
}

bool AnomalyFilter::areAreasBefore(int leftRow, int rightRow) const {
    const auto& model = *static_cast<const AnomalyTableModel*>(sourceModel());
    const auto& left = model.surroundings(leftRow).highConsequenceAreas;
    const auto& right = model.surroundings(rightRow).highConsequenceAreas;
    return left.empty() != right.empty() ? isKnownFirst(right.empty()) : left < right;
}

bool AnomalyFilter::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    const AnomalyColumn& column = anomalyColumns().at(static_cast<std::size_t>(left.column()));
    if (column.uncertainty) {
        return isUncertaintyBefore(left.row(), right.row(), column.uncertainty);
    }
    switch (left.column()) {
    case AnomalyColumn::PipeDistance:
        return isNearer(left.row(), right.row());
    case AnomalyColumn::HighConsequenceAreas:
        return areAreasBefore(left.row(), right.row());
    default:
        return column.isBefore(anomaly(left.row()), anomaly(right.row()));
    }
}

} // namespace inspection
