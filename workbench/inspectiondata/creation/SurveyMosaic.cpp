#include "workbench/inspectiondata/creation/SurveyMosaic.h"

#include "detect/GdalErrors.h"
#include "detect/heights/InMetres.h"

#include <QFile>

#include <gdal_priv.h>
#include <gdal_utils.h>

#include <algorithm>

namespace inspection {

namespace {

std::shared_ptr<GDALDataset> shared(GDALDatasetH dataset) {
    return std::shared_ptr<GDALDataset>(GDALDataset::FromHandle(dataset),
                                        [](GDALDataset* open) { GDALClose(GDALDataset::ToHandle(open)); });
}

int gdalProgress(double fraction, const char*, void* progress) {
    return (*static_cast<const std::function<bool(double)>*>(progress))(fraction) ? TRUE : FALSE;
}

std::shared_ptr<GDALDataset> virtualRaster(const QStringList& files, const QString& target) {
    CPLStringList names;
    for (const QString& file : files) {
        names.AddString(file.toUtf8().constData());
    }
    CPLStringList arguments;
    arguments.AddString("-resolution");
    arguments.AddString("highest");
    GDALBuildVRTOptions* options = GDALBuildVRTOptionsNew(arguments.List(), nullptr);
    GDALDatasetH made =
        GDALBuildVRT(target.toUtf8().constData(), names.Count(), nullptr, names.List(), options, nullptr);
    GDALBuildVRTOptionsFree(options);
    if (made) {
        GDALFlushCache(made);
    }
    return made ? shared(made) : nullptr;
}

} // namespace

Result<std::shared_ptr<GDALDataset>> openMosaic(const SurveyRaster& raster, TileValues values,
                                                const QString& file) {
    const detect::GdalErrors errors;
    QStringList names = raster.files;
    if (values == TileValues::Metres) {
        for (QString& name : names) {
            name = QString::fromStdString(detect::nameInMetres(name.toStdString()));
        }
    }
    auto dataset = names.size() == 1 ? shared(GDALOpen(names.front().toUtf8().constData(), GA_ReadOnly))
                                     : virtualRaster(names, file);
    if (!dataset || errors.any()) {
        dataset.reset();
        if (!file.isEmpty()) {
            QFile::remove(file);
        }
        return fileFailure(raster.files.front(), "cannot be read: " + QString::fromStdString(errors.first()),
                           "无法读取");
    }
    return dataset;
}

bool areInMetres(const SurveyRaster& surface) {
    return std::all_of(surface.files.begin(), surface.files.end(), [](const QString& file) {
        return detect::nameInMetres(file.toStdString()) == file.toStdString();
    });
}

Status writeMosaic(const SurveyRaster& surface, const QString& file,
                   const std::function<bool(double fraction)>& progress) {
    const auto source = openMosaic(surface, TileValues::Metres);
    if (!source) {
        return failed(source);
    }
    const detect::GdalErrors errors;
    const char* const options[] = {"TILED=YES", "COMPRESS=DEFLATE", "BIGTIFF=IF_SAFER", nullptr};
    bool stopped = false;
    std::function<bool(double)> watched = [&](double fraction) {
        stopped = !progress(fraction);
        return !stopped;
    };
    GDALDataset* written = GetGDALDriverManager()->GetDriverByName("GTiff")->CreateCopy(
        file.toUtf8().constData(), source->get(), FALSE, const_cast<char**>(options), gdalProgress, &watched);
    const bool made = written != nullptr;
    GDALClose(GDALDataset::ToHandle(written));
    if (made && !stopped && !errors.any()) {
        return {};
    }
    QFile::remove(file);
    return stopped ? Status(cancelled())
                   : fileFailure(file, "cannot be written: " + QString::fromStdString(errors.first()),
                                 "无法写入");
}

} // namespace inspection
