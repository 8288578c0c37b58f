#pragma once

#include "host/Export.h"
#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

/// Rows of table "comparison": the pairs of epochs that have results. Results and anomalies belong to one of
/// them by its id. Every function throws KV_MySQL_Exception when the database refuses, and has no transaction
/// of its own.
namespace inspection {

/// Column of the tables whose rows belong to a comparison.
constexpr auto kComparisonColumn = "comparison_id";
/// The id that no comparison has.
constexpr std::int64_t kNoComparison = 0;

/// A comparison and what it holds.
struct Comparison {
    std::int64_t id = kNoComparison;
    EpochPair pair;
    QString computedAt; ///< ISO date and time, UTC, of its newest result; empty without one
    std::int64_t stations = 0;
    std::int64_t anomalies = 0;
    std::int64_t judged = 0;  ///< anomalies with a verdict
    std::int64_t deleted = 0; ///< anomalies that an inspector has deleted; not among the others
};

/// kNoComparison while the pair was never computed.
INSPECTIONDATA_API std::int64_t findComparison(mysqlhelper::KV_MySQL& database, const EpochPair& pair);
/// The same; makes the row where there is none.
INSPECTIONDATA_API std::int64_t needComparison(mysqlhelper::KV_MySQL& database, const EpochPair& pair);
/// The pair of a comparison; nothing when there is none of that id.
INSPECTIONDATA_API std::optional<EpochPair> readComparedPair(mysqlhelper::KV_MySQL& database,
                                                             std::int64_t comparisonId);
/// All of them by id.
INSPECTIONDATA_API std::vector<Comparison> readComparisons(mysqlhelper::KV_MySQL& database);

/// The comparison that a row of table "anomaly" belongs to.
std::int64_t comparisonOf(const mysqlhelper::KV_Record& row);

/// Removes a comparison with its results and anomalies.
void deleteComparison(mysqlhelper::KV_MySQL& database, std::int64_t comparisonId);

} // namespace inspection
