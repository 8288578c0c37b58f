#pragma once

#include "host/inspection/Station.h"

#include <osg/Vec3d>

#include <functional>
#include <vector>

/// Fills `station` with the stored record of the item's station. `tableKind` is the object type code of the
/// table that the record is then said to come from. False without a database or a record; an exception of the
/// database is printed.
bool LoadStationRecord(const KV_StationItem& item, int tableKind, KV_Station& station);

/// The stations whose anomalies may be worked on, as the host has them now.
std::vector<KV_StationItem*> selectedItems();

/// What to do with an item that contains the point. (x, y) is the point in the station's reference system;
/// true goes on to the next item.
using StationVisitor =
    std::function<bool(KV_StationItem& item, const KV_Station& station, double x, double y)>;

/// Visits, in order, the items whose anomalies are shown and whose bounds contain the world point.
/// `world` is geocentric, in metres. The item's bounds are brought up to date first. A
/// visitor that opens a menu or asks a question lets everything happen meanwhile: the list is a copy, because
/// the tool's own may be cleared, and an item that has gone with its project is not visited.
void FindItemAtPoint(std::vector<KV_StationItem*> items, const osg::Vec3d& world,
                     const StationVisitor& visit);
