// Edits that are recorded, on both kinds of database, with commits that wait for the disk.
//   bench_edit_history [ANOMALIES [ENTRIES]]
// Edits are compared with the smallest transaction that the same database can commit: one row of a table.
#include "bench/Figures.h"

#include "tests/plugin/PluginHost.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/SamplePair.h"
#include "tests/support/SmallProject.h"

#include "host/Gbk.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/DatabaseMove.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <QApplication>
#include <QElapsedTimer>

#include <cstdlib>
#include <string>

using namespace inspection;
using mysqlhelper::KV_MySQL;

namespace {

constexpr int kStations = 100;
constexpr int kRounds = 1000;
constexpr int kLooks = 10000;

double seconds(const QElapsedTimer& timer) {
    return static_cast<double>(timer.nsecsElapsed()) * 1e-9;
}

std::unique_ptr<PipelineDatabase> open(const ProjectDescription& project) {
    return PipelineDatabase::open(project, Project::Access::Exclusive).value();
}

std::vector<SdiffData> someAnomalies(int station, int count) {
    std::vector<SdiffData> anomalies(static_cast<std::size_t>(count));
    int number = 0;
    for (SdiffData& anomaly : anomalies) {
        anomaly.name = "S" + std::to_string(station) + '-' + std::to_string(++number);
        anomaly.x = SmallProject::kLeft + number % 100;
        anomaly.y = SmallProject::kTop - 40.0;
        anomaly.lonDegrees = 114.0;
        anomaly.latDegrees = 30.7;
        anomaly.outlineWkt = "POLYGON ((";
        for (int vertex = 0; vertex < 24; ++vertex) {
            anomaly.outlineWkt += std::to_string(anomaly.x + vertex) + ' ' + std::to_string(anomaly.y) + ',';
        }
        anomaly.outlineWkt += std::to_string(anomaly.x) + ' ' + std::to_string(anomaly.y) + "))";
    }
    return anomalies;
}

void fill(KV_MySQL& sql, int anomalies) {
    KV_MySQL::Transaction transaction(sql);
    sql.execute("delete from station");
    for (int number = 1; number <= kStations; ++number) {
        KV_Station station;
        station.m_name = std::to_string(number);
        station.m_srs = "EPSG:4547";
        station.m_xMin = SmallProject::kLeft;
        station.m_xMax = SmallProject::kLeft + 200.0;
        station.m_yMin = SmallProject::kTop - 80.0;
        station.m_yMax = SmallProject::kTop;
        mysqlhelper::KV_Record fields = stationRecord(station);
        fields["id"] = std::int64_t{number};
        sql.insertRecord("station", fields);
        std::vector<SdiffData> some = someAnomalies(number, anomalies / kStations);
        insertAnomalies(sql, static_cast<std::uint32_t>(number), kSamplePair, some);
    }
    transaction.commit();
}

/// Judges one anomaly after the other; `firstId` is the first of a thousand that nobody has judged before.
void judge(ProjectHistory& history, std::int64_t firstId, int first, int count) {
    static const std::string classes[] = {toGbk("深挖"), toGbk("塌陷"), toGbk("建构筑物")};
    for (int i = first; i < first + count; ++i) {
        const auto done = history.perform(QStringLiteral("分类 1 处异常为 深挖"), [=](EditTransaction& edit) {
            edit.update("anomaly", firstId + i % 1000, {{"attribute", classes[(i / 1000 + i) % 3]}}, 0);
        });
        if (!done) {
            std::fprintf(stderr, "%s\n", qPrintable(done.error().message));
            std::exit(1);
        }
    }
}

/// Seconds of the smallest transaction.
double bareCommit(KV_MySQL& sql) {
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < kRounds; ++i) {
        KV_MySQL::Transaction transaction(sql);
        raiseRevision(sql);
        transaction.commit();
    }
    return seconds(timer) / kRounds;
}

void measureEdits(const char* kind, const ProjectDescription& project, std::int64_t firstId, int entries) {
    const auto database = open(project);
    KV_MySQL& sql = *database->GetMySQL();
    ProjectHistory history;
    history.setDatabase(&sql, inspectorOf(project));
    const double bare = bareCommit(sql);
    QElapsedTimer timer;
    timer.start();
    judge(history, firstId, 0, kRounds);
    const double edit = seconds(timer) / kRounds;
    std::printf("%s: %.0f edits a second, %.0f bare commits a second\n", kind, 1.0 / edit, 1.0 / bare);
    report("  an edit, in bare commits", edit / bare, 4.0, "x");
    timer.start();
    history.UndoSteps(kRounds);
    const double undo = seconds(timer);
    std::printf("  undo of %d steps at once: %.2f s\n", kRounds, undo);
    report("  a step of it, in edits", undo / kRounds / edit, 1.0, "x");
    timer.start();
    for (int i = 0; i < kLooks; ++i) {
        readRevision(sql);
    }
    std::printf("  a look whether something has changed: %.0f us\n", seconds(timer) / kLooks * 1e6);
    report("  a second's looks, of one core", seconds(timer) / kLooks * 100.0, 0.1, "%");
    judge(history, firstId, 0, entries);
}

void measureOpening(const char* kind, PluginHost& host, const QString& folder) {
    std::vector<double> times;
    for (int round = 0; round < 5; ++round) {
        QElapsedTimer timer;
        timer.start();
        if (const auto problem = InspectionContext::instance().openProject(folder)) {
            std::fprintf(stderr, "%s\n", qPrintable(*problem));
            std::exit(1);
        }
        QApplication::processEvents();
        host.globe->grab();
        times.push_back(seconds(timer));
        InspectionContext::instance().closeProject();
    }
    report((std::string(kind) + ": opening, until the window answers").c_str(), median(times), 1.5, "s");
}

} // namespace

int main(int argc, char** argv) {
    const int anomalies = argc > 1 ? std::atoi(argv[1]) : 100000;
    const int entries = argc > 2 ? std::atoi(argv[2]) : 10000;
    GlobeWidget::installSurfaceFormat();
    QApplication application(argc, argv);
    PluginHost host;
    const SmallProject files;
    MariaDbServer::makeDurable();

    auto project = Project::open(files.folder()).value();
    fill(*open(project.description())->GetMySQL(), anomalies);
    measureEdits("SQLite", project.description(), 1, entries);
    project = Project::open(files.folder(), Project::Access::ReadOnly).value(); // gives the lock back
    measureOpening("SQLite", host, files.folder());

    project = Project::open(files.folder()).value();
    QElapsedTimer timer;
    timer.start();
    const auto moved = moveDatabase(project, MariaDbServer::instance().newDatabase(), {});
    if (!moved) {
        std::fprintf(stderr, "%s\n", qPrintable(moved.error().message));
        return 1;
    }
    std::printf("moved to the server in %.1f s\n", seconds(timer));
    project = Project::open(files.folder(), Project::Access::ReadOnly).value();
    measureOpening("MariaDB", host, files.folder());
    project = Project::open(files.folder()).value();
    measureEdits("MariaDB", project.description(), 2001, 0);
    return 0;
}
