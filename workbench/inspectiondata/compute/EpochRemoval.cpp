#include "workbench/inspectiondata/compute/EpochRemoval.h"

#include "workbench/inspectiondata/compute/ResultRasters.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/ConnectionLost.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/project/EpochList.h"
#include "workbench/inspectiondata/project/ProjectFile.h"

#include <QFile>
#include <QObject>

#include <algorithm>
#include <numeric>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

namespace {

std::vector<Comparison> comparisonsWith(KV_MySQL& database, const QString& key) {
    std::vector<Comparison> comparisons = readComparisons(database);
    comparisons.erase(std::remove_if(comparisons.begin(), comparisons.end(),
                                     [&](const Comparison& each) { return !each.pair.names(key); }),
                      comparisons.end());
    return comparisons;
}

std::int64_t judgedIn(const std::vector<Comparison>& comparisons) {
    return std::accumulate(
        comparisons.begin(), comparisons.end(), std::int64_t{0},
        [](std::int64_t sum, const Comparison& each) { return sum + each.judged + each.deleted; });
}

/// Gives the revision in which that is noted.
std::int64_t removeComparison(const QString& inspector, KV_MySQL& database, const Comparison& comparison) {
    const std::int64_t revision = noteComputation(
        database, inspector, comparison.pair, QObject::tr("删除 %1 的结果").arg(pairTitle(comparison.pair)));
    forgetEdits(database, comparison.id);
    deleteComparison(database, comparison.id);
    return revision;
}

Unexpected databaseFailure(const KV_MySQL_Exception& exception) {
    const QString cause = QString::fromUtf8(exception.what());
    return Unexpected(Failure{cause, QStringLiteral("数据库操作失败：") + cause});
}

} // namespace

Status removeResults(const ProjectDescription& project, KV_MySQL& database, const QString& key,
                     Verdicts verdicts) {
    try {
        std::optional<KV_MySQL::Transaction> transaction(std::in_place, database);
        std::int64_t revision = raiseRevision(database); // nobody judges anything from now on
        const std::vector<Comparison> comparisons = comparisonsWith(database, key);
        const std::int64_t judged = judgedIn(comparisons);
        if (judged > 0 && verdicts == Verdicts::Keep) {
            return fileFailure(
                projectFile(project.folder),
                QStringLiteral("%1 verdicts and deletions on comparisons of epoch %2 would be lost")
                    .arg(judged)
                    .arg(key),
                QStringLiteral("期次 %1 的对比结果中有 %2 处异常已判定或已删除，删除该期会一并删除")
                    .arg(key)
                    .arg(judged));
        }
        const QString inspector = inspectorOf(project);
        for (const Comparison& comparison : comparisons) {
            revision = removeComparison(inspector, database, comparison);
        }
        const QStringList rasters = unnamedRasters(project, database);
        commitNoted(database, transaction, inspector, revision);
        for (const QString& raster : rasters) {
            QFile::remove(raster);
        }
        return {};
    } catch (const mysqlhelper::ConnectionLost& loss) {
        return Unexpected(Failure{QString::fromUtf8(loss.what()), loss.told()});
    } catch (const KV_MySQL_Exception& exception) {
        return databaseFailure(exception);
    }
}

Status removeEpoch(Project& project, KV_MySQL& database, const QString& key, Verdicts verdicts) {
    if (auto possible = withoutEpoch(project.description(), key); !possible) {
        return failed(possible);
    }
    if (auto done = removeResults(project.description(), database, key, verdicts); !done) {
        return failed(done);
    }
    return project.removeEpoch(key);
}

} // namespace inspection
