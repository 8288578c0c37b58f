#pragma once

#include "host/inspection/AVWindow.h"
#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/KVImageWindow.h"
#include "host/inspection/ParaSet.h"
#include "host/inspection/StationWindow.h"
#include "tests/foreign/ForeignHost.h"

#include <QStringList>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

/// The windows and data sets of the foreign host. Each call is noted in ForeignHost::calls and must come on
/// the GUI thread. Only the linked table has the optional members.

class ForeignStations : public StationWindow {
public:
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

    KV_StationItem item;
    KV_StationItem second;                    ///< another station at the same place
    KV_StationItem elsewhere;                 ///< far away
    std::vector<KV_StationItem*> checkedOnes; ///< `item` alone, unless a test checks others
    bool isDiffShown = true;                  ///< what IsDiffChecked answers
};

class ForeignTable : public AVWindow {
public:
    KV_StationItem* GetCurrentItem() override;
    void SetCurrentItem(const KV_StationItem& item) override;
    void Refresh() override;
    void AddData() override;
    void SetSelectedbycoor(KV_StationItem* item, double x, double y) override;
    void SetItemAtrii(KV_StationItem* item, const std::vector<SdiffData>& anomalies) override;
    void DeleteItems(KV_StationItem* item, const std::vector<SdiffData>& anomalies) override;

    KV_StationItem current;
};

class ForeignLinkedTable : public ForeignTable {
    Q_OBJECT

public slots:
    void SetSelectedbyname(const QStringList& names);

signals:
    void selectionChanged(QStringList names);
};

class ForeignImages : public KVImageWindow {
public:
    void CreatZoomItem(KV_StationItem* item, const SdiffData& zoom) override;
};

class ForeignParameters : public ParaSet {
public:
    void OnSetPara() override;
    int GetOverlayMode() const override { return mode; }

    std::atomic<int> mode{0};
};

class ForeignDatabase : public PipelineDataSet {
public:
    bool GetConncetDBState(int connection) const override;
    std::string Gettablename(int type) const override;
    mysqlhelper::KV_MySQL* GetMySQL() override;

private:
    mysqlhelper::KV_MySQL m_connection{"memory"};
};

class ForeignScene : public OsgDataSet {
public:
    void addPipePoints(osg::Group* group, const Special_Point& point) override;
    void addPipeAreas(osg::Group* group, const Special_Area& area) override;
    void addPipePolygons(osg::Group*, const Special_Polygon&) override {}
    const PointMap& getPipePoints() const override { return m_points; }
    const AreaMap& getPipeAreas() const override { return m_areas; }
    const PolygonMap& getPipePolygons() const override { return m_polygons; }
    void UpdataPipePoint(osg::Group* group, const Special_Point& point) override { m_points[group] = point; }
    void UpdataPipeArea(osg::Group* group, const Special_Area& area) override { m_areas[group] = area; }
    void UpdataPipePolygon(osg::Group*, const Special_Polygon&) override {}
    void removePipeAreas(osg::Group* group) override { m_areas.erase(group); }
    void removePipePolygons(osg::Group* group) override { m_polygons.erase(group); }

private:
    PointMap m_points;
    AreaMap m_areas;
    PolygonMap m_polygons;
};

class ForeignContext : public IORVAContext, public DataSetManager {
public:
    /// What a host may have taken away.
    enum class Missing {
        Nothing,
        Context,
        Stations,
        Table,
        CurrentItem,
        Images,
        DataSets,
        Database,
        Connection,
        Parameters,
        Scene
    };

    static void prepare(const KV_Station& station, const std::vector<SdiffData>& anomalies);
    static void forget();
    /// Back to what it is at the beginning of each test.
    static void reset();

    static std::atomic<Missing> missing;
    static std::atomic<bool> hasLinkedTable;
    static ForeignStations& stations();
    static ForeignLinkedTable& linkedTable();
    static ForeignParameters& parameters();

    StationWindow* GetStationWindow() override;
    AVWindow* GetAVWindow() override;
    KVImageWindow* GetKVImageWindow() override;
    DataSetManager* GetDataSetManager() override { return missing == Missing::DataSets ? nullptr : this; }
    EditHistory* GetEditHistory() override;
    QWidget* GetMainWindow() override;
    DataSet* GetDataSet(int index) override;
};
