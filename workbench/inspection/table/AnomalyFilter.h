#pragma once

#include "workbench/inspection/table/AnomalyRow.h"

#include <QSortFilterProxyModel>
#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace inspection {

/// Which anomalies the table shows, by the inspector's verdict. The four fixed classes follow in the order of
/// fixedClasses(). Deleted ones are let through by the last one alone.
enum class AttributeFilter {
    All,
    NotJudged,
    FirstClass,
    SecondClass,
    ThirdClass,
    FourthClass,
    OtherWords,
    Deleted
};
constexpr int kAttributeFilters = 8;

/// Which anomalies the table shows, by the sign of their elevation difference.
enum class SignFilter { Both, Fill, Cut };

/// Which anomalies the table shows, by whether their volume exceeds its uncertainty (isSignificant).
enum class SignificanceFilter { All, Significant };

/// What an anomaly must be to be shown.
struct AnomalyCriteria {
    AttributeFilter attribute = AttributeFilter::All;
    SignFilter sign = SignFilter::Both;
    SignificanceFilter significance = SignificanceFilter::All;
    /// Farther from the pipe it is left out, and so is one whose distance is not known.
    std::optional<double> mostPipeMetres;
    /// The suggested class; empty for any.
    QString suggested;
    /// Words that occur in its name, station, kind, verdict or suggested class, each of them, in capitals or not.
    QString words;

    bool operator==(const AnomalyCriteria& other) const;
};

bool passes(const AnomalyRow& row, AttributeFilter filter);

/// How many of the rows each attribute filter lets through.
std::array<int, kAttributeFilters> countByAttribute(const std::vector<AnomalyRow>& rows);

/// Sorts the anomalies by a column's own values (figures by size, unknown ones last; texts by code page order, which
/// puts common characters in the order of their pronunciation) and leaves out what does not meet the criteria. Its
/// source is an AnomalyTableModel. Other criteria and another order are one change of the layout for the view, however many
/// rows come and go. GUI thread.
class AnomalyFilter : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit AnomalyFilter(QObject* parent = nullptr);

    void setSourceModel(QAbstractItemModel* model) override;
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
    void setCriteria(const AnomalyCriteria& criteria);
    /// The row that the table shows there.
    const AnomalyRow& rowAt(int shownRow) const { return row(mapToSource(index(shownRow, 0)).row()); }
    bool isFiltering() const { return !(m_criteria == AnomalyCriteria()); }
    /// The rows are deleted anomalies, all of them.
    bool showsDeleted() const { return m_criteria.attribute == AttributeFilter::Deleted; }

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    const AnomalyRow& row(int sourceRow) const;
    const std::vector<AnomalyRow>& rows() const;
    void rank(int column, Qt::SortOrder order);

    AnomalyCriteria m_criteria;
    std::string m_suggested; ///< of the criteria, GBK
    QStringList m_words;     ///< of the criteria, case folded
    std::vector<int>
        m_ranks; ///< of the source's rows in the present order; empty while single rows come and go
};

} // namespace inspection
