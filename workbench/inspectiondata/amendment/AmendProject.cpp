#include "workbench/inspectiondata/amendment/AmendProject.h"

#include "host/Gbk.h"
#include "host/inspection/Records.h"
#include "workbench/inspectiondata/amendment/NewFiles.h"
#include "workbench/inspectiondata/amendment/ResultChange.h"
#include "workbench/inspectiondata/amendment/StationChange.h"
#include "workbench/inspectiondata/compute/ResultRasters.h"
#include "workbench/inspectiondata/creation/CenterlineFile.h"
#include "workbench/inspectiondata/creation/HeightSystem.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/database/Fields.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/RowChange.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/PendingProjectFile.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

Unexpected databaseFailure(const KV_MySQL_Exception& exception) {
    const QString cause = QString::fromUtf8(exception.what());
    return Unexpected(Failure{cause, QStringLiteral("数据库操作失败，项目未作更改：") + cause});
}

Unexpected changedMeanwhile() {
    return Unexpected(Failure{"somebody else has computed or laid out stations meanwhile",
                              QStringLiteral("期间有人计算了异常或更改了站段，项目未作更改，请重试")});
}

QString stamp() {
    return QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
}

/// Earlier keys of epochs that are called otherwise now, and their new ones.
std::map<QString, QString> changedKeys(const ProjectDescription& before, const ProjectDescription& after) {
    std::map<QString, QString> keys;
    for (std::size_t i = 0; i < before.epochs.size(); ++i) {
        const QString earlier = before.keyOf(before.epochs[i]);
        const QString later = after.keyOf(after.epochs[i]);
        if (earlier != later) {
            keys[earlier] = later;
        }
    }
    return keys;
}

void renameEpochs(KV_MySQL& database, const std::map<QString, QString>& keys) {
    for (const auto& [earlier, later] : keys) {
        for (const char* column : {"old_epoch", "new_epoch"}) {
            database.updateRecord(kComparisonTable, {{column, toGbk(later)}},
                                  std::string("where ") + column + "=?", {toGbk(earlier)});
        }
    }
}

/// The nodes of another line take the place of those that there are.
void storeNodes(KV_MySQL& database, const std::vector<KilometrePost>& posts,
                const OGRSpatialReference& reference) {
    constexpr double kMetresPerKilometre = 1000.0;
    const Transformation toGeographic = transformationBetween(reference, wgs84());
    database.deleteRecord(tableName(KV_PIPE_NODE), "");
    mysqlhelper::KV_Rows rows;
    for (const KilometrePost& post : posts) {
        double x = post.x;
        double y = post.y;
        if (toGeographic && toGeographic->Transform(1, &x, &y) != 0) {
            KV_Record fields;
            KV_BasicNode(toGbk(post.name), {x, y, 0.0}).evalute_record(fields);
            fields["km"] = post.chainageMetres / kMetresPerKilometre;
            rows.push_back(std::move(fields));
        }
    }
    insertRows(database, tableName(KV_PIPE_NODE), rows);
}

/// A line that an earlier amendment wrote and nobody names any more.
void removeEarlierLine(const ProjectDescription& before, const ProjectDescription& after) {
    static const QRegularExpression kOurs(QStringLiteral("^centerline-\\d{8}-\\d{6}-\\d{3}\\.gpkg$"));
    const QFileInfo earlier(before.centerline);
    if (before.centerline != after.centerline && earlier.absolutePath() == before.folder &&
        kOurs.match(earlier.fileName()).hasMatch()) {
        QFile::remove(before.centerline);
    }
}

/// Each amendment of the database comes with other names of files.
bool isMade(const ProjectDescription& before, const ProjectDescription& now) {
    return before.centerline != now.centerline ||
           !std::equal(before.epochs.begin(), before.epochs.end(), now.epochs.begin(), now.epochs.end(),
                       [](const Epoch& a, const Epoch& b) { return a.dsm == b.dsm; });
}

/// An amendment on its way.
class Work {
public:
    Work(Project& project, KV_MySQL& database, Amendment amendment, const AmendmentProgress& progress)
        : m_project(project), m_database(database), m_amendment(std::move(amendment)), m_progress(progress) {}

    Status carryOut() {
        for (const HeightsToConvert& conversion : m_amendment.conversions) {
            if (auto done = convert(conversion); !done) {
                return done;
            }
        }
        const auto keys = changedKeys(m_project.description(), m_amendment.project);
        if (!m_amendment.layout && keys.empty()) {
            auto done = m_project.setDescription(m_amendment.project);
            return done ? kept() : done;
        }
        if (m_amendment.layout) {
            if (auto done = stage(); !done) {
                return done;
            }
        }
        return store(keys);
    }

private:
    bool goesOn(double fraction) const { return !m_progress || m_progress(fraction); }
    Status kept() {
        m_files.keep();
        return {};
    }

    Status convert(const HeightsToConvert& conversion) {
        Epoch& epoch = m_amendment.project.epochs[conversion.epoch];
        const QString place = epoch.date.isEmpty() ? QString::number(conversion.epoch + 1) : epoch.date;
        const QString file =
            QStringLiteral("%1/epochs/%2/dsm-%3.tif").arg(m_amendment.project.folder, place, stamp());
        if (auto added = m_files.add(file); !added) {
            return added;
        }
        epoch.dsm = file;
        epoch.heights.clear(); // from now on the file tells
        return writeConvertedHeights(conversion.surface, conversion.surface.heights, conversion.heights, file,
                                     [this](double fraction) { return goesOn(fraction * 0.5); });
    }

    /// Everything that is a file.
    Status stage() {
        const ProjectDescription& project = m_amendment.project;
        m_stations = planStations(m_database, m_amendment.layout->stations, project.crs);
        auto results = planResults(project, m_database, m_stations, m_files,
                                   [this](double fraction) { return goesOn(0.5 + fraction * 0.5); });
        if (!results) {
            return failed(results);
        }
        m_results = *std::move(results);
        const QString line = QStringLiteral("%1/centerline-%2.gpkg").arg(project.folder, stamp());
        if (auto added = m_files.add(line); !added) {
            return added;
        }
        m_amendment.project.centerline = line;
        const auto& layout = *m_amendment.layout;
        return writeCenterlineFile(line, *referenceOf(project.crs), layout.centerline, layout.stations);
    }

    Status store(const std::map<QString, QString>& keys) {
        const ProjectDescription before = m_project.description();
        KV_MySQL::Transaction transaction(m_database);
        const QString inspector = inspectorOf(before);
        const QString description = m_amendment.layout
                                        ? QStringLiteral("重新划分站段（%1 个）").arg(m_stations.laidOut)
                                        : QStringLiteral("更改期次的文件");
        const std::int64_t revision = noteReplacement(m_database, inspector, kRelayoutSubject, description);
        if (m_amendment.layout) {
            if (!isAsStaged()) {
                return changedMeanwhile();
            }
            storeStations(m_database, m_stations, m_results.after);
            if (m_amendment.layout->isLineNew) {
                const auto& line = m_amendment.layout->centerline;
                storeNodes(m_database, line ? line->posts : std::vector<KilometrePost>(),
                           *referenceOf(before.crs));
            }
        }
        renameEpochs(m_database, keys);
        const QStringList rasters = unnamedRasters(before, m_database);
        if (!goesOn(1.0)) {
            return cancelled();
        }
        if (auto written = writePendingProjectFile(m_amendment.project, {revision, inspector}); !written) {
            return written;
        }
        m_files.keep(); // from here on the database alone decides
        transaction.commit();
        if (auto taken = takePendingProjectFile(before.folder); !taken) {
            return taken;
        }
        removeEarlierLine(before, m_amendment.project);
        for (const QString& raster : rasters) {
            QFile::remove(raster);
        }
        return m_project.reread();
    }

    /// Files were made for what the database held then; what was judged since then does not matter.
    bool isAsStaged() {
        const StationChange now =
            planStations(m_database, m_amendment.layout->stations, m_amendment.project.crs);
        const auto isSameStation = [](const KV_Station& a, const KV_Station& b) {
            return a.m_id == b.m_id && stationRecord(a) == stationRecord(b);
        };
        const auto isSameStations = [&](const std::vector<KV_Station>& a, const std::vector<KV_Station>& b) {
            return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSameStation);
        };
        return isSameStations(now.before, m_stations.before) && isSameStations(now.after, m_stations.after) &&
               now.outside == m_stations.outside &&
               m_database.queryRecord("select * from comparison_result order by id") == m_results.before;
    }

    Project& m_project;
    KV_MySQL& m_database;
    Amendment m_amendment;
    const AmendmentProgress& m_progress;
    NewFiles m_files;
    StationChange m_stations;
    ResultChange m_results;
};

QString pictureName(const QString& file) {
    return file.isEmpty() ? QStringLiteral("无") : file;
}

void tellEpochs(const ProjectDescription& before, const Amendment& amendment, QStringList& lines) {
    for (std::size_t i = 0; i < before.epochs.size(); ++i) {
        const Epoch& earlier = before.epochs[i];
        const Epoch& later = amendment.project.epochs[i];
        const QString key = before.keyOf(earlier);
        if (earlier.dsm != later.dsm) {
            lines << QStringLiteral("期次 %1 的表面模型：%2").arg(key, later.dsm);
        }
        if (earlier.dom != later.dom) {
            lines << QStringLiteral("期次 %1 的正射影像：%2").arg(key, pictureName(later.dom));
        }
        if (earlier.heights != later.heights) {
            lines << QStringLiteral("期次 %1 的高程系统：%2")
                         .arg(key, later.heights.isEmpty() ? QStringLiteral("按文件")
                                                           : heightSystemTitle(later.heights));
        }
    }
    for (const HeightsToConvert& conversion : amendment.conversions) {
        lines << QStringLiteral("期次 %1 的高程换算到 %2；换算后请重新计算异常，判定会保留")
                     .arg(before.keyOf(before.epochs[conversion.epoch]),
                          heightSystemTitle(conversion.heights));
    }
}

void tellLayout(const NewLayout& layout, const AmendmentEffect& effect, QStringList& lines) {
    if (layout.isLineNew && layout.centerline) {
        lines << QStringLiteral("中心线：%1 公里").arg(layout.centerline->lengthMetres() / 1000.0, 0, 'f', 3);
    } else if (layout.isLineNew) {
        lines << QStringLiteral("中心线：去掉");
    }
    lines << QStringLiteral("站段：%1 个 → %2 个").arg(effect.stationsBefore).arg(effect.stationsAfter);
    lines << QStringLiteral("%1 处异常中 %2 处归入其他站段，判定和修改记录全部保留")
                 .arg(effect.anomalies)
                 .arg(effect.moved);
    if (effect.outside > 0) {
        lines
            << QStringLiteral("%1 处异常在新站段之外，保留在名称以“站段外”开头的站段中").arg(effect.outside);
    }
    if (effect.absent > 0) {
        lines << QStringLiteral("%1 个站段结果的高差栅格在他人的文件夹中，更改后请重新计算这些站段")
                     .arg(effect.absent);
    }
    if (effect.partly > 0) {
        lines << QStringLiteral("%1 个站段结果只含曾计算过的部分，请重新计算这些站段").arg(effect.partly);
    }
}

} // namespace

Result<AmendmentEffect> effectOf(const Amendment& amendment, KV_MySQL& database) {
    AmendmentEffect effect;
    effect.laysOut = amendment.layout.has_value();
    if (!effect.laysOut) {
        return effect;
    }
    try {
        const StationChange change =
            planStations(database, amendment.layout->stations, amendment.project.crs);
        const MovedAnomalies moves = countMoves(database, change);
        effect.stationsBefore = static_cast<std::int64_t>(change.before.size());
        effect.stationsAfter = static_cast<std::int64_t>(change.laidOut);
        effect.anomalies = moves.all;
        effect.moved = moves.moved;
        effect.outside = moves.outside;
        const ResultChange results = countResults(amendment.project, database, change);
        effect.partly = results.partly;
        effect.absent = results.absent;
        return effect;
    } catch (const KV_MySQL_Exception& exception) {
        return databaseFailure(exception);
    }
}

QStringList changeTexts(const ProjectDescription& before, const Amendment& amendment,
                        const AmendmentEffect& effect) {
    QStringList lines;
    if (before.name != amendment.project.name) {
        lines << QStringLiteral("项目名称：%1").arg(amendment.project.name);
    }
    tellEpochs(before, amendment, lines);
    if (before.centerline != amendment.project.centerline && !amendment.layout) {
        lines << QStringLiteral("中心线文件：%1").arg(amendment.project.centerline);
    }
    if (amendment.layout) {
        tellLayout(*amendment.layout, effect, lines);
    }
    return lines;
}

Result<AmendmentEffect> amendProject(Project& project, KV_MySQL& database, Amendment amendment,
                                     const AmendmentProgress& progress) {
    if (project.access() == Project::Access::ReadOnly) {
        return fileFailure(project.description().folder, "the project is open for reading only",
                           "项目以只读方式打开");
    }
    const ProjectDescription before = project.description();
    auto effect = effectOf(amendment, database);
    if (!effect) {
        return failed(effect);
    }
    try {
        Work work(project, database, std::move(amendment), progress);
        if (auto done = work.carryOut(); !done) {
            return failed(done);
        }
        return effect;
    } catch (const KV_MySQL_Exception& exception) {
        // Where the answer of the last statement was lost, only the database knows what became of it.
        if (settleProjectFile(before.folder) && project.reread()) {
            return isMade(before, project.description()) ? effect : databaseFailure(exception);
        }
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(
            Failure{cause, QStringLiteral("与数据库的连接中断，下次打开项目时核对更改是否完成：") + cause});
    }
}

} // namespace inspection
