#include "workbench/inspectiondata/check/CheckAnomalies.h"

#include "workbench/inspectiondata/check/RowCheck.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/database/TableCopy.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"

#include <algorithm>
#include <set>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

/// What the rows of the table are compared with.
struct Others {
    std::int64_t newestRevision = 0;
    std::set<std::int64_t> stations;
    std::set<std::int64_t> comparisons;
    std::set<std::string> names; ///< of the anomalies before
};

/// True where a bound lacks, too: that is a finding of its own.
bool isInBounds(const RowCheck& row, const osg::Vec3d& vertex) {
    constexpr double kRoundingMetres = 0.001;
    const auto isOut = [&](double value, const char* lower, const char* upper) {
        return value < row.number(lower) - kRoundingMetres || value > row.number(upper) + kRoundingMetres;
    };
    return !isOut(vertex.x(), "x_min", "x_max") && !isOut(vertex.y(), "y_min", "y_max");
}

void checkOutline(RowCheck& row) {
    constexpr std::size_t kFewestVertices = 3;
    const auto outline = outlineVertices(row.text("outline_wkt"));
    row.expect(outline.size() >= kFewestVertices, QStringLiteral("outline_wkt 不是多边形"));
    row.expect(std::all_of(outline.begin(), outline.end(),
                           [&row](const osg::Vec3d& vertex) { return isInBounds(row, vertex); }),
               QStringLiteral("outline_wkt 超出 x_min、y_min、x_max、y_max 的范围"));
}

/// For each field of that sort that holds a value or has to.
template<typename Expectation>
void forEachField(const RowCheck& row, AnomalyField::Sort sort, const Expectation& expectation) {
    for (const AnomalyField& field : kAnomalyFields) {
        if (field.sort == sort && (!field.mayLack() || row.has(field.name))) {
            expectation(field.name);
        }
    }
}

void checkFigures(RowCheck& row) {
    using Sort = AnomalyField::Sort;
    forEachField(row, Sort::Size, [&](const char* column) { row.expectNotNegative({column}); });
    forEachField(row, Sort::Share, [&](const char* column) { row.expectWithin(column, 0.0, 1.0); });
    forEachField(row, Sort::Difference, [&](const char* column) { row.expectFinite({column}); });
    row.expectOrder("dz_min_m", "dz_max_m");
    row.expectBetween("dz_min_m", "dz_mean_m", "dz_max_m");
}

void checkPlace(RowCheck& row) {
    forEachField(row, AnomalyField::Sort::Position, [&](const char* column) { row.expectFinite({column}); });
    row.expectBetween("x_min", "x", "x_max");
    row.expectBetween("y_min", "y", "y_max");
    row.expectPlace();
    checkOutline(row);
}

void checkAnomaly(Others& others, RowCheck row) {
    const std::string kind = row.text("kind");
    row.expect(kind == kindCode(true) || kind == kindCode(false),
               QStringLiteral("kind 既不是 fill 也不是 cut"));
    row.expect(others.stations.count(row.whole("station_id")) != 0,
               [&] { return QStringLiteral("没有站段 %1").arg(row.whole("station_id")); });
    row.expect(others.comparisons.count(row.whole(kComparisonColumn)) != 0,
               [&] { return QStringLiteral("没有对比 %1").arg(row.whole(kComparisonColumn)); });
    row.expectText("name");
    row.expect(others.names.insert(row.text("name")).second, QStringLiteral("名称重复"));
    row.expectVersion(others.newestRevision);
    const std::int64_t mark = row.whole(kDeletedColumn);
    row.expect(mark == 0 || mark == 1, QStringLiteral("is_deleted 既不是 0 也不是 1"));
    checkPlace(row);
    checkFigures(row);
}

} // namespace

Findings checkAnomalies(KV_MySQL& database) {
    Findings findings;
    Others others;
    others.newestRevision = readRevision(database);
    for (const KV_Station& station : readStations(database)) {
        others.stations.insert(station.m_id);
    }
    for (const Comparison& comparison : readComparisons(database)) {
        others.comparisons.insert(comparison.id);
    }
    visitRows(database, {kAnomalyTable, "id"}, [&](const KV_Record& row) {
        checkAnomaly(others, RowCheck(kAnomalyTable, row, findings));
        return true;
    });
    return findings;
}

} // namespace inspection
