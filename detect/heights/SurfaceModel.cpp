#include "detect/heights/SurfaceModel.h"

#include "detect/GdalErrors.h"

#include <cpl_vsi.h>

#include <cmath>
#include <mutex>
#include <utility>

namespace detect {

namespace {

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

/// Heights come in one band, colours in three.
bool isPhotograph(GDALDataset& dataset) {
    for (int band = 1; band <= 3; ++band) {
        if (band > dataset.GetRasterCount() || dataset.GetRasterBand(band)->GetRasterDataType() != GDT_Byte) {
            return false;
        }
    }
    return true;
}

/// What GDAL decodes to give one cell: a tile or strip, of all bands where these are interleaved. In floating point,
/// because a file may claim any size.
double megabytesAtOnce(GDALDataset& dataset) {
    GDALRasterBand& band = *dataset.GetRasterBand(1);
    int columns = 0;
    int rows = 0;
    band.GetBlockSize(&columns, &rows);
    const char* interleave = dataset.GetMetadataItem("INTERLEAVE", "IMAGE_STRUCTURE");
    const int bands = interleave && EQUAL(interleave, "PIXEL") ? dataset.GetRasterCount() : 1;
    constexpr double kMega = 1024.0 * 1024.0;
    return 1.0 * columns * rows * bands * GDALGetDataTypeSizeBytes(band.GetRasterDataType()) / kMega;
}

/// Every thread that reads has one such piece in memory.
Status fitsInMemory(GDALDataset& dataset, const std::string& path) {
    constexpr int kMostBands = 1024;
    constexpr int kMostMegabytes = 512;
    if (dataset.GetRasterCount() > kMostBands) {
        return failureOf(path, "有 " + std::to_string(dataset.GetRasterCount()) + " 个波段，最多 " +
                                   std::to_string(kMostBands) + " 个");
    }
    if (megabytesAtOnce(dataset) > kMostMegabytes) {
        return failureOf(path, "一个数据块解压后超过 " + std::to_string(kMostMegabytes) +
                                   " MB，请先转换为单波段、分块存储的文件");
    }
    return {};
}

} // namespace

Result<SurfaceModel> SurfaceModel::open(const std::string& path) {
    registerDrivers();
    if (isLocalFile(path) && !exists(path)) {
        return failureOf(path, "文件不存在");
    }
    RasterFacts facts;
    facts.path = path;
    SurfaceModel model(std::move(facts));
    if (auto done = model.openBand(); !done) {
        return failed(done);
    }
    if (auto done = model.learn(); !done) {
        return failed(done);
    }
    return model;
}

Result<SurfaceModel> SurfaceModel::openAgain(const RasterFacts& facts) {
    SurfaceModel model(facts);
    if (auto done = model.openBand(); !done) {
        return failed(done);
    }
    model.m_heights = HeightBand(*model.m_band, facts.coding.hasMask ? maskOf(*model.m_band) : nullptr,
                                 facts.coding, facts.path);
    return model;
}

Status SurfaceModel::openBand() {
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

Status SurfaceModel::learn() {
    const GdalErrors quiet;
    if (isPhotograph(*m_dataset)) {
        return failureOf(m_facts.path, "是 8 位彩色影像（如正射影像），不是高程栅格");
    }
    if (auto done = fitsInMemory(*m_dataset, m_facts.path); !done) {
        return done;
    }
    Affine cellToMap;
    if (m_dataset->GetGeoTransform(cellToMap.c.data()) != CE_None || cellToMap.determinant() == 0.0) {
        return failureOf(m_facts.path, "没有地理定位（仿射变换）");
    }
    OGRSpatialReference horizontal;
    if (const OGRSpatialReference* srs = m_dataset->GetSpatialRef()) {
        horizontal = *srs;
        horizontal.StripVertical();
    }
    horizontal.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    m_facts.grid =
        Grid(m_dataset->GetRasterXSize(), m_dataset->GetRasterYSize(), cellToMap, std::move(horizontal));
    m_band->GetBlockSize(&m_facts.tileColumns, &m_facts.tileRows);
    m_facts.coding = HeightCoding::of(*m_band);
    m_heights = HeightBand(*m_band, maskOf(*m_band), m_facts.coding, m_facts.path);
    return {};
}

bool SurfaceModel::isEmpty(const CellWindow& window) {
    if (!m_facts.coding.hasNoData) {
        return false;
    }
    const GdalErrors quiet;
    return m_band->GetDataCoverageStatus(window.column, window.row, window.columns, window.rows, 0,
                                         nullptr) == GDAL_DATA_COVERAGE_STATUS_EMPTY;
}

float SurfaceModel::at(int column, int row) {
    float height = kNoHeight;
    if (column < 0 || row < 0 || column >= grid().columns() || row >= grid().rows() ||
        !read({column, row, 1, 1}, &height, 1)) {
        return kNoHeight;
    }
    return height;
}

float SurfaceModel::at(const Point& map) {
    const Point cell = grid().cellToMap().inverse()(map.x, map.y);
    const bool isInside = cell.x >= 0.0 && cell.y >= 0.0 && cell.x < grid().columns() &&
                          cell.y < grid().rows(); // false for NaN
    return isInside ? at(static_cast<int>(cell.x), static_cast<int>(cell.y)) : kNoHeight;
}

} // namespace detect
