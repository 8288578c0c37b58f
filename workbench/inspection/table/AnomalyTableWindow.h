#pragma once

#include "host/inspection/AVWindow.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <set>

class QModelIndex;

namespace inspection {

class AnomalyEdits;
class AnomalyFilter;
class AnomalyFilterBar;
class AnomalyOverlays;
class AnomalyTableModel;
class AnomalyTableView;
class ProjectSurroundings;
class Session;
class ShownStations;
struct AnomalyChange;

/// The anomalies of one or several stations as a table that sorts and filters. What is selected in it is
/// highlighted on the globe, by the tool that follows it or by itself. What the user selects replaces the
/// selection; so does the next row after Delete, and after a digit key whose class a filter hides. Rows that
/// come and go otherwise leave it alone. Deleted anomalies are listed by a filter of their own, where they can be
/// restored; they are not part of the selection. The current item is one of the shown stations. GUI thread.
class AnomalyTableWindow : public AVWindow {
    Q_OBJECT

public:
    /// Both must outlive the window.
    AnomalyTableWindow(Session& session, AnomalyOverlays& overlays, QWidget* parent = nullptr);
    ~AnomalyTableWindow() override;

    KV_StationItem* GetCurrentItem() override { return &m_current; }
    /// Whether somebody else, such as a tool, shows on the globe what is selected.
    bool isFollowed() const;
    void SetCurrentItem(const KV_StationItem& item) override;
    void Refresh() override;
    void AddData() override;
    void SetSelectedbycoor(KV_StationItem* item, double x, double y) override;
    void SetItemAtrii(KV_StationItem* item, const std::vector<SdiffData>& anomalies) override;
    /// Where these are part of a selection that has others, in other stations, the user is asked about all of it.
    void DeleteItems(KV_StationItem* item, const std::vector<SdiffData>& anomalies) override;

public slots:
    /// Selects the anomalies of these names, of any station, and no others: what is highlighted on the globe.
    /// Those that the table does not hold now are asked for, and selected when it does. Announces no selection.
    void SetSelectedbyname(const QStringList& names);
    /// Shows the anomalies of these stations.
    void showStations(const std::vector<KV_StationItem*>& items);
    /// No anomaly is selected any more, of any station.
    void clearSelection();
    /// Shows rows that have changed. Those that are `Followed` are selected, wherever they are.
    void applyRows(const RowChanges& changes, Showing showing);
    /// Announces the selection once more, for a globe whose overlays are new. While nobody listens, the
    /// selected overlays are tinted here.
    void announceSelection();

signals:
    /// The user selected other rows; the names of all that are selected now.
    void selectionChanged(const QStringList& names);
    /// These anomalies are selected, but not all of them are in a station that is shown.
    void stationsNeeded(const QStringList& names);
    /// The user wants to see that anomaly of the current item.
    void anomalyActivated(const SdiffData& anomaly);
    /// The user walked to that anomaly of the current item and stopped there.
    void anomalyReached(const SdiffData& anomaly);

protected:
    void connectNotify(const QMetaMethod& signal) override;
    void disconnectNotify(const QMetaMethod& signal) override;

private:
    void build();
    void connectTable();
    void connectBar();
    void announceWhenFollowed(const QMetaMethod& signal);
    /// Changes rows without taking what happens to their selection for the user's wish.
    void changeRows(const std::function<void()>& change);
    void fill();
    void applyCriteria();
    void updateSummary();
    void takeSelection();
    void showSelection();
    /// The same, also where the stations have to be shown for it.
    void goToSelection();
    /// Gives the row of the last of them, or -1.
    int selectNamedRows();
    /// Goes to that anomaly's row. It becomes the selection unless it is part of it.
    void lookAt(const std::string& name);
    /// In the filtered table; -1 when it is not there.
    int rowOf(const std::string& name) const;
    void goTo(int row);
    void walkOn();
    void classifySelected(const QString& attribute);
    void deleteSelected();
    void restoreSelected();
    std::vector<SdiffData> selected() const;
    /// What is selected in other shown stations than that one, whose anomalies these are; nothing unless all of these are
    /// selected.
    std::vector<SdiffData> selectedBeside(std::uint32_t stationId,
                                          const std::vector<SdiffData>& anomalies) const;
    /// Null for no row. The row's station becomes the current item.
    const SdiffData* goToStationOf(const QModelIndex& sortedIndex);
    const SdiffData* anomalyAt(const QModelIndex& sortedIndex) const;
    void forget(const std::set<std::string>& names);
    /// Brings a record of the caller's in line with an edit.
    void takeInto(KV_StationItem& item, const std::optional<RowChanges>& changes);
    /// True when the rows had to be filled in anew.
    bool applyToTable(const std::vector<AnomalyChange>& changes);

    Session& m_session;
    const std::unique_ptr<AnomalyEdits> m_edits;
    AnomalyOverlays& m_overlays;
    KV_StationItem m_current;
    std::vector<std::string> m_selectedNames; ///< also of stations that the table does not show
    ProjectSurroundings* m_surroundings;
    const std::unique_ptr<ShownStations> m_stations;
    AnomalyTableModel* m_model;
    AnomalyFilter* m_filter;
    AnomalyFilterBar* m_bar;
    AnomalyTableView* m_table;
    bool m_keepsSelection = false; ///< the rows follow m_selectedNames, not the other way round
    QTimer m_take;                 ///< many changes of the rows become one announcement
    QTimer m_show;                 ///< many changes on the globe become one of the rows
    QTimer m_reached;              ///< runs while the user walks quickly
};

} // namespace inspection
