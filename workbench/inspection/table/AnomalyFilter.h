#pragma once

#include "host/inspection/Station.h"

#include <QSortFilterProxyModel>

#include <array>
#include <optional>

namespace inspection {

/// Which anomalies the table shows, by the inspector's verdict. The four fixed classes follow in the order of
/// fixedClasses().
enum class AttributeFilter { All, NotJudged, FirstClass, SecondClass, ThirdClass, FourthClass, OtherWords };
constexpr int kAttributeFilters = 7;

/// Which anomalies the table shows, by the sign of their elevation difference.
enum class SignFilter { Both, Fill, Cut };

/// Which anomalies the table shows, by whether their volume exceeds its uncertainty (isSignificant).
enum class SignificanceFilter { All, Significant };

/// True when the filter lets the anomaly through.
bool passes(const SdiffData& anomaly, AttributeFilter filter);
bool passes(const SdiffData& anomaly, SignFilter filter);
bool passes(const SdiffData& anomaly, SignificanceFilter filter);

/// How many of the anomalies each attribute filter lets through.
std::array<int, kAttributeFilters> countByAttribute(const std::vector<SdiffData>& anomalies);

/// Sorts the anomalies by a column's own values (figures by size, texts by code page order, which puts common
/// characters in the order of their pronunciation) and leaves out what the filters do not let through. Its
/// source is an AnomalyTableModel. GUI thread.
class AnomalyFilter : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit AnomalyFilter(QObject* parent = nullptr);

    void setAttributeFilter(AttributeFilter filter);
    void setSignFilter(SignFilter filter);
    void setSignificanceFilter(SignificanceFilter filter);
    bool isFiltering() const {
        return m_attribute != AttributeFilter::All || m_sign != SignFilter::Both ||
               m_significance != SignificanceFilter::All;
    }

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    const SdiffData& anomaly(int sourceRow) const;
    bool isNearer(int leftRow, int rightRow) const;
    bool isUncertaintyBefore(int leftRow, int rightRow, std::optional<double> SdiffData::* figure) const;
    bool areAreasBefore(int leftRow, int rightRow) const;
    /// Puts what is not known behind what is, in both orders.
    bool isKnownFirst(bool isLeftKnown) const { return isLeftKnown == (sortOrder() == Qt::AscendingOrder); }

    AttributeFilter m_attribute = AttributeFilter::All;
    SignFilter m_sign = SignFilter::Both;
    SignificanceFilter m_significance = SignificanceFilter::All;
};

} // namespace inspection
