#include "workbench/inspectiondata/check/CheckSpecialObjects.h"

#include "host/inspection/Records.h"
#include "workbench/inspectiondata/check/RowCheck.h"
#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/TableCopy.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

/// Areas across the antimeridian go beyond 180 degrees, see SpecialObjectShapes.h.
constexpr double kMostAreaLongitudeDegrees = 360.0;

bool isOnEarth(const osg::Vec3d& vertex) {
    constexpr double kMostLatitudeDegrees = 90.0;
    return std::abs(vertex.x()) <= kMostAreaLongitudeDegrees &&
           std::abs(vertex.y()) <= kMostLatitudeDegrees && std::isfinite(vertex.z());
}

void checkLook(RowCheck& row) {
    for (const char* channel :
         {"fill_red", "fill_green", "fill_blue", "border_red", "border_green", "border_blue", "opacity"}) {
        row.expectWithin(channel, 0.0, 1.0);
    }
    row.expectWithin("level", 0.0, 5.0);
    row.expectNotNegative({"border_width_px"});
}

void checkArea(RowCheck& row) {
    row.expectPlace(kMostAreaLongitudeDegrees);
    const auto vertices = outlineVertices(row.text("outline_wkt"));
    row.expect(!vertices.empty(), QStringLiteral("outline_wkt 不是多边形或没有顶点"));
    row.expect(std::all_of(vertices.begin(), vertices.end(), isOnEarth),
               QStringLiteral("outline_wkt 的坐标超出范围"));
    checkLook(row);
}

/// Names and the table that holds each.
using Names = std::map<std::string, std::string>;

void checkName(Names& names, const std::string& table, RowCheck& row) {
    row.expectText("name");
    const auto [earlier, isNew] = names.insert({row.text("name"), table});
    const std::string& holder = earlier->second;
    row.expect(isNew,
               [&] { return QStringLiteral("名称重复，%1 中已有").arg(QString::fromStdString(holder)); });
}

} // namespace

Findings checkSpecialObjects(KV_MySQL& database) {
    Findings findings;
    Names names;
    const std::int64_t newestRevision = readRevision(database);
    for (const int type : {KV_SPECIAL_POINT, KV_SPECIAL_AREA, KV_HIGH_CONSEQUENCE_AREA}) {
        const std::string table = tableName(type);
        visitRows(database, {table, "id"}, [&](const KV_Record& record) {
            RowCheck row(table.c_str(), record, findings);
            checkName(names, table, row);
            row.expectVersion(newestRevision);
            row.expectFinite({"height_m"});
            if (type == KV_SPECIAL_POINT) {
                row.expectPlace();
            } else {
                checkArea(row);
            }
            return true;
        });
    }
    return findings;
}

} // namespace inspection
