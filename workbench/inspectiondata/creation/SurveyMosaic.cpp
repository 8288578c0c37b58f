#include "workbench/inspectiondata/creation/SurveyMosaic.h"

#include "detect/GdalErrors.h"

#include <QFile>

#include <gdal_priv.h>
#include <gdal_utils.h>

#include <cmath>

namespace inspection {

namespace {

std::shared_ptr<GDALDataset> shared(GDALDatasetH dataset) {
    return std::shared_ptr<GDALDataset>(GDALDataset::FromHandle(dataset),
                                        [](GDALDataset* open) { GDALClose(GDALDataset::ToHandle(open)); });
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

Result<std::shared_ptr<GDALDataset>> openMosaic(const SurveyRaster& raster, const QString& file) {
    const detect::GdalErrors errors;
    const QString& first = raster.files.front();
    auto dataset = raster.files.size() == 1 ? shared(GDALOpen(first.toUtf8().constData(), GA_ReadOnly))
                                            : virtualRaster(raster.files, file);
    if (!dataset || errors.any()) {
        dataset.reset();
        if (!file.isEmpty()) {
            QFile::remove(file);
        }
        return fileFailure(first, "cannot be read: " + QString::fromStdString(errors.first()), "无法读取");
    }
    return dataset;
}

SurveyCoverage::SurveyCoverage(const SurveyRaster& raster, const OGRSpatialReference& reference) {
    const auto dataset = openMosaic(raster);
    std::array<double, 6> fromCell{};
    if (!dataset || (*dataset)->GetGeoTransform(fromCell.data()) != CE_None ||
        GDALInvGeoTransform(fromCell.data(), m_toCell.data()) == 0) {
        return;
    }
    m_toRaster = transformationBetween(reference, raster.reference);
    m_dataset = *dataset;
}

bool SurveyCoverage::holds(double x, double y) const {
    if (!m_dataset || !m_toRaster || m_toRaster->Transform(1, &x, &y) == 0) {
        return false;
    }
    std::array<double, 6> toCell = m_toCell;
    double column = 0.0;
    double row = 0.0;
    GDALApplyGeoTransform(toCell.data(), x, y, &column, &row);
    if (column < 0.0 || row < 0.0 || column >= m_dataset->GetRasterXSize() ||
        row >= m_dataset->GetRasterYSize()) {
        return false;
    }
    const detect::GdalErrors errors;
    GDALRasterBand* band = m_dataset->GetRasterBand(1);
    const int cellColumn = static_cast<int>(column);
    const int cellRow = static_cast<int>(row);
    std::uint8_t valid = 0;
    double height = 0.0;
    const bool read = band->GetMaskBand()->RasterIO(GF_Read, cellColumn, cellRow, 1, 1, &valid, 1, 1,
                                                    GDT_Byte, 0, 0, nullptr) == CE_None &&
                      band->RasterIO(GF_Read, cellColumn, cellRow, 1, 1, &height, 1, 1, GDT_Float64, 0, 0,
                                     nullptr) == CE_None;
    return read && valid != 0 && std::isfinite(height);
}

} // namespace inspection
