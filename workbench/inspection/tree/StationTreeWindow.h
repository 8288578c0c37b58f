#pragma once

#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <memory>
#include <set>
#include <vector>

class QTreeWidgetItem;
class SearchField;

namespace inspection {

class AnomalyOverlays;
class Session;
struct AnomalyChange;
class SpecialObjectNodes;
class SpecialObjects;
class StationOverlays;
class StationRecords;
class StationTree;
struct StationChoice;

/// The tree of stations and special objects of the open project. A checked station is shown on the globe and
/// taken for work. GUI thread.
class StationTreeWindow : public StationWindow {
    Q_OBJECT

public:
    /// All three must outlive the window.
    StationTreeWindow(Session& session, AnomalyOverlays& overlays, SpecialObjectNodes& objectNodes,
                      QWidget* parent = nullptr);
    ~StationTreeWindow() override;

    void PickCurrentShowItemsDiff() override;
    void OutPutReport() override;
    void OutPutShap() override;

    std::vector<KV_StationItem*> GetSelectedStationItem() override;
    bool IsDiffChecked(const KV_StationItem* item) const override;
    bool SetcurrentdiffSelected(KV_StationItem* item) override;

    bool isReiterated_node(const QString& name) const override;
    bool AddPointNode(const Special_Point& point) override;
    bool AddAreaNode(const Special_Polygon& area) override;
    bool DeleteNode(const QString& name, int type) override;
    bool UpdataNode(const Special_Polygon& polygon, const std::string& oldName) override;
    bool UpdataNode(const Special_Area& area, const std::string& oldName) override;
    bool UpdataNode(const Special_Point& point, const std::string& oldName) override;

    StationChoice choice() const;
    /// Names that there are no more are passed over.
    void setChoice(const StationChoice& choice);

public slots:
    /// Selects the special object of that name, as the one that the user works on; an unknown name changes
    /// nothing.
    void SelectNode(const QString& name);
    /// Selects the stations of the anomalies of these names, among those that have been read
    /// and still can be; without any nothing changes.
    void chooseStationsOf(const QStringList& anomalyNames);
    /// Checks that station, so that its anomalies are on the globe.
    void check(std::uint32_t stationId);
    /// Checks the stations that have results, from the first on as many as have some ten thousand anomalies, and
    /// selects them; the whole line where these are all.
    void checkComputed();
    /// Fills the tree from the project's database.
    void load();
    void clear();
    /// Shows rows that have changed, also on the globe. What is `Followed` becomes the current entry.
    void applyRows(const RowChanges& changes, Showing showing);
    /// Reads all rows again. What is checked stays.
    void reload();
    /// The same with the anomalies only, for another pair of epochs.
    void reloadAnomalies();
    /// Shows the anomalies of the checked stations anew when the project has other colours for them now.
    void recolourOverlays();

signals:
    /// The user looks at other stations, or their anomalies are new. Empty when the tree was emptied.
    void stationsChosen(const std::vector<KV_StationItem*>& items);
    /// Overlays of a station are on the globe, new ones in place of old ones.
    void overlaysShown();

private slots:
    void ChangeStationStates(QTreeWidgetItem* item, int column);
    void changeCurrent(QTreeWidgetItem* item);
    void announceChosen();
    void flyToItem(QTreeWidgetItem* item);
    void takeResults(const std::vector<std::uint32_t>& stationIds);

private:
    void build();
    void loadStations();
    void applySearch();
    /// Whether somebody has laid out other stations.
    bool hasOtherStations() const;
    QString countText(std::uint32_t stationId, std::size_t anomalies) const;
    void showCounts();
    void refreshOverlays();
    /// The first of them, not many more than have kMostAtFirst anomalies.
    std::vector<std::uint32_t> firstOf(const std::vector<std::uint32_t>& stationIds) const;
    void showThose(const std::set<std::uint32_t>& stationIds);
    /// Shows a ticked station anew where the changes have brought anomalies back.
    void showGrown(const KV_StationItem& station, const std::vector<AnomalyChange>& changes);

    Session& m_session;
    AnomalyOverlays& m_globe;
    const std::unique_ptr<StationRecords> m_records;
    const std::unique_ptr<StationOverlays> m_overlays;
    StationTree* m_tree;
    SearchField* m_search;
    SpecialObjects* m_objects;
};

} // namespace inspection
