#include "workbench/inspectiondata/database/SheetColumns.h"

#include "host/Gbk.h"

#include <ogrsf_frmts.h>

#include <QString>
#include <QStringList>

#include <algorithm>

namespace inspection {

namespace {

constexpr auto kOutlineColumn = "outline_wkt"; // of the project's own tables

const QStringList kLongitudes{"lon", "longitude", "lng", "lon_deg", "经度"};
const QStringList kLatitudes{"lat", "latitude", "lat_deg", "纬度"};
const QStringList kEastings{"x", "east", "easting", "东坐标"};
const QStringList kNorthings{"y", "north", "northing", "北坐标"};
const QStringList kHeights{"z", "height", "height_m", "elevation", "高程"};

/// A column's name in both encodings in which it may stand in the file.
std::string option(const QStringList& names) {
    std::string text;
    for (const QString& name : names) {
        text += (text.empty() ? "" : ",") + name.toStdString();
        text += name.front().unicode() < 0x80 ? "" : ',' + toGbk(name);
    }
    return text;
}

bool hasColumn(OGRLayer& layer, const QStringList& names) {
    OGRFeatureDefn& columns = *layer.GetLayerDefn();
    return std::any_of(names.begin(), names.end(), [&columns](const QString& name) {
        return columns.GetFieldIndex(name.toUtf8().constData()) >= 0 ||
               columns.GetFieldIndex(toGbk(name).c_str()) >= 0;
    });
}

} // namespace

CPLStringList sheetColumns(SheetPlaces places) {
    CPLStringList options;
    if (places == SheetPlaces::OutlinesOnly) {
        options.AddNameValue("GEOM_POSSIBLE_NAMES",
                             (std::string("wkt,geometry,geom,") + kOutlineColumn).c_str());
        return options;
    }
    options.AddNameValue("GEOM_POSSIBLE_NAMES", "wkt,geometry,geom");
    options.AddNameValue("X_POSSIBLE_NAMES", option(kLongitudes + kEastings).c_str());
    options.AddNameValue("Y_POSSIBLE_NAMES", option(kLatitudes + kNorthings).c_str());
    options.AddNameValue("Z_POSSIBLE_NAMES", option(kHeights).c_str());
    return options;
}

bool hasDegreeColumns(OGRLayer& layer) {
    return (wkbFlatten(layer.GetGeomType()) == wkbPoint && hasColumn(layer, kLongitudes) &&
            hasColumn(layer, kLatitudes)) ||
           QLatin1String(layer.GetGeometryColumn()) == QLatin1String(kOutlineColumn);
}

} // namespace inspection
