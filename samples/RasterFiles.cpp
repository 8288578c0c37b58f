#include "samples/RasterFiles.h"

#include "samples/Noise.h"
#include "samples/Parallel.h"

#include <cpl_conv.h>
#include <cpl_string.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>

namespace samples {

namespace {
struct DatasetCloser {
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using DatasetPtr = std::unique_ptr<GDALDataset, DatasetCloser>;

std::string failure(const std::string& path) {
    return path + "：无法写入：" + CPLGetLastErrorMsg();
}

DatasetPtr createRaster(const std::string& path, const RasterFrame& frame, int bands, GDALDataType type,
                        const CPLStringList& ownOptions) {
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    if (!driver) {
        return nullptr;
    }
    CPLStringList options(ownOptions);
    options.SetNameValue("TILED", "YES");
    options.SetNameValue("BLOCKXSIZE", "512");
    options.SetNameValue("BLOCKYSIZE", "512");
    options.SetNameValue("BIGTIFF", "IF_SAFER");
    options.SetNameValue("NUM_THREADS", "ALL_CPUS");
    DatasetPtr dataset(driver->Create(path.c_str(), frame.columns, frame.rows, bands, type, options.List()));
    if (!dataset) {
        return nullptr;
    }
    OGRSpatialReference crs;
    crs.SetFromUserInput(Extent::kCrs);
    dataset->SetSpatialRef(&crs);
    double transform[6] = {
        Extent::kWestEasting, frame.cellMetres, 0.0, Extent::kSouthNorthing + Extent::kHeightMetres, 0.0,
        -frame.cellMetres};
    dataset->SetGeoTransform(transform);
    return dataset;
}

bool addOverviews(GDALDataset& dataset) {
    std::vector<int> factors;
    for (int factor = 2; dataset.GetRasterXSize() / factor >= 256; factor *= 2) {
        factors.push_back(factor);
    }
    return factors.empty() || dataset.BuildOverviews("AVERAGE", static_cast<int>(factors.size()),
                                                     factors.data(), 0, nullptr, nullptr, nullptr) == CE_None;
}

/// Sets a GDAL option for the life of this object, in this thread.
class ScopedOption {
public:
    ScopedOption(const char* key, const char* value) : m_key(key) {
        CPLSetThreadLocalConfigOption(key, value);
    }
    ~ScopedOption() { CPLSetThreadLocalConfigOption(m_key, nullptr); }
    ScopedOption(const ScopedOption&) = delete;
    ScopedOption& operator=(const ScopedOption&) = delete;

private:
    const char* m_key;
};

/// Adds overviews and closes; the last blocks are written on closing, so that may fail, too.
std::optional<std::string> finish(const std::string& path, DatasetPtr dataset) {
    const ScopedOption threads("GDAL_NUM_THREADS", "ALL_CPUS");
    const ScopedOption quality("JPEG_QUALITY_OVERVIEW", "88");
    CPLErrorReset();
    const bool built = addOverviews(*dataset);
    dataset.reset();
    if (!built || CPLGetLastErrorType() >= CE_Failure) {
        return failure(path);
    }
    return std::nullopt;
}

float surveyNoise(int column, int row, double cellMetres, std::uint32_t seed) {
    const auto x = static_cast<float>(column * cellMetres);
    const auto y = static_cast<float>(row * cellMetres);
    return 0.018F * whiteNoise(column, row, seed) + 0.045F * gradientNoise(x / 1.9F, y / 1.9F, seed + 1);
}
} // namespace

std::optional<std::string> writeHeights(const std::string& path, const Surface& surface,
                                        std::uint32_t noiseSeed) {
    constexpr float kStepsPerMetre = 1024.0F;
    CPLErrorReset();
    CPLStringList options;
    options.SetNameValue("COMPRESS", "DEFLATE");
    options.SetNameValue("PREDICTOR", "3");
    options.SetNameValue("ZLEVEL", "4");
    DatasetPtr dataset = createRaster(path, surface.frame, 1, GDT_Float32, options);
    if (!dataset) {
        return failure(path);
    }
    Grid<float> measured = surface.height;
    forEachBand(measured.rows(), [&](int first, int end) {
        for (int r = first; r < end; ++r) {
            for (int c = 0; c < measured.columns(); ++c) {
                float& height = measured.at(c, r);
                height += surveyNoise(c, r, surface.frame.cellMetres, noiseSeed);
                height = std::floor(height * kStepsPerMetre + 0.5F) / kStepsPerMetre;
            }
        }
    });
    dataset->GetRasterBand(1)->SetUnitType("m");
    if (dataset->GetRasterBand(1)->RasterIO(GF_Write, 0, 0, measured.columns(), measured.rows(),
                                            measured.row(0), measured.columns(), measured.rows(), GDT_Float32,
                                            0, 0, nullptr) != CE_None) {
        return failure(path);
    }
    return finish(path, std::move(dataset));
}

std::optional<std::string> writePhoto(const std::string& path, const RasterFrame& frame,
                                      std::vector<std::uint8_t>& pixels) {
    CPLErrorReset();
    CPLStringList options;
    options.SetNameValue("COMPRESS", "JPEG");
    options.SetNameValue("PHOTOMETRIC", "YCBCR");
    options.SetNameValue("JPEG_QUALITY", "88");
    options.SetNameValue("INTERLEAVE", "PIXEL");
    DatasetPtr dataset = createRaster(path, frame, 3, GDT_Byte, options);
    if (!dataset) {
        return failure(path);
    }
    const GSpacing rowBytes = static_cast<GSpacing>(frame.columns) * 3;
    if (dataset->RasterIO(GF_Write, 0, 0, frame.columns, frame.rows, pixels.data(), frame.columns, frame.rows,
                          GDT_Byte, 3, nullptr, 3, rowBytes, 1, nullptr) != CE_None) {
        return failure(path);
    }
    return finish(path, std::move(dataset));
}

} // namespace samples
