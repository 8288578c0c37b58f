#include "workbench/inspectiondata/compute/StableDifferences.h"

#include "detect/GdalErrors.h"
#include "detect/shape/PolygonGeometry.h"
#include "workbench/inspectiondata/project/ReferredFiles.h"

#include <gdal_alg.h>
#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace inspection {

namespace {

constexpr int kBins = 40;
constexpr double kHalfWidthOfNmad = 4.0;
constexpr double kLeastHalfWidthMetres = 0.05;
constexpr int kRowsAtATime = 256;

/// Walks over a raster in strips of rows.
class StableGround {
public:
    StableGround(GDALDataset& raster, const std::vector<detect::Anomaly>& anomalies)
        : m_band(*raster.GetRasterBand(1)), m_columns(raster.GetRasterXSize()),
          m_rows(raster.GetRasterYSize()) {
        raster.GetGeoTransform(m_transform.data());
        for (const detect::Anomaly& anomaly : anomalies) {
            m_outlines.push_back(detect::geometryOf(anomaly.outline, anomaly.holes));
        }
    }

    bool countInto(Histogram& histogram) {
        for (int row = 0; row < m_rows; row += kRowsAtATime) {
            if (!countStrip(row, std::min(kRowsAtATime, m_rows - row), histogram)) {
                return false;
            }
        }
        return true;
    }

private:
    bool countStrip(int row, int rows, Histogram& histogram) {
        const std::size_t cells = std::size_t(m_columns) * std::size_t(rows);
        m_metres.resize(cells);
        m_changed.assign(cells, 0);
        if (m_band.RasterIO(GF_Read, 0, row, m_columns, rows, m_metres.data(), m_columns, rows, GDT_Float32,
                            0, 0, nullptr) != CE_None ||
            !markChanged(row, rows)) {
            return false;
        }
        for (std::size_t cell = 0; cell < cells; ++cell) {
            if (m_changed[cell] == 0 && std::isfinite(m_metres[cell])) {
                count(histogram, m_metres[cell]);
            }
        }
        return true;
    }

    bool markChanged(int row, int rows) {
        std::vector<OGRGeometryH> outlines = outlinesIn(row, rows);
        if (outlines.empty()) {
            return true;
        }
        GDALDriver* memory = GetGDALDriverManager()->GetDriverByName("MEM");
        const GDALDatasetUniquePtr marks(memory->Create("", m_columns, rows, 1, GDT_Byte, nullptr));
        std::array<double, 6> transform = m_transform;
        transform[0] += row * m_transform[2];
        transform[3] += row * m_transform[5];
        marks->SetGeoTransform(transform.data());
        int band = 1;
        const std::vector<double> ones(outlines.size(), 1.0);
        return GDALRasterizeGeometries(GDALDataset::ToHandle(marks.get()), 1, &band,
                                       static_cast<int>(outlines.size()), outlines.data(), nullptr, nullptr,
                                       ones.data(), nullptr, nullptr, nullptr) == CE_None &&
               marks->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, m_columns, rows, m_changed.data(), m_columns,
                                                 rows, GDT_Byte, 0, 0, nullptr) == CE_None;
    }

    std::vector<OGRGeometryH> outlinesIn(int row, int rows) const {
        OGREnvelope strip;
        for (const int line : {row, row + rows}) {
            for (const int column : {0, m_columns}) {
                strip.Merge(m_transform[0] + column * m_transform[1] + line * m_transform[2],
                            m_transform[3] + column * m_transform[4] + line * m_transform[5]);
            }
        }
        std::vector<OGRGeometryH> outlines;
        for (const auto& outline : m_outlines) {
            OGREnvelope bounds;
            outline->getEnvelope(&bounds);
            if (bounds.Intersects(strip)) {
                outlines.push_back(OGRGeometry::ToHandle(outline.get()));
            }
        }
        return outlines;
    }

    GDALRasterBand& m_band;
    const int m_columns;
    const int m_rows;
    std::array<double, 6> m_transform{};
    std::vector<std::unique_ptr<OGRPolygon>> m_outlines;
    std::vector<float> m_metres;
    std::vector<unsigned char> m_changed;
};

} // namespace

std::optional<Histogram> stableDifferences(const QString& dzRaster,
                                           const std::vector<detect::Anomaly>& anomalies,
                                           const detect::Coregistration& coregistration) {
    const detect::GdalErrors quiet;
    const GDALDatasetUniquePtr raster = openResultRaster(dzRaster);
    Histogram histogram = emptyHistogram(
        std::max(kHalfWidthOfNmad * coregistration.nmadAfterMetres, kLeastHalfWidthMetres), kBins);
    const bool isCounted = raster && StableGround(*raster, anomalies).countInto(histogram);
    return isCounted ? std::optional(std::move(histogram)) : std::nullopt;
}

} // namespace inspection
