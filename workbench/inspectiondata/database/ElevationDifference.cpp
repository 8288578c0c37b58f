#include "workbench/inspectiondata/database/ElevationDifference.h"

#include "workbench/inspectiondata/project/ReferredFiles.h"

#include <cmath>

std::shared_ptr<const KV_ElevationDifference> KV_ElevationDifference::open(const std::string& file) {
    GDALAllRegister();
    std::unique_ptr<GDALDataset> raster(inspection::openResultRaster(QString::fromStdString(file)).release());
    if (!raster || raster->GetRasterCount() < 1) {
        return nullptr;
    }
    std::shared_ptr<KV_ElevationDifference> difference(new KV_ElevationDifference(file, std::move(raster)));
    if (difference->m_raster->GetGeoTransform(difference->m_fromPixel.data()) != CE_None ||
        GDALInvGeoTransform(difference->m_fromPixel.data(), difference->m_toPixel.data()) == 0) {
        return nullptr;
    }
    return difference;
}

KV_ElevationDifference::KV_ElevationDifference(std::string file, std::unique_ptr<GDALDataset> raster)
    : m_file(std::move(file)), m_raster(std::move(raster)) {
    int hasNoData = 0;
    const double noData = m_raster->GetRasterBand(1)->GetNoDataValue(&hasNoData);
    m_noData = hasNoData != 0 ? noData : std::nan("");
}

KV_ElevationDifference::~KV_ElevationDifference() = default;

bool KV_ElevationDifference::cell(int column, int row, double& dzMetres) const {
    if (column < 0 || row < 0 || column >= m_raster->GetRasterXSize() || row >= m_raster->GetRasterYSize()) {
        return false;
    }
    double value = 0.0;
    GDALRasterBand* band = m_raster->GetRasterBand(1);
    if (band->RasterIO(GF_Read, column, row, 1, 1, &value, 1, 1, GDT_Float64, 0, 0, nullptr) != CE_None ||
        !std::isfinite(value) || value == m_noData) {
        return false;
    }
    dzMetres = value;
    return true;
}

bool KV_ElevationDifference::at(double x, double y, double& dzMetres) const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    double column = 0.0;
    double row = 0.0;
    std::array<double, 6> toPixel = m_toPixel;
    GDALApplyGeoTransform(toPixel.data(), x, y, &column, &row);
    double own = 0.0;
    if (!(std::abs(column) < 1e9 && std::abs(row) < 1e9) ||
        !cell(static_cast<int>(std::floor(column)), static_cast<int>(std::floor(row)), own)) {
        return false;
    }
    const int left = static_cast<int>(std::floor(column - 0.5));
    const int top = static_cast<int>(std::floor(row - 0.5));
    const double rightWeight = column - 0.5 - left;
    const double lowerWeight = row - 0.5 - top;
    double sum = 0.0;
    for (int i = 0; i < 4; ++i) {
        const int dx = i % 2;
        const int dy = i / 2;
        double value = own;
        cell(left + dx, top + dy, value);
        sum +=
            value * (dx == 1 ? rightWeight : 1.0 - rightWeight) * (dy == 1 ? lowerWeight : 1.0 - lowerWeight);
    }
    dzMetres = sum;
    return true;
}
