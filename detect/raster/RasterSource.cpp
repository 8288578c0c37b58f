#include "detect/raster/RasterSource.h"

#include "detect/GdalErrors.h"
#include "detect/raster/HeightRange.h"

#include <cpl_vsi.h>

#include <cmath>
#include <mutex>
#include <utility>

namespace detect {

namespace {

constexpr float kLowestHeight = -12000.0F;
constexpr float kHighestHeight = 30000.0F;

void registerDrivers() {
    static std::once_flag once;
    std::call_once(once, [] { GDALAllRegister(); });
}

bool exists(const std::string& path) {
    VSIStatBufL status;
    return VSIStatExL(path.c_str(), &status, VSI_STAT_EXISTS_FLAG) == 0;
}

/// Of subdatasets ("NETCDF:…") and files behind a network GDAL itself knows best what is wrong.
bool isLocalFile(const std::string& path) {
    const bool isVirtual = path.rfind("/vsi", 0) == 0 && path.rfind("/vsimem/", 0) != 0;
    return !isVirtual && path.find(':') == std::string::npos;
}

double metresPerHeightUnit(const char* unit) {
    const std::string name = unit ? unit : "";
    if (name == "ft" || name == "foot" || name == "feet") {
        return 0.3048;
    }
    if (name == "US survey foot" || name == "us-ft") {
        return 1200.0 / 3937.0;
    }
    return 1.0;
}

void hideInvalid(float* heights, int count, float noData) {
    for (int i = 0; i < count; ++i) {
        const float z = heights[i];
        const bool valid = (z > kLowestHeight) & (z < kHighestHeight) & (z != noData);
        heights[i] = valid ? z : kNoHeight;
    }
}

void toMetres(float* heights, int count, float noData, float scale, float offset) {
    for (int i = 0; i < count; ++i) {
        heights[i] = heights[i] == noData ? kNoHeight : heights[i] * scale + offset;
    }
}

} // namespace

Result<RasterSource> RasterSource::open(const std::string& path) {
    registerDrivers();
    if (isLocalFile(path) && !exists(path)) {
        return failureOf(path, "文件不存在");
    }
    RasterFacts facts;
    facts.path = path;
    RasterSource source(std::move(facts));
    if (auto done = source.openBand(); !done) {
        return failed(done);
    }
    if (auto done = source.learn(); !done) {
        return failed(done);
    }
    return source;
}

Result<RasterSource> RasterSource::openAgain(const RasterFacts& facts) {
    RasterSource source(facts);
    if (auto done = source.openBand(); !done) {
        return failed(done);
    }
    return source;
}

Status RasterSource::openBand() {
    const GdalErrors errors;
    const std::string& path = m_facts.path;
    m_dataset.reset(
        GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
    if (!m_dataset) {
        return failureOf(path, "无法作为栅格打开", errors.first());
    }
    if (m_dataset->GetRasterCount() < 1) {
        return failureOf(path, "没有波段");
    }
    m_band = m_dataset->GetRasterBand(1);
    return {};
}

Status RasterSource::learn() {
    const GdalErrors quiet;
    const OGRSpatialReference* srs = m_dataset->GetSpatialRef();
    if (!srs || srs->IsEmpty()) {
        return failureOf(m_facts.path, "没有坐标参考系统");
    }
    OGRSpatialReference horizontal(*srs);
    horizontal.StripVertical();
    horizontal.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    Affine cellToMap;
    if (m_dataset->GetGeoTransform(cellToMap.c.data()) != CE_None || cellToMap.determinant() == 0.0) {
        return failureOf(m_facts.path, "没有地理定位（仿射变换）");
    }
    m_facts.grid =
        Grid(m_dataset->GetRasterXSize(), m_dataset->GetRasterYSize(), cellToMap, std::move(horizontal));

    m_band->GetBlockSize(&m_facts.tileColumns, &m_facts.tileRows);
    int declared = 0;
    const double noData = m_band->GetNoDataValue(&declared);
    m_facts.hasNoData = declared != 0;
    if (m_facts.hasNoData) {
        m_facts.noData = static_cast<float>(noData);
    }
    const double metres = metresPerHeightUnit(m_band->GetUnitType());
    m_facts.metresPerUnit = static_cast<float>(m_band->GetScale() * metres);
    m_facts.offsetMetres = static_cast<float>(m_band->GetOffset() * metres);
    m_facts.hasMask = (m_band->GetMaskFlags() & (GMF_PER_DATASET | GMF_ALPHA)) != 0;
    return {};
}

bool RasterSource::isEmpty(const CellWindow& window) {
    if (!m_facts.hasNoData) {
        return false;
    }
    const GdalErrors quiet;
    return m_band->GetDataCoverageStatus(window.column, window.row, window.columns, window.rows, 0,
                                         nullptr) == GDAL_DATA_COVERAGE_STATUS_EMPTY;
}

Status RasterSource::read(const CellWindow& window, float* heights, std::size_t stride) {
    if (!m_tiles) {
        return decode(window, heights, stride);
    }
    return m_tiles->read(window, heights, stride, [this](const CellWindow& tile, float* tileHeights) {
        return decode(tile, tileHeights, static_cast<std::size_t>(tile.columns));
    });
}

Status RasterSource::decode(const CellWindow& window, float* heights, std::size_t stride) {
    GdalErrors errors;
    const auto lineSpace = static_cast<GSpacing>(stride) * GSpacing{sizeof(float)};
    const CPLErr status =
        m_band->RasterIO(GF_Read, window.column, window.row, window.columns, window.rows, heights,
                         window.columns, window.rows, GDT_Float32, sizeof(float), lineSpace, nullptr);
    if (status != CE_None || errors.any()) {
        return failureOf(m_facts.path, "读取失败，文件可能被截断或损坏", errors.first());
    }

    const bool scaled = m_facts.metresPerUnit != 1.0F || m_facts.offsetMetres != 0.0F;
    for (int row = 0; row < window.rows; ++row) {
        float* line = heights + static_cast<std::size_t>(row) * stride;
        if (scaled) {
            toMetres(line, window.columns, m_facts.noData, m_facts.metresPerUnit, m_facts.offsetMetres);
        }
        hideInvalid(line, window.columns, scaled ? kNoHeight : m_facts.noData);
    }
    return m_facts.hasMask ? hideMasked(window, heights, stride) : Status();
}

Status RasterSource::hideMasked(const CellWindow& window, float* heights, std::size_t stride) {
    GdalErrors errors;
    m_mask.resize(static_cast<std::size_t>(window.cells()));
    const CPLErr status =
        m_band->GetMaskBand()->RasterIO(GF_Read, window.column, window.row, window.columns, window.rows,
                                        m_mask.data(), window.columns, window.rows, GDT_Byte, 0, 0, nullptr);
    if (status != CE_None || errors.any()) {
        return failureOf(m_facts.path, "读取掩膜失败", errors.first());
    }
    const std::uint8_t* mask = m_mask.data();
    for (int row = 0; row < window.rows; ++row) {
        float* line = heights + static_cast<std::size_t>(row) * stride;
        for (int column = 0; column < window.columns; ++column, ++mask) {
            line[column] = *mask != 0 ? line[column] : kNoHeight;
        }
    }
    return {};
}

} // namespace detect
