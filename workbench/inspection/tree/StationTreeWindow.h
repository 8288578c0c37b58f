#pragma once

#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <QColor>

#include <memory>
#include <set>
#include <utility>
#include <vector>

class QTreeWidgetItem;

namespace inspection {

class AnomalyOverlays;
class Session;
struct AnomalyChange;
class SpecialObjectNodes;
class SpecialObjects;
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
    /// Checks all stations that have results, and selects the whole line where there are any.
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
    /// Whether somebody has laid out other stations.
    bool hasOtherStations() const;
    KV_StationItem* item(std::uint32_t stationId) const;
    /// With its anomalies, which are not read before somebody asks for them.
    KV_StationItem* readItem(std::uint32_t stationId);
    /// Looks whether the station has a result.
    void noteComputed(std::uint32_t stationId);
    void showCount(std::uint32_t stationId, std::size_t anomalies);
    void showCounts();
    void showOverlays(const KV_StationItem& station);
    void refreshOverlays();
    /// Reads a station and its anomalies again.
    void refreshStation(std::uint32_t stationId);
    void showThose(const std::set<std::uint32_t>& stationIds);
    void applyTo(KV_StationItem& station, const std::vector<AnomalyChange>& changes);
    std::pair<QColor, QColor> colours() const;

    Session& m_session;
    AnomalyOverlays& m_overlays;
    StationTree* m_tree;
    SpecialObjects* m_objects;
    std::vector<std::unique_ptr<KV_StationItem>> m_items;
    /// Those before: a tool whose edit was answered with a message box may still hold them.
    std::vector<std::unique_ptr<KV_StationItem>> m_formerItems;
    std::set<std::uint32_t> m_read;           ///< stations whose anomalies have been read
    std::set<std::uint32_t> m_computed;       ///< stations with a result, also one without anomalies
    std::pair<QColor, QColor> m_shownColours; ///< of fill and cut, on the globe
};

} // namespace inspection
