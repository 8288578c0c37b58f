#include "workbench/inspectiondata/database/GroundHeights.h"

#include "detect/GdalErrors.h"

#include <gdal_priv.h>

#include <cmath>

namespace inspection {

GroundHeights::GroundHeights(const ProjectDescription& project) {
    GDALAllRegister();
    const detect::GdalErrors errors;
    const QByteArray file = project.epochs.back().dsm.toUtf8();
    m_raster.reset(GDALDataset::Open(file.constData(), GDAL_OF_RASTER | GDAL_OF_READONLY));
    std::array<double, 6> fromCell{};
    if (!m_raster || m_raster->GetRasterCount() < 1 ||
        m_raster->GetGeoTransform(fromCell.data()) != CE_None ||
        GDALInvGeoTransform(fromCell.data(), m_toCell.data()) == 0) {
        m_raster.reset();
        return;
    }
    const OGRSpatialReference* own = m_raster->GetSpatialRef();
    const auto reference = own ? std::optional(*own) : referenceOf(project.crs);
    if (reference) {
        OGRSpatialReference target = *reference;
        target.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        m_toRaster = transformationBetween(wgs84(), target);
    }
}

GroundHeights::~GroundHeights() = default;

std::optional<double> GroundHeights::at(double lonDegrees, double latDegrees) const {
    if (!m_raster || !m_toRaster || m_toRaster->Transform(1, &lonDegrees, &latDegrees) == 0) {
        return std::nullopt;
    }
    std::array<double, 6> toCell = m_toCell;
    double column = 0.0;
    double row = 0.0;
    GDALApplyGeoTransform(toCell.data(), lonDegrees, latDegrees, &column, &row);
    const bool isInside = column >= 0.0 && row >= 0.0 && column < m_raster->GetRasterXSize() &&
                          row < m_raster->GetRasterYSize();
    GDALRasterBand* band = m_raster->GetRasterBand(1);
    int hasNoData = 0;
    const double noData = band->GetNoDataValue(&hasNoData);
    double metres = 0.0;
    if (!isInside ||
        band->RasterIO(GF_Read, static_cast<int>(column), static_cast<int>(row), 1, 1, &metres, 1, 1,
                       GDT_Float64, 0, 0, nullptr) != CE_None ||
        !std::isfinite(metres) || (hasNoData != 0 && metres == noData)) {
        return std::nullopt;
    }
    return metres;
}

} // namespace inspection
