#include "workbench/inspectiondata/creation/ProjectRasters.h"

#include "detect/GdalErrors.h"
#include "workbench/inspectiondata/creation/HeightSystem.h"
#include "workbench/inspectiondata/creation/SurveyMosaic.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gdal_priv.h>

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
    if (!QDir().mkpath(folder)) {
        return fileFailure(folder, "cannot be created", "无法创建文件夹");
    }
    if (const auto written = openMosaic(raster, file); !written) {
        return failed(written);
    }
    return file;
}

/// The surface model with its heights in the project's system.
Result<QString> placeConverted(const QString& folder, const PlannedEpoch& epoch,
                               const WorkProgress& progress) {
    const QString file = folder + QStringLiteral("/dsm.tif");
    if (!QDir().mkpath(folder)) {
        return fileFailure(folder, "cannot be created", "无法创建文件夹");
    }
    PlannedEpoch alone = epoch;
    alone.picture.reset();
    const double work = workOf(alone, false);
    double done = 0.0;
    const auto written = writeConvertedHeights(epoch.surface, epoch.surface.heights, epoch.convertedHeights,
                                               file, [&](double fraction) {
                                                   const double step = fraction * work - done;
                                                   done += step;
                                                   return progress(step);
                                               });
    if (!written) {
        return failed(written);
    }
    return file;
}

} // namespace

double workOf(const PlannedEpoch& epoch, bool copies) {
    constexpr double kBytesOfCell = 4.0;
    double work = epoch.convertedHeights.isEmpty() ? 0.0 : kBytesOfCell * epoch.surface.cells;
    for (const SurveyRaster* raster : {&epoch.surface, epoch.picture ? &*epoch.picture : nullptr}) {
        const bool copied =
            copies && raster && (raster != &epoch.surface || epoch.convertedHeights.isEmpty());
        for (const QString& tile : copied ? raster->files : QStringList()) {
            for (const QString& file : companionsOf(tile)) {
                work += double(QFileInfo(file).size());
            }
        }
    }
    return work;
}

Result<Epoch> placeRasters(const QString& folder, int number, const PlannedEpoch& epoch, bool copies,
                           const WorkProgress& progress) {
    const QString own =
        folder + QStringLiteral("/epochs/") + (epoch.date.isEmpty() ? QString::number(number) : epoch.date);
    const auto surface = epoch.convertedHeights.isEmpty()
                             ? placeRaster(own, QStringLiteral("dsm"), epoch.surface, copies, progress)
                             : placeConverted(own, epoch, progress);
    if (!surface) {
        return failed(surface);
    }
    Epoch placed{epoch.date, *surface, {}};
    if (epoch.picture) {
        const auto picture = placeRaster(own, QStringLiteral("dom"), *epoch.picture, copies, progress);
        if (!picture) {
            return failed(picture);
        }
        placed.dom = *picture;
    }
    return placed;
}

} // namespace inspection
