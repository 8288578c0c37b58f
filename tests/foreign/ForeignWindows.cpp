#include "tests/foreign/ForeignWindows.h"

#include "host/Gbk.h"

namespace {

struct Parts {
    ForeignStations stations;
    ForeignTable table;
    ForeignLinkedTable linkedTable;
    ForeignImages images;
    ForeignParameters parameters;
    ForeignDatabase database;
    ForeignScene scene;
};

std::unique_ptr<Parts> parts;

void note(const QString& call) {
    ForeignHost::expectGui(call.toUtf8().constData());
    ForeignHost::instance().calls << call;
}

QString namesOf(const std::vector<SdiffData>& anomalies) {
    QStringList names;
    for (const SdiffData& anomaly : anomalies) {
        names << fromGbk(anomaly.name);
    }
    names.sort();
    return names.join(' ');
}

} // namespace

void ForeignStations::PickCurrentShowItemsDiff() {
    note("PickCurrentShowItemsDiff");
}

void ForeignStations::OutPutReport() {
    note("OutPutReport");
}

void ForeignStations::OutPutShap() {
    note("OutPutShap");
}

std::vector<KV_StationItem*> ForeignStations::GetSelectedStationItem() {
    ForeignHost::expectGui("GetSelectedStationItem");
    return checkedOnes;
}

bool ForeignStations::IsDiffChecked(const KV_StationItem*) const {
    ForeignHost::expectGui("IsDiffChecked");
    return isDiffShown;
}

bool ForeignStations::SetcurrentdiffSelected(KV_StationItem*) {
    ForeignHost::expectGui("SetcurrentdiffSelected");
    return true;
}

bool ForeignStations::isReiterated_node(const QString&) const {
    ForeignHost::expectGui("isReiterated_node");
    return false;
}

bool ForeignStations::AddPointNode(const Special_Point& point) {
    note("AddPointNode " + fromGbk(point.GetName()));
    return true;
}

bool ForeignStations::AddAreaNode(const Special_Polygon& area) {
    note(QString("AddAreaNode %1 %2").arg(fromGbk(area.GetName())).arg(area.m_vertices.size()));
    return true;
}

bool ForeignStations::DeleteNode(const QString& name, int) {
    note("DeleteNode " + name);
    return true;
}

bool ForeignStations::UpdataNode(const Special_Polygon&, const std::string&) {
    return false;
}

bool ForeignStations::UpdataNode(const Special_Area& area, const std::string& oldName) {
    note("UpdataNode " + fromGbk(oldName) + " " + fromGbk(area.GetName()));
    return true;
}

bool ForeignStations::UpdataNode(const Special_Point& point, const std::string& oldName) {
    note("UpdataNode " + fromGbk(oldName) + " " + fromGbk(point.GetName()));
    return true;
}

KV_StationItem* ForeignTable::GetCurrentItem() {
    ForeignHost::expectGui("GetCurrentItem");
    return ForeignContext::missing == ForeignContext::Missing::CurrentItem ? nullptr : &current;
}

void ForeignTable::SetCurrentItem(const KV_StationItem& item) {
    ForeignHost::expectGui("SetCurrentItem");
    current = item;
}

void ForeignTable::Refresh() {
    ForeignHost::expectGui("Refresh");
}

void ForeignTable::AddData() {
    ForeignHost::expectGui("AddData");
}

void ForeignTable::SetSelectedbycoor(KV_StationItem*, double, double) {
    note("SetSelectedbycoor");
}

void ForeignTable::SetItemAtrii(KV_StationItem*, const std::vector<SdiffData>& anomalies) {
    const QString attribute = anomalies.empty() ? QString() : fromGbk(anomalies.front().attribute);
    note("SetItemAtrii " + attribute + ": " + namesOf(anomalies));
}

void ForeignTable::DeleteItems(KV_StationItem*, const std::vector<SdiffData>& anomalies) {
    note("DeleteItems " + namesOf(anomalies));
}

void ForeignLinkedTable::SetSelectedbyname(const QStringList& names) {
    note("SetSelectedbyname " + names.join(' '));
}

void ForeignImages::CreatZoomItem(KV_StationItem*, const SdiffData&) {
    note("CreatZoomItem");
}

void ForeignParameters::OnSetPara() {
    note("OnSetPara");
}

bool ForeignDatabase::GetConncetDBState(int) const {
    ForeignHost::expectGui("GetConncetDBState");
    return true;
}

std::string ForeignDatabase::Gettablename(int) const {
    ForeignHost::expectGui("Gettablename");
    return "rows";
}

mysqlhelper::KV_MySQL* ForeignDatabase::GetMySQL() {
    ForeignHost::expectGui("GetMySQL");
    return ForeignContext::missing == ForeignContext::Missing::Connection ? nullptr : &m_connection;
}

void ForeignScene::addPipePoints(osg::Group* group, const Special_Point& point) {
    ForeignHost::expectGui("addPipePoints");
    m_points[group] = point;
}

void ForeignScene::addPipeAreas(osg::Group* group, const Special_Area& area) {
    ForeignHost::expectGui("addPipeAreas");
    m_areas[group] = area;
}

std::atomic<ForeignContext::Missing> ForeignContext::missing{Missing::Nothing};
std::atomic<bool> ForeignContext::hasLinkedTable{false};

void ForeignContext::prepare(const KV_Station& station, const std::vector<SdiffData>& anomalies) {
    parts = std::make_unique<Parts>();
    const auto make = [&](std::uint32_t id, double east) {
        KV_Station moved = station;
        moved.m_id = id;
        moved.m_xMin += east;
        moved.m_xMax += east;
        KV_StationItem item(moved);
        item.m_diffData.m_anomalies = anomalies;
        return item;
    };
    constexpr double kFarMetres = 1.0e5;
    parts->stations.item = make(station.m_id, 0.0);
    parts->stations.second = make(station.m_id + 1, 0.0);
    parts->stations.elsewhere = make(station.m_id + 2, kFarMetres);
    reset();
}

void ForeignContext::forget() {
    parts.reset();
}

void ForeignContext::reset() {
    missing = Missing::Nothing;
    hasLinkedTable = false;
    parts->stations.checkedOnes = {&parts->stations.item};
    parts->stations.isDiffShown = true;
    parts->table.current = KV_StationItem();
    parts->linkedTable.current = KV_StationItem();
    parts->parameters.mode = 0;
}

ForeignStations& ForeignContext::stations() {
    return parts->stations;
}

ForeignLinkedTable& ForeignContext::linkedTable() {
    return parts->linkedTable;
}

ForeignParameters& ForeignContext::parameters() {
    return parts->parameters;
}

StationWindow* ForeignContext::GetStationWindow() {
    ForeignHost::expectGui("GetStationWindow");
    return missing == Missing::Stations ? nullptr : &parts->stations;
}

AVWindow* ForeignContext::GetAVWindow() {
    ForeignHost::expectGui("GetAVWindow");
    if (missing == Missing::Table) {
        return nullptr;
    }
    return hasLinkedTable ? &parts->linkedTable : &parts->table;
}

KVImageWindow* ForeignContext::GetKVImageWindow() {
    ForeignHost::expectGui("GetKVImageWindow");
    return missing == Missing::Images ? nullptr : &parts->images;
}

EditHistory* ForeignContext::GetEditHistory() {
    ForeignHost::expectGui("GetEditHistory");
    return nullptr;
}

QWidget* ForeignContext::GetMainWindow() {
    ForeignHost::expectGui("GetMainWindow");
    return nullptr;
}

DataSet* ForeignContext::GetDataSet(int index) {
    if (index == ParaSet::kIndex) { // the only one that the frames may ask for
        return missing == Missing::Parameters ? nullptr : &parts->parameters;
    }
    ForeignHost::expectGui("GetDataSet");
    switch (index) {
    case PipelineDataSet::kIndex:
        return missing == Missing::Database ? nullptr : &parts->database;
    case OsgDataSet::kIndex:
        return missing == Missing::Scene ? nullptr : &parts->scene;
    default:
        return nullptr;
    }
}
