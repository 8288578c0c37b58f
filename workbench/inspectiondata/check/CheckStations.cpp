#include "workbench/inspectiondata/check/CheckStations.h"

#include "detect/output/ParameterText.h"
#include "detect/output/SummaryFile.h"
#include "host/Gbk.h"
#include "host/inspection/Records.h"
#include "workbench/inspectiondata/check/RowCheck.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Histogram.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/TableCopy.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <set>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

constexpr auto kStations = "station";
constexpr auto kNodes = "pipe_node";

bool isProjectsReference(const ProjectDescription& project, const QString& definition) {
    const auto ours = referenceOf(project.crs);
    const auto its = referenceOf(definition);
    return definition == project.crs || (ours && its && sameReference(*ours, *its));
}

void checkStation(const ProjectDescription& project, RowCheck row) {
    row.expect(row.whole("id") > 0, QStringLiteral("编号不是正数"));
    row.expectText("name");
    row.expectFinite({"x_min", "y_min", "x_max", "y_max", "start_m", "end_m"});
    row.expect(row.number("x_min") < row.number("x_max") && row.number("y_min") < row.number("y_max"),
               QStringLiteral("范围为空"));
    row.expectOrder("start_m", "end_m");
    row.expect(isProjectsReference(project, fromGbk(row.text("srs"))),
               QStringLiteral("srs 不是项目的坐标系 %1").arg(project.crs));
}

/// Every epoch that has results is one of the project's.
std::set<std::int64_t> checkComparisons(const ProjectDescription& project, KV_MySQL& database,
                                        Findings& findings) {
    std::set<std::int64_t> known;
    for (const Comparison& comparison : readComparisons(database)) {
        known.insert(comparison.id);
        for (const QString& key : {comparison.pair.older, comparison.pair.newer}) {
            if (!project.findEpoch(key)) {
                findings.push_back(
                    {kComparisonTable,
                     QString::number(comparison.id) + QStringLiteral(" “%1”").arg(pairTitle(comparison.pair)),
                     QStringLiteral("项目中没有期次 %1").arg(key)});
            }
        }
    }
    return known;
}

void checkResult(const std::set<std::int64_t>& stations, const std::set<std::int64_t>& comparisons,
                 RowCheck row) {
    row.expect(stations.count(row.whole("station_id")) != 0, QStringLiteral("没有这个站段"));
    row.expect(comparisons.count(row.whole(kComparisonColumn)) != 0, QStringLiteral("没有这个对比"));
    row.expectTime("computed_at");
    row.expectFinite({"dx_m", "dy_m", "dz_m"});
    row.expectNotNegative({"threshold_m", "min_area_m2", "nmad_before_m", "nmad_after_m", "cells"});
    const QString method = fromGbk(row.text("coregistration"));
    row.expect(detect::methodNamed(method.toStdString()).has_value(),
               QStringLiteral("未知的配准方式“%1”").arg(method));
    if (row.has("summary")) {
        row.expect(detect::readSummary(gbkToUtf8(row.text("summary"))).has_value(),
                   QStringLiteral("summary 无法读取"));
    }
    if (row.has("stable_dz")) {
        row.expect(readHistogram(gbkToUtf8(row.text("stable_dz"))).has_value(),
                   QStringLiteral("stable_dz 无法读取"));
    }
}

void checkNode(RowCheck row) {
    row.expectPlace();
    row.expectFinite({"height_m"});
}

} // namespace

Findings checkStations(const ProjectDescription& project, KV_MySQL& database) {
    Findings findings;
    std::set<std::int64_t> stations;
    visitRows(database, {kStations, "id"}, [&](const KV_Record& row) {
        const RowCheck check(kStations, row, findings);
        stations.insert(check.whole("id"));
        checkStation(project, check);
        return true;
    });
    if (stations.empty()) {
        findings.push_back({kStations, QString(), QStringLiteral("没有站段")});
    }
    const std::set<std::int64_t> comparisons = checkComparisons(project, database, findings);
    visitRows(database, {kComparisonResultTable, "id"}, [&](const KV_Record& row) {
        checkResult(stations, comparisons, RowCheck(kComparisonResultTable, row, findings));
        return true;
    });
    visitRows(database, {kNodes, "id"}, [&](const KV_Record& row) {
        checkNode(RowCheck(kNodes, row, findings));
        return true;
    });
    return findings;
}

} // namespace inspection
