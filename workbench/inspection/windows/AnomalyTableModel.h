#pragma once

#include "host/inspection/Station.h"

#include <QAbstractTableModel>

#include <vector>

namespace inspection {

/// The anomalies of one station item as rows. GUI thread.
class AnomalyTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column {
        Name,
        Kind,
        Area,
        Volume,
        MeanDifference,
        LargestDifference,
        Attribute,
        Suggested,
        Position,
        ColumnCount
    };
    /// Data role of the value that rows are sorted by.
    static constexpr int kSortRole = Qt::UserRole;

    explicit AnomalyTableModel(QObject* parent = nullptr);

    void setAnomalies(std::vector<SdiffData> anomalies);
    const std::vector<SdiffData>& anomalies() const { return m_anomalies; }
    /// Row of the anomaly of that name (GBK), -1 when there is none.
    int rowOf(const std::string& name) const;
    /// Shows another attribute (GBK) in the row of that name; an unknown name is ignored.
    void setAttribute(const std::string& name, const std::string& attribute);
    void remove(const std::string& name);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::vector<SdiffData> m_anomalies;
};

} // namespace inspection
