#include "workbench/inspectiondata/output/ShapeOutput.h"

#include "workbench/inspectiondata/output/OutputTarget.h"
#include "workbench/inspectiondata/output/ShapeLayers.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <QDir>

namespace inspection {

namespace {

/// Everything into the staged folder; a failure names the file in `folder`.
Status writeAll(const std::vector<ShapeLayer>& layers, const detect::StagedOutput& staged,
                const QString& folder, const OutputProgress& progress) {
    const auto isWanted = [&progress](double done) { return !progress || progress(done); };
    const QString stagedFolder = QString::fromStdString(staged.folder().u8string());
    if (auto done = writeLayers(layers, "ESRI Shapefile", stagedFolder, folder); !done) {
        return done;
    }
    if (!isWanted(0.5)) {
        return cancelled();
    }
    if (auto done = writeLayers(layers, "GPKG", QString::fromStdString(staged.path()),
                                QString::fromStdString(staged.target()));
        !done) {
        return done;
    }
    return isWanted(0.9) ? Status() : cancelled();
}

QStringList targetsOf(const std::vector<ShapeLayer>& layers, const QString& geoPackage) {
    QStringList targets{geoPackage};
    for (const ShapeLayer& layer : layers) {
        targets << QFileInfo(geoPackage).path() + '/' + QString::fromStdString(layer.name) + ".shp";
    }
    return targets;
}

Status writeInto(const QString& folder, const InspectionData& data, const OutputProgress& progress) {
    const auto layers = shapeLayers(data, Pipeline::read(data.project));
    const QString geoPackage = QDir(folder).filePath(QStringLiteral("corridor.gpkg"));
    if (auto apart = checkTargets(targetsOf(layers, geoPackage), data.project); !apart) {
        return apart;
    }
    if (QFileInfo(geoPackage).isSymLink()) { // the others would come to lie where it leads
        return fileFailure(geoPackage, "is a link", "是链接，不能写入");
    }
    const auto staged = stageBeside(geoPackage);
    if (!staged) {
        return failed(staged);
    }
    if (auto done = writeAll(layers, *staged, folder, progress); !done) {
        return done;
    }
    return commit(*staged);
}

} // namespace

Status writeShapes(const InspectionData& data, const QString& folder, const OutputProgress& progress) {
    const bool existed = QDir(folder).exists();
    if (!QDir().mkpath(folder)) {
        return fileFailure(folder, "cannot be created", "无法创建文件夹");
    }
    auto written = writeInto(folder, data, progress);
    if (!written && !existed) {
        QDir().rmdir(folder);
    }
    if (written && progress) {
        progress(1.0);
    }
    return written;
}

} // namespace inspection
