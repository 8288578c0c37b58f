#include "anomaly/StationScan.h"

#include "anomaly/Selection.h"
#include "host/inspection/Records.h"
#include "host/inspection/StationWindow.h"
#include "plugin/Globe.h"
#include "plugin/Inspection.h"

#include <osgEarth/GeoData>
#include <osgEarth/SpatialReference>

#include <algorithm>
#include <iostream>
#include <optional>
#include <unordered_set>

namespace {

std::optional<osg::Vec3d> toStationSystem(const KV_Station& station, const osg::Vec3d& world) {
    const osgEarth::MapNode* mapNode = globeMapNode();
    if (!mapNode || station.m_srs.empty()) {
        return std::nullopt;
    }
    const osg::ref_ptr<osgEarth::SpatialReference> stationSrs =
        osgEarth::SpatialReference::create(station.m_srs);
    osgEarth::GeoPoint point;
    if (!stationSrs || !point.fromWorld(mapNode->getMapSRS(), world) || !point.makeGeographic()) {
        return std::nullopt;
    }
    const osgEarth::GeoPoint inStation = point.transform(stationSrs);
    if (!inStation.isValid()) {
        return std::nullopt;
    }
    return inStation.vec3d();
}

anomaly::Box boundsOf(const KV_Station& station) {
    return {station.m_xMin, station.m_yMin, station.m_xMax, station.m_yMax};
}

/// Takes those items out of the list, from there on, that the host no longer has.
void dropVanished(std::vector<KV_StationItem*>& items, std::size_t from) {
    const std::vector<KV_StationItem*> now = selectedItems();
    const std::unordered_set<const KV_StationItem*> there(now.begin(), now.end());
    const auto isGone = [&there](const KV_StationItem* item) { return there.count(item) == 0; };
    const auto rest = items.begin() + static_cast<std::ptrdiff_t>(from);
    items.erase(std::remove_if(rest, items.end(), isGone), items.end());
}

} // namespace

std::vector<KV_StationItem*> selectedItems() {
    StationWindow* window = stationWindow();
    return window ? window->GetSelectedStationItem() : std::vector<KV_StationItem*>();
}

bool LoadStationRecord(const KV_StationItem& item, int tableKind, KV_Station& station) {
    auto* pipeline = dataSet<PipelineDataSet>();
    if (!pipeline || !pipeline->GetConncetDBState() || !pipeline->GetMySQL()) {
        return false;
    }
    const std::string table = pipeline->Gettablename(KV_STATION);
    if (table.empty()) {
        return false;
    }
    const std::string condition = "where id=" + std::to_string(item.GetStationId());
    try {
        const mysqlhelper::KV_Rows rows =
            pipeline->GetMySQL()->queryRecord("select * from " + table + " " + condition);
        if (rows.empty()) {
            return false;
        }
        station.m_tableKind = tableKind;
        station.init_from_sqldata(rows.front());
        return true;
    } catch (const mysqlhelper::KV_MySQL_Exception& error) {
        std::cout << error.what() << std::endl;
        return false;
    }
}

void FindItemAtPoint(
    std::vector<KV_StationItem*> items, // NOLINT(performance-unnecessary-value-param): a copy
    const osg::Vec3d& world, const StationVisitor& visit) {
    for (std::size_t index = 0; index < items.size(); ++index) {
        KV_StationItem* item = items[index];
        const StationWindow* window = stationWindow();
        KV_Station station;
        if (!window || !window->IsDiffChecked(item) || !LoadStationRecord(*item, KV_STATION, station)) {
            continue;
        }
        item->readdom();
        const std::optional<osg::Vec3d> point = toStationSystem(station, world);
        if (!point || !anomaly::liesStrictlyInside(boundsOf(item->m_station), {point->x(), point->y()})) {
            continue;
        }
        if (!visit(*item, station, point->x(), point->y())) {
            return;
        }
        dropVanished(items, index + 1);
    }
}
