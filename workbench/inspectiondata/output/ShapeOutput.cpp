#include "workbench/inspectiondata/output/ShapeOutput.h"

#include "workbench/inspectiondata/output/OutputTarget.h"
#include "workbench/inspectiondata/output/ShapeFile.h"
#include "workbench/inspectiondata/output/ShapeLayers.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <QDir>

#include <array>

namespace inspection {

namespace {

constexpr double kShareOfStations = 0.8; ///< of the work; the rest is other layers and reading back

/// Each layer into all the files at once, so that its features are made once.
Status writeLayers(const std::vector<ShapeLayer>& layers, std::array<ShapeFile, 2>& files) {
    const auto inEach = [&files](const auto& work) {
        for (ShapeFile& file : files) {
            if (auto done = work(file); !done) {
                return done;
            }
        }
        return Status();
    };
    for (const ShapeLayer& layer : layers) {
        if (auto done = inEach([&](ShapeFile& file) { return file.begin(layer); }); !done) {
            return done;
        }
        const auto add = [&](const ShapeLayer::Feature& feature) {
            return inEach([&](ShapeFile& file) { return file.add(feature); });
        };
        if (auto done = layer.forEachFeature(add); !done) {
            return done;
        }
        if (auto done = inEach([](ShapeFile& file) { return file.end(); }); !done) {
            return done;
        }
    }
    return inEach([](ShapeFile& file) { return file.close(); });
}

/// Everything into the staged folder; a failure names the file in `folder`. How many anomalies have no outline.
Result<std::int64_t> writeAll(const std::vector<ShapeLayer>& layers, const detect::StagedOutput& staged,
                              const QString& folder, const OutputProgress& progress) {
    std::array<ShapeFile, 2> files{
        ShapeFile("ESRI Shapefile", QString::fromStdString(staged.folder().u8string()), folder),
        ShapeFile("GPKG", QString::fromStdString(staged.path()), QString::fromStdString(staged.target()))};
    if (auto done = writeLayers(layers, files); !done) {
        return failed(done);
    }
    constexpr double kWritten = 0.9;
    if (progress && !progress(kWritten)) {
        return cancelled();
    }
    return files.front().lackingGeometries(layers.front());
}

QStringList targetsOf(const std::vector<ShapeLayer>& layers, const QString& geoPackage) {
    QStringList targets{geoPackage};
    for (const ShapeLayer& layer : layers) {
        targets << QFileInfo(geoPackage).path() + '/' + QString::fromStdString(layer.name) + ".shp";
    }
    return targets;
}

/// The findings, of which the progress hears, and which end when it wants that.
FindingsInTurn counted(const FindingsInTurn& findings, const OutputProgress& progress) {
    return {findings.stations, [&findings, &progress](const FindingsInTurn::Visit& visit) {
                std::size_t done = 0;
                return findings.forEach([&](const StationFindings& station) {
                    const double share = kShareOfStations * double(done++) / double(findings.stations);
                    return !progress || progress(share) ? visit(station) : Status(cancelled());
                });
            }};
}

Result<std::int64_t> writeInto(const QString& folder, const ProjectObjects& objects,
                               const FindingsInTurn& findings, const OutputProgress& progress) {
    const FindingsInTurn told = counted(findings, progress);
    const Pipeline pipeline = Pipeline::read(objects.project);
    const auto layers = shapeLayers(objects, told, pipeline);
    const QString geoPackage = QDir(folder).filePath(QStringLiteral("corridor.gpkg"));
    if (auto apart = checkTargets(targetsOf(layers, geoPackage), objects.project); !apart) {
        return failed(apart);
    }
    if (QFileInfo(geoPackage).isSymLink()) { // the others would come to lie where it leads
        return fileFailure(geoPackage, "is a link", "是链接，不能写入");
    }
    const auto staged = stageBeside(geoPackage);
    if (!staged) {
        return failed(staged);
    }
    auto written = writeAll(layers, *staged, folder, progress);
    if (!written) {
        return written;
    }
    if (auto done = commit(*staged); !done) {
        return failed(done);
    }
    return written;
}

Result<std::int64_t> writeShapes(const ProjectObjects& objects, const FindingsInTurn& findings,
                                 const QString& folder, const OutputProgress& progress) {
    const bool existed = QDir(folder).exists();
    if (!QDir().mkpath(folder)) {
        return fileFailure(folder, "cannot be created", "无法创建文件夹");
    }
    auto written = writeInto(folder, objects, findings, progress);
    if (!written && !existed) {
        QDir().rmdir(folder);
    }
    if (written && progress) {
        progress(1.0);
    }
    return written;
}

} // namespace

Status writeShapes(const InspectionData& data, const QString& folder, const OutputProgress& progress) {
    const auto written = writeShapes(data, findingsInTurn(data), folder, progress);
    return written ? Status() : failed(written);
}

Result<std::int64_t> writeStoredShapes(const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                                       const std::vector<std::uint32_t>& stationIds, const QString& folder,
                                       const OutputProgress& progress) {
    try {
        return writeShapes(readProjectObjects(project, database),
                           findingsInTurn(project, database, stationIds), folder, progress);
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        return databaseFailure(exception);
    }
}

} // namespace inspection
