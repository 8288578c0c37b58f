#include "workbench/inspectiondata/database/AnomalyChanges.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Schema.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace inspection {

namespace {

const mysqlhelper::KV_Record& rowOf(const RowChange& change) {
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): a change has at least one of them
    return change.after ? *change.after : *change.before;
}

bool isThere(const std::optional<mysqlhelper::KV_Record>& row) {
    return row && !isDeleted(*row);
}

AnomalyChange anomalyChange(const RowChange& change) {
    const auto& row = rowOf(change);
    AnomalyChange made;
    takeField(row, "station_id", made.stationId);
    made.anomaly = anomalyOf(row);
    made.isNew = !isThere(change.before);
    made.isGone = !isThere(change.after);
    made.isMarked = made.isGone && change.after;
    return made;
}

/// The database compares texts as UTF-8, byte by byte.
void sortByName(std::vector<SdiffData>& anomalies) {
    std::vector<std::pair<std::string, SdiffData>> named;
    named.reserve(anomalies.size());
    for (SdiffData& anomaly : anomalies) {
        std::string name = gbkToUtf8(anomaly.name);
        named.emplace_back(std::move(name), std::move(anomaly));
    }
    std::sort(named.begin(), named.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::transform(named.begin(), named.end(), anomalies.begin(),
                   [](auto& each) { return std::move(each.second); });
}

} // namespace

std::vector<AnomalyChange> anomalyChanges(const RowChanges& changes, std::int64_t comparisonId) {
    std::vector<AnomalyChange> last;
    std::map<std::int64_t, std::size_t> seen;
    for (auto change = changes.rbegin(); change != changes.rend(); ++change) {
        if (change->table != kAnomalyTable || comparisonOf(rowOf(*change)) != comparisonId) {
            continue;
        }
        const auto [found, isFirst] = seen.emplace(change->id, last.size());
        if (isFirst) {
            last.push_back(anomalyChange(*change));
        } else {
            last[found->second].isNew = last[found->second].isNew || !isThere(change->before);
        }
    }
    std::reverse(last.begin(), last.end());
    return last;
}

std::int64_t otherComparison(const RowChanges& changes, std::int64_t comparisonId) {
    const auto found = std::find_if(changes.begin(), changes.end(), [&](const RowChange& change) {
        return change.table == kAnomalyTable && comparisonOf(rowOf(change)) != comparisonId;
    });
    return found == changes.end() ? kNoComparison : comparisonOf(rowOf(*found));
}

std::map<std::uint32_t, std::vector<AnomalyChange>> byStation(const std::vector<AnomalyChange>& changes) {
    std::map<std::uint32_t, std::vector<AnomalyChange>> those;
    for (const AnomalyChange& change : changes) {
        those[change.stationId].push_back(change);
    }
    return those;
}

void applyChanges(const std::vector<AnomalyChange>& changes, std::uint32_t stationId,
                  std::vector<SdiffData>& anomalies) {
    std::map<std::int64_t, const AnomalyChange*> changed;
    for (const AnomalyChange& change : changes) {
        if (change.stationId == stationId) {
            changed.emplace(change.anomaly.id, &change);
        }
    }
    std::vector<SdiffData> kept;
    kept.reserve(anomalies.size() + changed.size());
    for (SdiffData& anomaly : anomalies) {
        const auto change = changed.find(anomaly.id);
        if (change == changed.end()) {
            kept.push_back(std::move(anomaly));
            continue;
        }
        if (!change->second->isGone) {
            kept.push_back(change->second->anomaly);
        }
        changed.erase(change);
    }
    const std::size_t known = kept.size();
    for (const auto& [id, change] : changed) {
        if (!change->isGone) {
            kept.push_back(change->anomaly);
        }
    }
    anomalies = std::move(kept);
    if (anomalies.size() != known) {
        sortByName(anomalies);
    }
}

} // namespace inspection
