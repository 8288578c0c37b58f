#pragma once

#include "host/inspection/Station.h"

#include <QAbstractTableModel>

#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace inspection {

/// The anomalies of one station item as rows. Attributes are editable through a delegate only: the model
/// shows what is stored. GUI thread.
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
    explicit AnomalyTableModel(QObject* parent = nullptr);

    void setAnomalies(std::vector<SdiffData> anomalies);
    const std::vector<SdiffData>& anomalies() const { return m_anomalies; }
    const SdiffData& anomaly(int row) const { return m_anomalies[static_cast<std::size_t>(row)]; }
    /// Row of the anomaly of that name (GBK), -1 when there is none.
    int rowOf(const std::string& name) const;
    /// Shows `changed` in the rows of the same names; unknown names are ignored.
    void replace(const std::vector<SdiffData>& changed);
    /// Removes the rows of these names (GBK).
    void remove(const std::set<std::string>& names);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    void indexRows();

    std::vector<SdiffData> m_anomalies;
    std::unordered_map<std::string, int> m_rows; ///< by name
};

} // namespace inspection
