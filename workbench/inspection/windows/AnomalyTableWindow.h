#pragma once

#include "host/inspection/AVWindow.h"

class QLabel;
class QModelIndex;
class QSortFilterProxyModel;
class QTableView;

namespace inspection {

class AnomalyOverlays;
class AnomalyTableModel;
class Session;

/// The anomalies of the current station item as a sortable table. GUI thread.
class AnomalyTableWindow : public AVWindow {
    Q_OBJECT

public:
    /// Both must outlive the window.
    AnomalyTableWindow(Session& session, AnomalyOverlays& overlays, QWidget* parent = nullptr);
    ~AnomalyTableWindow() override;

    KV_StationItem* GetCurrentItem() override { return &m_current; }
    void SetCurrentItem(const KV_StationItem& item) override;
    void Refresh() override;
    void AddData() override;
    void SetSelectedbycoor(KV_StationItem* item, double x, double y) override;
    void SetItemAtrii(KV_StationItem* item, const std::vector<SdiffData>& anomalies) override;
    void DeleteItems(KV_StationItem* item, const std::vector<SdiffData>& anomalies) override;

public slots:
    /// Shows the anomalies of that station; of none when null.
    void showStation(KV_StationItem* item);

signals:
    /// The user wants to see that anomaly of the current item.
    void anomalyActivated(const SdiffData& anomaly);
    /// Stored anomalies of a station were edited here.
    void anomaliesChanged(quint32 stationId);

private slots:
    void activate(const QModelIndex& index);

private:
    void build();
    void updateSummary();
    void select(const std::string& name);
    /// Runs `store` on the database and tells the user when it refuses.
    template<typename Store>
    bool stored(const Store& store);

    Session& m_session;
    AnomalyOverlays& m_overlays;
    KV_StationItem m_current;
    AnomalyTableModel* m_model;
    QSortFilterProxyModel* m_sorted;
    QTableView* m_table;
    QLabel* m_summary;
};

} // namespace inspection
