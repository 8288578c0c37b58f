// Several inspectors who edit one project on a server that loses connections and is killed now and then.
//   bench_inspectors [INSPECTORS [EDITS_A_SECOND [SECONDS]]]
// Ends with 1 when a confirmed edit was lost, or one replaced what its user had not seen.
#include "bench/Figures.h"

#include "tests/support/InspectorsLoad.h"
#include "tests/support/SmallProject.h"

#include "workbench/inspectiondata/check/CheckProject.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"

#include <QGuiApplication>

#include <cstdlib>

using namespace inspection;

namespace {

/// The findings of a check of the project after the load.
Findings findingsIn(const ProjectDescription& project) {
    const auto database = PipelineDatabase::open(project, Project::Access::Exclusive).value();
    return checkProject(project, *database->GetMySQL());
}

double fractile(std::vector<double> values, double share) {
    const auto place =
        values.begin() + static_cast<std::ptrdiff_t>(static_cast<double>(values.size() - 1) * share);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    InspectorsLoad load;
    load.inspectors = argc > 1 ? std::atoi(argv[1]) : load.inspectors;
    load.editsPerSecond = argc > 2 ? std::atof(argv[2]) : load.editsPerSecond;
    load.seconds = argc > 3 ? std::atof(argv[3]) : load.seconds;

    MariaDbServer::makeDurable();
    MariaDbServer& server = MariaDbServer::instance();
    const SmallProject files;
    Project project = Project::open(files.folder()).value();
    if (const Status done = project.setDatabase(server.newDatabase()); !done) {
        std::fprintf(stderr, "%s\n", qPrintable(done.error().message));
        return EXIT_FAILURE;
    }
    PipelineDatabase::open(project.description(), Project::Access::Exclusive).value();
    const InspectorsOutcome outcome = runLoad(server, project.description().databaseUrl(), load);

    std::printf("%d inspectors, %.0f s: %d edits confirmed (%.1f a second), %d told as not stored, %d in "
                "doubt at first\n",
                load.inspectors, load.seconds, outcome.confirmed, outcome.confirmed / load.seconds,
                outcome.refused, outcome.inDoubt);
    std::printf(
        "%d questions: %d replaced, %d declined; %d connections cut, %d times the server was killed\n",
        outcome.asked, outcome.replaced, outcome.declined, outcome.cuts, outcome.crashes);
    std::printf("an edit took %.1f ms (median), %.1f ms (99 of 100), %.0f ms (longest)\n",
                median(outcome.editSeconds) * 1e3, fractile(outcome.editSeconds, 0.99) * 1e3,
                fractile(outcome.editSeconds, 1.0) * 1e3);
    for (const QString& line : outcome.wrong) {
        std::printf("WRONG %s\n", qPrintable(line));
    }
    const Findings findings = findingsIn(project.description());
    for (const Finding& finding : findings) {
        std::printf("CHECK %s\n", qPrintable(finding.line()));
    }
    return outcome.wrong.isEmpty() && findings.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}
