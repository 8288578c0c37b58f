#include "workbench/inspectiondata/creation/ProjectRasters.h"

#include "detect/GdalErrors.h"
#include "workbench/inspectiondata/creation/HeightSystem.h"
#include "workbench/inspectiondata/creation/SurveyCloud.h"
#include "workbench/inspectiondata/creation/SurveyMosaic.h"
#include "workbench/inspectiondata/project/RasterPlace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gdal_priv.h>

#include <algorithm>

namespace inspection {

namespace {

constexpr qint64 kCopiedAtOnce = qint64{8} << 20;

/// The raster's files: itself and what lies beside it, its reduced pictures among them.
QStringList companionsOf(const QString& raster) {
    const detect::GdalErrors errors;
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(raster.toUtf8().constData(), GDAL_OF_RASTER));
    QStringList files{raster};
    if (dataset) {
        const CPLStringList names(dataset->GetFileList(), TRUE);
        for (int i = 0; i < names.Count(); ++i) {
            const QString name = QFileInfo(QString::fromUtf8(names[i])).absoluteFilePath();
            if (name != raster) {
                files << name;
            }
        }
    }
    return files;
}

Status copyFile(const QString& from, const QString& to, const WorkProgress& progress) {
    QFile source(from);
    QFile target(to);
    if (!source.open(QIODevice::ReadOnly)) {
        return fileFailure(from, "cannot be read: " + source.errorString(), "无法读取");
    }
    if (!target.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        return fileFailure(to, "cannot be written: " + target.errorString(), "无法写入");
    }
    while (!source.atEnd()) {
        const QByteArray part = source.read(kCopiedAtOnce);
        if (part.isEmpty()) {
            return fileFailure(from, "cannot be read: " + source.errorString(), "无法读取");
        }
        if (target.write(part) != part.size() || !target.flush()) {
            return fileFailure(to, "cannot be written: " + target.errorString(), "无法写入，磁盘可能已满");
        }
        if (!progress(double(part.size()))) {
            return cancelled();
        }
    }
    return {};
}

/// The copies of the raster's tiles; no two of them may have one name.
Result<QStringList> copyTiles(const QStringList& tiles, const QString& folder, const WorkProgress& progress) {
    if (!QDir().mkpath(folder)) {
        return fileFailure(folder, "cannot be created", "无法创建文件夹");
    }
    QStringList copies;
    for (const QString& tile : tiles) {
        if (isOnServer(tile)) {
            return fileFailure(tile, "lies with a server and cannot be copied", "位于服务器上，不能复制");
        }
        for (const QString& file : companionsOf(tile)) {
            if (auto done = copyFile(file, folder + '/' + QFileInfo(file).fileName(), progress); !done) {
                return failed(done);
            }
        }
        copies << folder + '/' + QFileInfo(tile).fileName();
    }
    return copies;
}

/// The file that stands for the raster.
Result<QString> placeRaster(const QString& folder, const QString& name, SurveyRaster raster, bool copies,
                            const WorkProgress& progress) {
    if (copies) {
        auto copied = copyTiles(raster.files, folder + '/' + name, progress);
        if (!copied) {
            return failed(copied);
        }
        raster.files = *std::move(copied);
    }
    if (raster.files.size() == 1) {
        return raster.files.front();
    }
    const QString file = folder + '/' + name + QStringLiteral(".vrt");
    if (const auto written = openMosaic(raster, TileValues::AsStored, file); !written) {
        return failed(written);
    }
    return file;
}

constexpr double kBytesOfCell = 4.0;
constexpr double kBytesOfPoint = 30.0;

double cloudWork(const SurveyRaster& surface) {
    return surface.cloud ? kBytesOfPoint * surface.cloud->points : 0.0;
}

double conversionWork(const PlannedEpoch& epoch) {
    return epoch.convertedHeights.isEmpty() ? 0.0 : kBytesOfCell * epoch.surface.cells;
}

/// Whether the surface model's tiles become one new file, because not all of them say in metres what they hold.
bool isMerged(const PlannedEpoch& epoch) {
    return epoch.surface.files.size() > 1 && !epoch.surface.cloud && epoch.convertedHeights.isEmpty() &&
           !areInMetres(epoch.surface);
}

double mergingWork(const PlannedEpoch& epoch) {
    return kBytesOfCell * epoch.surface.cells;
}

/// Whether the epoch's surface model is a new file.
bool isMade(const PlannedEpoch& epoch) {
    return epoch.surface.cloud.has_value() || !epoch.convertedHeights.isEmpty() || isMerged(epoch);
}

/// Progress by fractions of a piece of work.
std::function<bool(double fraction)> partOf(double work, const WorkProgress& progress) {
    return [work, done = 0.0, &progress](double fraction) mutable {
        const double step = fraction * work - done;
        done += step;
        return progress(step);
    };
}

/// The surface model of the epoch's point clouds; `epoch` has it instead of them then.
Status makeOfClouds(const QString& file, PlannedEpoch& epoch, QStringList& notes,
                    const WorkProgress& progress) {
    const auto note = writeSurfaceModel(epoch.surface, file, partOf(cloudWork(epoch.surface), progress));
    if (!note) {
        return failed(note);
    }
    notes << *note;
    epoch.surface.files = {file};
    epoch.surface.cloud.reset();
    return {};
}

/// The epoch's surface model, with heights in the project's system.
Result<QString> placeSurface(const QString& folder, PlannedEpoch epoch, bool copies, QStringList& notes,
                             const WorkProgress& progress) {
    const QString file = folder + QStringLiteral("/dsm.tif");
    const QString flown = folder + QStringLiteral("/dsm-flown.tif"); // heights of the clouds' own system
    const bool isConverted = !epoch.convertedHeights.isEmpty();
    const bool isCloud = epoch.surface.cloud.has_value();
    if (isCloud) {
        if (auto done = makeOfClouds(isConverted ? flown : file, epoch, notes, progress); !done) {
            return failed(done);
        }
    }
    if (isConverted) {
        const auto done = writeConvertedHeights(epoch.surface, epoch.surface.heights, epoch.convertedHeights,
                                                file, partOf(conversionWork(epoch), progress));
        QFile::remove(flown);
        return done ? Result<QString>(file) : failed(done);
    }
    if (isMerged(epoch)) {
        const auto done = writeMosaic(epoch.surface, file, partOf(mergingWork(epoch), progress));
        return done ? Result<QString>(file) : failed(done);
    }
    return isCloud ? Result<QString>(file)
                   : placeRaster(folder, QStringLiteral("dsm"), epoch.surface, copies, progress);
}

/// How much work it is to place the epoch's rasters, in the unit of the progress.
double workOf(const PlannedEpoch& epoch, bool copies) {
    double work =
        cloudWork(epoch.surface) + conversionWork(epoch) + (isMerged(epoch) ? mergingWork(epoch) : 0.0);
    QStringList copied;
    if (copies) {
        copied << (isMade(epoch) ? QStringList() : epoch.surface.files)
               << (epoch.picture ? epoch.picture->files : QStringList());
    }
    for (const QString& tile : copied) {
        for (const QString& file : companionsOf(tile)) {
            work += double(QFileInfo(file).size());
        }
    }
    return work;
}

} // namespace

WorkProgress workProgress(const std::vector<PlannedEpoch>& epochs, bool copies,
                          const std::function<bool(double fraction)>& progress) {
    double all = 0.0;
    for (const PlannedEpoch& epoch : epochs) {
        all += workOf(epoch, copies);
    }
    return [all, done = 0.0, progress](double work) mutable {
        done += work;
        return !progress || progress(all > 0.0 ? std::min(1.0, done / all) : 0.0);
    };
}

QString folderNameOf(const PlannedEpoch& epoch, std::size_t number) {
    return epoch.date.isEmpty() ? QString::number(number) : epoch.date;
}

Result<PlacedEpoch> placeRasters(const QString& folder, const PlannedEpoch& epoch, bool copies,
                                 const WorkProgress& progress) {
    if (!QDir().mkpath(folder)) {
        return fileFailure(folder, "cannot be created", "无法创建文件夹");
    }
    PlacedEpoch placed;
    placed.epoch.date = epoch.date;
    auto surface = placeSurface(folder, epoch, copies, placed.notes, progress);
    if (!surface) {
        return failed(surface);
    }
    placed.epoch.dsm = *std::move(surface);
    placed.epoch.heights = epoch.convertedHeights.isEmpty() ? epoch.toldHeights : QString();
    if (epoch.picture) {
        auto picture = placeRaster(folder, QStringLiteral("dom"), *epoch.picture, copies, progress);
        if (!picture) {
            return failed(picture);
        }
        placed.epoch.dom = *std::move(picture);
    }
    return placed;
}

} // namespace inspection
