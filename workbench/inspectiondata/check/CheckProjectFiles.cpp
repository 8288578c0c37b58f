#include "workbench/inspectiondata/check/CheckProjectFiles.h"

#include "detect/GdalErrors.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/check/RowCheck.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/TableCopy.h"
#include "workbench/inspectiondata/project/RasterPlace.h"
#include "workbench/inspectiondata/project/ReferredFiles.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QDate>
#include <QFileInfo>

#include <gdal_priv.h>

#include <optional>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_Record;

namespace {

/// Why the raster cannot be used; nothing when it can.
template<class Open>
std::optional<QString> rasterProblem(const QString& file, const Open& open) {
    if (!rasterExists(file)) {
        return QStringLiteral("文件不存在");
    }
    const detect::GdalErrors errors;
    const GDALDatasetUniquePtr raster = open(file);
    if (!raster || raster->GetRasterCount() < 1) {
        return QStringLiteral("无法作为栅格打开 %1").arg(QString::fromStdString(errors.first()));
    }
    return std::nullopt;
}

void checkRaster(const QString& file, Findings& findings) {
    const auto open = [](const QString& name) {
        // Why a server does not give a raster is only told to who asks for it; a file's own state says enough.
        const unsigned told = isOnServer(name) ? GDAL_OF_VERBOSE_ERROR : 0;
        return GDALDatasetUniquePtr(GDALDataset::Open(name.toUtf8().constData(), GDAL_OF_RASTER | told));
    };
    if (const auto problem = rasterProblem(file, open)) {
        findings.push_back({file, QString(), *problem});
    }
}

void checkDates(const ProjectDescription& project, Findings& findings) {
    QDate latest;
    for (const Epoch& epoch : project.epochs) {
        if (epoch.date.isEmpty()) {
            continue;
        }
        const QDate date = QDate::fromString(epoch.date, Qt::ISODate);
        if (!date.isValid()) {
            findings.push_back({"project.json", epoch.date, QStringLiteral("不是日期")});
        } else if (latest.isValid() && date < latest) {
            findings.push_back({"project.json", epoch.date, QStringLiteral("各期没有按日期排列")});
        } else {
            latest = date;
        }
    }
}

void checkKeys(const ProjectDescription& project, Findings& findings) {
    for (const Epoch& epoch : project.epochs) {
        const QString key = project.keyOf(epoch);
        if (project.findEpoch(key) != &epoch) {
            findings.push_back({"project.json", key, QStringLiteral("期次重复")});
        }
    }
    if (!project.compared) {
        return;
    }
    for (const QString& key : {project.compared->older, project.compared->newer}) {
        if (!project.findEpoch(key)) {
            findings.push_back({"project.json", "compare", QStringLiteral("没有期次 %1").arg(key)});
        }
    }
}

} // namespace

Findings checkEpochs(const ProjectDescription& project) {
    GDALAllRegister();
    Findings findings;
    checkDates(project, findings);
    checkKeys(project, findings);
    for (const Epoch& epoch : project.epochs) {
        checkRaster(epoch.dsm, findings);
        if (!epoch.dom.isEmpty()) {
            checkRaster(epoch.dom, findings);
        }
    }
    return findings;
}

Findings checkBaseLayers(const ProjectDescription& project) {
    Findings findings;
    for (const BaseLayer& layer : project.baseLayers) {
        const QString path = localPath(layer.source);
        if (!path.isEmpty() && !QFileInfo::exists(path)) {
            findings.push_back({path, layer.name, QStringLiteral("文件不存在")});
        } else if (const auto definition = gdalDefinition(layer, QString()); !definition) {
            findings.push_back({"project.json", layer.name, definition.error().userMessage});
        }
    }
    return findings;
}

Findings checkResultRasters(const ProjectDescription& project, KV_MySQL& database) {
    Findings findings;
    // On a server they lie with whoever has computed them.
    const bool mayLieElsewhere = isServerAddress(project.databaseUrl());
    visitRows(database, {kComparisonResultTable, "id"}, [&](const KV_Record& row) {
        RowCheck check(kComparisonResultTable, row, findings);
        for (const char* column : {"dz_raster", "correction_raster"}) {
            const QString path = fromGbk(check.text(column));
            if (path.isEmpty()) {
                continue;
            }
            const QString file = project.resultFile(path);
            if (file.isEmpty()) {
                check.expect(false, QStringLiteral("%1 不在项目文件夹内").arg(column));
                continue;
            }
            if (mayLieElsewhere && !QFileInfo::exists(file)) {
                continue;
            }
            const auto problem = rasterProblem(file, openResultRaster);
            check.expect(!problem, [&] {
                return QStringLiteral("%1 %2 %3").arg(column, path, problem.value_or(QString()));
            });
        }
        return true;
    });
    return findings;
}

} // namespace inspection
