#include "workbench/inspection/table/AnomalyFilter.h"

#include "host/Gbk.h"
#include "workbench/inspection/table/AnomalyColumns.h"
#include "workbench/inspection/table/AnomalyTableModel.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QStringList>

#include <algorithm>
#include <tuple>

namespace inspection {

namespace {

AttributeFilter filterOf(const AnomalyRow& row) {
    const std::string& attribute = row.anomaly().attribute;
    if (row.isDeleted()) {
        return AttributeFilter::Deleted;
    }
    if (attribute.empty()) {
        return AttributeFilter::NotJudged;
    }
    static const std::array<std::string, 4> classes = {toGbk(fixedClasses()[0]), toGbk(fixedClasses()[1]),
                                                       toGbk(fixedClasses()[2]), toGbk(fixedClasses()[3])};
    const auto found = std::find(classes.begin(), classes.end(), attribute);
    return static_cast<AttributeFilter>(static_cast<int>(AttributeFilter::FirstClass) +
                                        static_cast<int>(found - classes.begin()));
}

bool passes(const AnomalyRow& row, SignFilter filter) {
    return filter == SignFilter::Both || row.anomaly().isFill == (filter == SignFilter::Fill);
}

bool passes(const AnomalyRow& row, SignificanceFilter filter) {
    return filter == SignificanceFilter::All || isSignificant(row.anomaly());
}

bool liesWithin(const AnomalyRow& row, const std::optional<double>& mostPipeMetres) {
    if (!mostPipeMetres) {
        return true;
    }
    const auto& metres = row.surroundings().pipeMetres;
    return metres && *metres <= *mostPipeMetres;
}

bool holdsWords(const AnomalyRow& row, const QString& words) {
    constexpr std::array kSearched{AnomalyColumn::Name, AnomalyColumn::Station, AnomalyColumn::Kind,
                                   AnomalyColumn::Attribute, AnomalyColumn::Suggested};
    const QStringList wanted = words.split(' ', Qt::SkipEmptyParts);
    return std::all_of(wanted.begin(), wanted.end(), [&](const QString& word) {
        return std::any_of(kSearched.begin(), kSearched.end(), [&](int column) {
            return anomalyColumn(column).text(row).contains(word, Qt::CaseInsensitive);
        });
    });
}

} // namespace

bool AnomalyCriteria::operator==(const AnomalyCriteria& other) const {
    const auto values = [](const AnomalyCriteria& each) {
        return std::tie(each.attribute, each.sign, each.significance, each.mostPipeMetres, each.suggested,
                        each.words);
    };
    return values(*this) == values(other);
}

bool passes(const AnomalyRow& row, AttributeFilter filter) {
    const AttributeFilter own = filterOf(row);
    return filter == own || (filter == AttributeFilter::All && own != AttributeFilter::Deleted);
}

bool passes(const AnomalyRow& row, const AnomalyCriteria& criteria) {
    return passes(row, criteria.attribute) && passes(row, criteria.sign) &&
           passes(row, criteria.significance) &&
           (criteria.suggested.isEmpty() || criteria.suggested == fromGbk(row.anomaly().suggested)) &&
           (criteria.words.isEmpty() || holdsWords(row, criteria.words)) &&
           liesWithin(row, criteria.mostPipeMetres);
}

std::array<int, kAttributeFilters> countByAttribute(const std::vector<AnomalyRow>& rows) {
    std::array<int, kAttributeFilters> counts{};
    for (const AnomalyRow& row : rows) {
        counts[static_cast<std::size_t>(AttributeFilter::All)] += row.isDeleted() ? 0 : 1;
        ++counts[static_cast<std::size_t>(filterOf(row))];
    }
    return counts;
}

AnomalyFilter::AnomalyFilter(QObject* parent) : QSortFilterProxyModel(parent) {}

void AnomalyFilter::setCriteria(const AnomalyCriteria& criteria) {
    m_criteria = criteria;
    invalidateRowsFilter();
}

const AnomalyRow& AnomalyFilter::row(int sourceRow) const {
    return static_cast<const AnomalyTableModel*>(sourceModel())->row(sourceRow);
}

bool AnomalyFilter::filterAcceptsRow(int sourceRow, const QModelIndex& /*sourceParent*/) const {
    return passes(row(sourceRow), m_criteria);
}

bool AnomalyFilter::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    const AnomalyColumn& column = anomalyColumn(left.column());
    const AnomalyRow& leftRow = row(left.row());
    const AnomalyRow& rightRow = row(right.row());
    if (left.column() == AnomalyColumn::HighConsequenceAreas) {
        const bool hasLeft = !leftRow.surroundings().highConsequenceAreas.empty();
        const bool hasRight = !rightRow.surroundings().highConsequenceAreas.empty();
        return hasLeft != hasRight ? isKnownFirst(hasLeft) : column.isBefore(leftRow, rightRow);
    }
    if (!column.isFigure()) {
        return column.isBefore(leftRow, rightRow);
    }
    const auto leftNumber = column.number(leftRow);
    const auto rightNumber = column.number(rightRow);
    return leftNumber.has_value() != rightNumber.has_value() ? isKnownFirst(leftNumber.has_value())
                                                             : leftNumber < rightNumber;
}

} // namespace inspection
