#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspection/table/AnomalyRow.h"

#include <QAbstractTableModel>

#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace inspection {

/// The anomalies of the shown stations as rows, with the columns of AnomalyColumns.h; deleted ones, greyed, among them.
/// Attributes are editable through a delegate only: the model shows what is stored. Many rows that change, come or go are
/// one change of the layout for its views. GUI thread.
class AnomalyTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    explicit AnomalyTableModel(QObject* parent = nullptr);

    void setRows(std::vector<AnomalyRow> rows);
    /// Measures the rows of these stations against other things.
    void setStations(const std::vector<std::shared_ptr<const TableStation>>& stations);
    const std::vector<AnomalyRow>& rows() const { return m_anomalies; }
    const AnomalyRow& row(int row) const { return m_anomalies[static_cast<std::size_t>(row)]; }
    const SdiffData& anomaly(int row) const { return this->row(row).anomaly(); }
    /// Row of the anomaly of that name (GBK), -1 when there is none.
    int rowOf(const std::string& name) const;
    /// Removes the rows of the names that have gone (GBK), adds rows behind the others, save those whose names are there
    /// already, and shows `changed` in the rows of the same names; unknown names are ignored.
    void apply(const std::set<std::string>& gone, const std::vector<AnomalyRow>& added,
               const std::vector<SdiffData>& changed);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    class LayoutChange;

    void indexRows();
    void remove(const std::set<std::string>& names);
    void add(const std::vector<AnomalyRow>& rows);
    void replace(const std::vector<SdiffData>& changed);
    void applyTogether(const std::set<std::string>& gone, const std::vector<AnomalyRow>& added,
                       const std::vector<SdiffData>& changed);
    std::vector<int> takeAway(const std::set<std::string>& names);
    QString fullText(int row, int column) const;

    std::vector<AnomalyRow> m_anomalies;
    std::unordered_map<std::string, int> m_rows; ///< by name
};

} // namespace inspection
