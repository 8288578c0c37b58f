#include "workbench/inspectiondata/amendment/ResultChange.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/amendment/RasterPatchwork.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/project/ReferredFiles.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <map>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;
using mysqlhelper::KV_Rows;

namespace {

// So much ground around a station is kept, for anomalies that reach over its edge.
constexpr double kMarginMetres = 100.0;

detect::Box boxOf(const KV_Station& station) {
    return {station.m_xMin, station.m_yMin, station.m_xMax, station.m_yMax};
}

double area(const detect::Box& box) {
    return std::max(0.0, box.xMax - box.xMin) * std::max(0.0, box.yMax - box.yMin);
}

detect::Box common(const detect::Box& a, const detect::Box& b) {
    return {std::max(a.xMin, b.xMin), std::max(a.yMin, b.yMin), std::min(a.xMax, b.xMax),
            std::min(a.yMax, b.yMax)};
}

bool isSame(const detect::Box& a, const detect::Box& b) {
    const double overlap = area(common(a, b));
    constexpr double kSquareMillimetre = 1e-6;
    return area(a) - overlap < kSquareMillimetre && area(b) - overlap < kSquareMillimetre;
}

/// How much of a box lies in none of the others from the one of that index on.
double uncovered(const detect::Box& box, const std::vector<detect::Box>& others, std::size_t first = 0) {
    while (first < others.size() && area(common(box, others[first])) <= 0.0) {
        ++first;
    }
    if (area(box) <= 0.0 || first == others.size()) {
        return area(box);
    }
    const detect::Box hole = common(box, others[first]);
    double rest = 0.0;
    for (const detect::Box& part : {detect::Box{box.xMin, box.yMin, hole.xMin, box.yMax},
                                    detect::Box{hole.xMax, box.yMin, box.xMax, box.yMax},
                                    detect::Box{hole.xMin, box.yMin, hole.xMax, hole.yMin},
                                    detect::Box{hole.xMin, hole.yMax, hole.xMax, box.yMax}}) {
        rest += uncovered(part, others, first + 1);
    }
    return rest;
}

/// What was computed of a station that there was.
struct Part {
    detect::Box box;
    KV_Record row;
    std::int64_t comparison = kNoComparison;
    std::uint32_t station = 0;
};

std::vector<Part> partsOf(const KV_Rows& rows, const StationChange& change) {
    std::vector<Part> parts;
    for (const KV_Record& row : rows) {
        Part part;
        part.row = row;
        part.row.erase("id");
        part.comparison = comparisonOf(row);
        takeField(row, "station_id", part.station);
        const auto station = std::find_if(change.before.begin(), change.before.end(),
                                          [&](const KV_Station& each) { return each.m_id == part.station; });
        if (station != change.before.end()) {
            part.box = boxOf(*station);
            parts.push_back(std::move(part));
        }
    }
    return parts;
}

QString textOf(const KV_Record& row, const char* column) {
    std::string text;
    takeField(row, column, text);
    return fromGbk(text);
}

/// The parts of a new station's ground in one comparison, the largest one first.
std::vector<const Part*> partsOn(const detect::Box& box, std::int64_t comparison,
                                 const std::vector<Part>& parts) {
    std::vector<const Part*> found;
    for (const Part& part : parts) {
        if (part.comparison == comparison && area(common(part.box, box)) > 0.0) {
            found.push_back(&part);
        }
    }
    std::stable_sort(found.begin(), found.end(), [&box](const Part* a, const Part* b) {
        return area(common(a->box, box)) > area(common(b->box, box));
    });
    return found;
}

bool isPartly(const detect::Box& box, const std::vector<const Part*>& parts) {
    constexpr double kLeastShare = 0.001; // less is the rounding of boxes to each other
    std::vector<detect::Box> boxes;
    std::transform(parts.begin(), parts.end(), std::back_inserter(boxes),
                   [](const Part* part) { return part->box; });
    return uncovered(box, boxes) > kLeastShare * area(box);
}

/// One row without its raster.
KV_Record rowOf(const KV_Station& station, const std::vector<const Part*>& parts) {
    KV_Record row = parts.front()->row;
    row["station_id"] = std::int64_t{station.m_id};
    QString oldest = textOf(row, "computed_at");
    for (const Part* part : parts) {
        oldest = std::min(oldest, textOf(part->row, "computed_at"));
    }
    row["computed_at"] = toGbk(oldest);
    return row;
}

/// Makes the raster of a new station's result and names it in the row.
using RasterMaker = std::function<Status(const KV_Station& station, const std::vector<const Part*>& parts,
                                         double done, KV_Record& row)>;

/// The part's raster; empty where it has none.
QString rasterOf(const ProjectDescription& project, const Part& part) {
    const QString name = textOf(part.row, "dz_raster");
    return project.resultFile(name);
}

bool isAbsent(const ProjectDescription& project, const std::vector<const Part*>& parts) {
    return std::any_of(parts.begin(), parts.end(), [&project](const Part* part) {
        const QString raster = rasterOf(project, *part);
        return !raster.isEmpty() && !QFileInfo::exists(raster);
    });
}

Result<ResultChange> changedResults(const ProjectDescription& project, KV_MySQL& database,
                                    const StationChange& change, const RasterMaker& makeRaster) {
    ResultChange results;
    results.before = database.queryRecord("select * from comparison_result order by id");
    const std::vector<Part> parts = partsOf(results.before, change);
    for (const Part& part : parts) {
        if (const auto rest = change.outside.find(part.station); rest != change.outside.end()) {
            KV_Record row = part.row;
            row["station_id"] = std::int64_t{rest->second};
            results.after.push_back(std::move(row));
        }
    }
    std::set<std::int64_t> comparisons;
    for (const Part& part : parts) {
        comparisons.insert(part.comparison);
    }
    for (std::size_t i = 0; i < change.laidOut; ++i) {
        const KV_Station& station = change.after[i];
        for (const std::int64_t comparison : comparisons) {
            auto found = partsOn(boxOf(station), comparison, parts);
            if (!found.empty() && isSame(found.front()->box, boxOf(station))) {
                found.resize(1); // the whole result, under another station
            }
            if (change.kept.count(station.m_id) != 0 || found.empty()) {
                continue;
            }
            KV_Record row = rowOf(station, found);
            if (auto made = makeRaster(station, found, double(i) / double(change.laidOut), row); !made) {
                return failed(made);
            }
            results.after.push_back(std::move(row));
            results.partly += isPartly(boxOf(station), found) ? 1 : 0;
            results.absent += isAbsent(project, found) ? 1 : 0;
        }
    }
    return results;
}

} // namespace

Result<ResultChange> planResults(const ProjectDescription& project, KV_MySQL& database,
                                 const StationChange& change, NewFiles& files,
                                 const std::function<bool(double fraction)>& progress) {
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    return changedResults(
        project, database, change,
        [&](const KV_Station& station, const std::vector<const Part*>& parts, double done,
            KV_Record& row) -> Status {
            if (!progress(done)) {
                return cancelled();
            }
            if (parts.size() == 1 && isSame(parts.front()->box, boxOf(station))) {
                return {};
            }
            QStringList sources;
            for (const Part* part : parts) {
                const QString name = textOf(part->row, "dz_raster");
                const QString file = project.resultFile(name);
                // It may lie in the folder of another inspector, and be that of several stations.
                if (!sources.contains(file) && openResultRaster(file)) {
                    sources << file;
                }
            }
            row["dz_raster"] = std::string();
            row["cells"] = std::int64_t{0};
            if (sources.isEmpty()) {
                return {};
            }
            const QString file = QStringLiteral("%1/dz-%2-%3.tif")
                                     .arg(project.stationFolder(station.m_id), stamp)
                                     .arg(parts.front()->comparison);
            if (auto added = files.add(file); !added) {
                return added;
            }
            const detect::Box wide{station.m_xMin - kMarginMetres, station.m_yMin - kMarginMetres,
                                   station.m_xMax + kMarginMetres, station.m_yMax + kMarginMetres};
            const auto cells =
                writePatchwork(sources, wide, file, [&](double /*part*/) { return progress(done); });
            if (!cells) {
                return failed(cells);
            }
            if (*cells > 0) {
                row["dz_raster"] = toGbk(QDir(project.folder).relativeFilePath(file));
                row["cells"] = *cells;
            }
            return {};
        });
}

ResultChange countResults(const ProjectDescription& project, KV_MySQL& database,
                          const StationChange& change) {
    return *changedResults(project, database, change,
                           [](const auto&, const auto&, double, KV_Record&) { return Status(); });
}

} // namespace inspection
