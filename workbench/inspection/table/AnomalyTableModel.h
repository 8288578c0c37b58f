#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspection/table/AnomalyColumns.h"
#include "workbench/inspectiondata/pipeline/Surroundings.h"

#include <QAbstractTableModel>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace inspection {

/// The anomalies of one station item as rows, with the columns of AnomalyColumns.h. Attributes are editable through a delegate only: the model
/// shows what is stored. GUI thread.
class AnomalyTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    explicit AnomalyTableModel(QObject* parent = nullptr);

    /// `surroundings` measures what lies around a row, when that is first asked for; nothing is known when
    /// null.
    void setAnomalies(std::vector<SdiffData> anomalies,
                      std::shared_ptr<const StationSurroundings> surroundings);
    void setSurroundings(std::shared_ptr<const StationSurroundings> surroundings);
    const std::vector<SdiffData>& anomalies() const { return m_anomalies; }
    const SdiffData& anomaly(int row) const { return m_anomalies[static_cast<std::size_t>(row)]; }
    const Surroundings& surroundings(int row) const;
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
    QString cellText(int row, int column) const;
    QString fullText(int row, int column) const;

    std::vector<SdiffData> m_anomalies;
    std::shared_ptr<const StationSurroundings> m_measure;
    mutable std::vector<std::optional<Surroundings>> m_surroundings; ///< of each row, once measured
    std::unordered_map<std::string, int> m_rows;                     ///< by name
};

} // namespace inspection
