#include "workbench/inspection/table/AnomalyFilter.h"

#include "host/Gbk.h"
#include "workbench/inspection/table/AnomalyColumns.h"
#include "workbench/inspection/table/AnomalyTableModel.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"

#include <QtConcurrentMap>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
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
    const auto& metres = row.pipeMetres();
    return metres && *metres <= *mostPipeMetres;
}

/// By all processors: each row for itself, when it is first asked for, would keep the window waiting.
void measure(const std::vector<AnomalyRow>& rows, const AnomalyColumn& column) {
    if (column.measure) {
        QtConcurrent::blockingMap(rows, column.measure);
    }
}

/// "a before b" of a column, in that order: what is not known comes behind what is, in both.
bool isBefore(const AnomalyColumn& column, const AnomalyRow& left, const AnomalyRow& right,
              Qt::SortOrder order) {
    const auto isKnownFirst = [order](bool isLeftKnown) {
        return isLeftKnown == (order == Qt::AscendingOrder);
    };
    if (&column == &anomalyColumn(AnomalyColumn::HighConsequenceAreas)) {
        const bool hasLeft = !left.highConsequenceAreas().empty();
        const bool hasRight = !right.highConsequenceAreas().empty();
        return hasLeft != hasRight ? isKnownFirst(hasLeft) : column.isBefore(left, right);
    }
    if (!column.isFigure()) {
        return column.isBefore(left, right);
    }
    const auto leftNumber = column.number(left);
    const auto rightNumber = column.number(right);
    return leftNumber.has_value() != rightNumber.has_value() ? isKnownFirst(leftNumber.has_value())
                                                             : leftNumber < rightNumber;
}

/// The place of each row in the order of the keys; rows with equal keys have the same.
template<typename Keys, typename Before>
std::vector<int> ranksOf(const Keys& keys, const Before& before) {
    std::vector<int> order(keys.size());
    std::iota(order.begin(), order.end(), 0);
    const auto key = [&keys](int row) -> decltype(auto) { return keys[static_cast<std::size_t>(row)]; };
    std::sort(order.begin(), order.end(), [&](int left, int right) { return before(key(left), key(right)); });
    std::vector<int> ranks(keys.size());
    int rank = 0;
    for (std::size_t place = 0; place < order.size(); ++place) {
        if (place > 0 && before(key(order[place - 1]), key(order[place]))) {
            rank = static_cast<int>(place);
        }
        ranks[static_cast<std::size_t>(order[place])] = rank;
    }
    return ranks;
}

/// The figures of a column; what is not known lies beyond all others, in the direction of the order.
std::vector<double> figuresOf(const std::vector<AnomalyRow>& rows, const AnomalyColumn& column,
                              Qt::SortOrder order) {
    constexpr double kBeyond = std::numeric_limits<double>::infinity();
    std::vector<double> figures;
    figures.reserve(rows.size());
    for (const AnomalyRow& row : rows) {
        const std::optional<double> figure = column.number(row);
        const bool isKnown = figure && !std::isnan(*figure);
        figures.push_back(isKnown ? *figure : order == Qt::AscendingOrder ? kBeyond : -kBeyond);
    }
    return figures;
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

std::array<int, kAttributeFilters> countByAttribute(const std::vector<AnomalyRow>& rows) {
    std::array<int, kAttributeFilters> counts{};
    for (const AnomalyRow& row : rows) {
        counts[static_cast<std::size_t>(AttributeFilter::All)] += row.isDeleted() ? 0 : 1;
        ++counts[static_cast<std::size_t>(filterOf(row))];
    }
    return counts;
}

AnomalyFilter::AnomalyFilter(QObject* parent) : QSortFilterProxyModel(parent) {}

// The ranks are there, or gone, before the base class looks at the rows: slots are called in the order of their connection.
void AnomalyFilter::setSourceModel(QAbstractItemModel* model) {
    const auto rankAnew = [this] { rank(sortColumn(), sortOrder()); };
    const auto forget = [this] { m_ranks.clear(); };
    connect(model, &QAbstractItemModel::modelReset, this, rankAnew);
    connect(model, &QAbstractItemModel::layoutChanged, this, rankAnew);
    connect(model, &QAbstractItemModel::dataChanged, this, forget);
    connect(model, &QAbstractItemModel::rowsInserted, this, forget);
    connect(model, &QAbstractItemModel::rowsRemoved, this, forget);
    QSortFilterProxyModel::setSourceModel(model);
}

void AnomalyFilter::sort(int column, Qt::SortOrder order) {
    rank(column, order);
    QSortFilterProxyModel::sort(column, order);
}

void AnomalyFilter::setCriteria(const AnomalyCriteria& criteria) {
    m_criteria = criteria;
    m_suggested = toGbk(criteria.suggested);
    m_words = criteria.words.toCaseFolded().split(' ', Qt::SkipEmptyParts);
    if (criteria.mostPipeMetres) {
        measure(rows(), anomalyColumn(AnomalyColumn::PipeDistance));
    }
    rank(sortColumn(), sortOrder());
    invalidate();
}

void AnomalyFilter::rank(int column, Qt::SortOrder order) {
    m_ranks.clear();
    if (column < 0) {
        return;
    }
    const AnomalyColumn& sorted = anomalyColumn(column);
    measure(rows(), sorted);
    if (sorted.isFigure()) {
        m_ranks = ranksOf(figuresOf(rows(), sorted, order), std::less<>());
    } else {
        m_ranks = ranksOf(rows(), [&](const AnomalyRow& left, const AnomalyRow& right) {
            return isBefore(sorted, left, right, order);
        });
    }
}

const std::vector<AnomalyRow>& AnomalyFilter::rows() const {
    return static_cast<const AnomalyTableModel*>(sourceModel())->rows();
}

const AnomalyRow& AnomalyFilter::row(int sourceRow) const {
    return rows()[static_cast<std::size_t>(sourceRow)];
}

bool AnomalyFilter::filterAcceptsRow(int sourceRow, const QModelIndex& /*sourceParent*/) const {
    const AnomalyRow& anomaly = row(sourceRow);
    return passes(anomaly, m_criteria.attribute) && passes(anomaly, m_criteria.sign) &&
           passes(anomaly, m_criteria.significance) &&
           (m_suggested.empty() || m_suggested == anomaly.anomaly().suggested) &&
           std::all_of(m_words.begin(), m_words.end(),
                       [&](const QString& word) { return anomaly.searched().contains(word); }) &&
           liesWithin(anomaly, m_criteria.mostPipeMetres);
}

bool AnomalyFilter::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    if (!m_ranks.empty()) {
        return m_ranks[static_cast<std::size_t>(left.row())] < m_ranks[static_cast<std::size_t>(right.row())];
    }
    return isBefore(anomalyColumn(left.column()), row(left.row()), row(right.row()), sortOrder());
}

} // namespace inspection
