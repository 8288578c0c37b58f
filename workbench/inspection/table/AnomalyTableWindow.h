#pragma once

#include "host/inspection/AVWindow.h"
#include "workbench/inspection/history/ProjectHistory.h"

#include <QTimer>

#include <set>

class QItemSelection;
class QModelIndex;

namespace inspection {

class AnomalyFilter;
class AnomalyFilterBar;
class AnomalyOverlays;
class AnomalyTableModel;
class AnomalyTableView;
class ProjectSurroundings;
class Session;

/// The anomalies of the current station item as a table that sorts and filters. What is selected in it is
/// highlighted on the globe and the other way round. GUI thread.
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
    void SetSelectedbyname(const std::vector<std::string>& names) override;
    void SetItemAtrii(KV_StationItem* item, const std::vector<SdiffData>& anomalies) override;
    void DeleteItems(KV_StationItem* item, const std::vector<SdiffData>& anomalies) override;

public slots:
    /// Shows the anomalies of that station; of none when null.
    void showStation(KV_StationItem* item);
    /// Shows rows that an undo or redo has changed, and selects them.
    void takeRowChanges(const RowChanges& changes);
    /// Shows rows that somebody else has changed; the user's place in the table stays.
    void takeChangesOfOthers(const RowChanges& changes);
    /// Announces the selection once more, for a globe whose overlays are new.
    void announceSelection();

signals:
    /// The user wants to see that anomaly of the current item.
    void anomalyActivated(const SdiffData& anomaly);
    /// The user walked to that anomaly of the current item and stopped there.
    void anomalyReached(const SdiffData& anomaly);
    /// Stored anomalies of a station were edited here.
    void anomaliesChanged(quint32 stationId);

private:
    void build();
    void connectTable();
    void measureSurroundings();
    void updateSummary();
    void takeSelection();
    void showSelection();
    void walkOn();
    void classifySelected(const QString& attribute);
    void deleteSelected();
    std::vector<SdiffData> selected() const;
    const SdiffData* anomalyAt(const QModelIndex& sortedIndex) const;
    void forget(const std::set<std::string>& names);
    /// Makes an edit of what `work` changes and tells the user when the database refuses.
    bool perform(const QString& description, const ProjectHistory::Work& work);

    Session& m_session;
    AnomalyOverlays& m_overlays;
    KV_StationItem m_current;
    std::vector<std::string> m_selectedNames; ///< also of stations that the table does not show
    ProjectSurroundings* m_surroundings;
    AnomalyTableModel* m_model;
    AnomalyFilter* m_filter;
    AnomalyFilterBar* m_bar;
    AnomalyTableView* m_table;
    bool m_showingSelection = false; ///< the rows follow m_selectedNames, not the other way round
    QTimer m_take;                   ///< many changes of the rows become one announcement
    QTimer m_show;                   ///< many changes on the globe become one of the rows
    QTimer m_reached;                ///< runs while the user walks quickly
};

} // namespace inspection
