#include "workbench/inspectiondata/check/CheckProject.h"

#include "workbench/inspectiondata/check/CheckAnomalies.h"
#include "workbench/inspectiondata/check/CheckHistory.h"
#include "workbench/inspectiondata/check/CheckProjectFiles.h"
#include "workbench/inspectiondata/check/CheckSpecialObjects.h"
#include "workbench/inspectiondata/check/CheckStations.h"
#include "workbench/inspectiondata/check/CheckTables.h"
#include "workbench/inspectiondata/database/Snapshot.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <iterator>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

using Check = std::function<Findings()>;

/// The findings of a check, or that the database cannot be read.
Findings findingsOf(const ProjectDescription& project, const Check& check) {
    try {
        return check();
    } catch (const KV_MySQL_Exception& exception) {
        return {{shownDatabase(project.databaseUrl()), QString(),
                 QStringLiteral("无法读取：") + QString::fromUtf8(exception.what())}};
    }
}

void append(Findings& findings, const Findings& more) {
    findings.insert(findings.end(), more.begin(), more.end());
}

Findings checkRows(const ProjectDescription& project, KV_MySQL& database, const CheckProgress& progress) {
    const Snapshot snapshot(database);
    const Check checks[] = {
        [&] { return checkStations(project, database); },
        [&] { return checkResultRasters(project, database); }, [&] { return checkAnomalies(database); },
        [&] { return checkSpecialObjects(database); }, [&] { return checkHistory(database); }};
    Findings findings;
    double done = 0.0;
    for (const Check& check : checks) {
        append(findings, findingsOf(project, check));
        progress(++done / double(std::size(checks)));
    }
    return findings;
}

} // namespace

Findings checkDatabase(const ProjectDescription& project, KV_MySQL& database, const CheckProgress& progress) {
    const auto tell = [&progress](double done) {
        if (progress) {
            progress(done);
        }
    };
    Findings findings = findingsOf(project, [&] { return checkTables(database); });
    if (findings.empty()) {
        append(findings, findingsOf(project, [&] { return checkDamage(database); }));
        tell(0.5);
        append(findings, findingsOf(project, [&] {
                   return checkRows(project, database, [&](double done) { tell(0.5 + done / 2.0); });
               }));
    }
    tell(1.0);
    return findings;
}

Findings checkProject(const ProjectDescription& project, KV_MySQL& database, const CheckProgress& progress) {
    Findings findings = checkEpochs(project);
    append(findings, checkBaseLayers(project));
    append(findings, checkDatabase(project, database, progress));
    return findings;
}

} // namespace inspection
