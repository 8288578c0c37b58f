#include "tests/foreign/ForeignWindows.h"

#include "host/Gbk.h"

namespace {

struct Parts {
    ForeignStations stations;
    ForeignTable table;
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
    return {&item};
}

bool ForeignStations::IsDiffChecked(const KV_StationItem*) const {
    ForeignHost::expectGui("IsDiffChecked");
    return true;
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
    return &current;
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
    note("SetItemAtrii " + fromGbk(anomalies.front().attribute) + ": " + namesOf(anomalies));
}

void ForeignTable::DeleteItems(KV_StationItem*, const std::vector<SdiffData>& anomalies) {
    note("DeleteItems " + namesOf(anomalies));
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

void ForeignScene::addPipePoints(osg::Group* group, const Special_Point& point) {
    ForeignHost::expectGui("addPipePoints");
    m_points[group] = point;
}

void ForeignScene::addPipeAreas(osg::Group* group, const Special_Area& area) {
    ForeignHost::expectGui("addPipeAreas");
    m_areas[group] = area;
}

void ForeignContext::prepare(const KV_Station& station, const std::vector<SdiffData>& anomalies) {
    parts = std::make_unique<Parts>();
    parts->stations.item = KV_StationItem(station);
    parts->stations.item.m_diffData.m_anomalies = anomalies;
}

void ForeignContext::forget() {
    parts.reset();
}

StationWindow* ForeignContext::GetStationWindow() {
    return &parts->stations;
}

AVWindow* ForeignContext::GetAVWindow() {
    return &parts->table;
}

KVImageWindow* ForeignContext::GetKVImageWindow() {
    return &parts->images;
}

DataSet* ForeignContext::GetDataSet(int index) {
    switch (index) {
    case PipelineDataSet::kIndex:
        return &parts->database;
    case ParaSet::kIndex:
        return &parts->parameters;
    case OsgDataSet::kIndex:
        return &parts->scene;
    default:
        return nullptr;
    }
}
