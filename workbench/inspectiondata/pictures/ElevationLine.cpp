#include "workbench/inspectiondata/pictures/ElevationLine.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>

namespace inspection {

namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

struct DatasetCloser {
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using DatasetHandle = std::unique_ptr<GDALDataset, DatasetCloser>;

/// A surface model that is asked for single elevations in raster coordinates.
class ElevationBand {
public:
    explicit ElevationBand(GDALRasterBand& band) : m_band(band) {
        int hasNoData = 0;
        const double noData = band.GetNoDataValue(&hasNoData);
        m_noData = hasNoData != 0 ? noData : kUnknown;
    }

    /// Bilinear between cell centres; (0, 0) is the upper left corner of the raster.
    double at(double column, double row) const {
        if (column < 0.0 || row < 0.0 || column > m_band.GetXSize() || row > m_band.GetYSize() ||
            m_band.GetXSize() < 2 || m_band.GetYSize() < 2) {
            return kUnknown;
        }
        const double x = std::clamp(column - 0.5, 0.0, m_band.GetXSize() - 1.0);
        const double y = std::clamp(row - 0.5, 0.0, m_band.GetYSize() - 1.0);
        const int left = std::min(static_cast<int>(x), m_band.GetXSize() - 2);
        const int top = std::min(static_cast<int>(y), m_band.GetYSize() - 2);
        std::array<double, 4> cells{};
        if (m_band.RasterIO(GF_Read, left, top, 2, 2, cells.data(), 2, 2, GDT_Float64, 0, 0, nullptr) !=
            CE_None) {
            return kUnknown;
        }
        for (double& cell : cells) {
            cell = cell == m_noData ? kUnknown : cell;
        }
        const double right = x - left;
        const double down = y - top;
        return (cells[0] * (1.0 - right) + cells[1] * right) * (1.0 - down) +
               (cells[2] * (1.0 - right) + cells[3] * right) * down;
    }

private:
    GDALRasterBand& m_band;
    double m_noData = kUnknown;
};

/// Null when both systems are the same, or when one of them is unknown (`known` is false then).
std::unique_ptr<OGRCoordinateTransformation> transformation(const QString& srs, const GDALDataset& dataset,
                                                            bool& known) {
    known = false;
    OGRSpatialReference line;
    const OGRSpatialReference* raster = dataset.GetSpatialRef();
    if (!raster || line.SetFromUserInput(srs.toUtf8().constData()) != OGRERR_NONE) {
        return nullptr;
    }
    line.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    OGRSpatialReference target(*raster);
    target.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    if (line.IsSame(&target) != 0) {
        known = true;
        return nullptr;
    }
    std::unique_ptr<OGRCoordinateTransformation> result(OGRCreateCoordinateTransformation(&line, &target));
    known = result != nullptr;
    return result;
}

} // namespace

std::vector<double> sampleElevations(const QString& surfaceModel, const QString& srs, const QLineF& line,
                                     int count) {
    GDALAllRegister();
    const DatasetHandle dataset(
        GDALDataset::Open(surfaceModel.toUtf8().constData(), GDAL_OF_RASTER | GDAL_OF_READONLY));
    std::array<double, 6> toGround{};
    std::array<double, 6> toRaster{};
    if (!dataset || dataset->GetRasterCount() < 1 || dataset->GetGeoTransform(toGround.data()) != CE_None ||
        GDALInvGeoTransform(toGround.data(), toRaster.data()) == 0) {
        return {};
    }
    bool known = false;
    const auto toRasterSystem = transformation(srs, *dataset, known);
    if (!known) {
        return {};
    }
    const ElevationBand band(*dataset->GetRasterBand(1));
    std::vector<double> elevations;
    elevations.reserve(static_cast<std::size_t>(count));
    for (int step = 0; step < count; ++step) {
        const QPointF at = line.pointAt(static_cast<double>(step) / std::max(count - 1, 1));
        double x = at.x();
        double y = at.y();
        if (toRasterSystem && toRasterSystem->Transform(1, &x, &y) == 0) {
            elevations.push_back(kUnknown);
            continue;
        }
        elevations.push_back(band.at(toRaster[0] + toRaster[1] * x + toRaster[2] * y,
                                     toRaster[3] + toRaster[4] * x + toRaster[5] * y));
    }
    return elevations;
}

} // namespace inspection
