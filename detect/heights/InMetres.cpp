#include "detect/heights/InMetres.h"

#include "detect/GdalErrors.h"
#include "detect/heights/SurfaceModel.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

namespace detect {

namespace {

constexpr const char* kDriver = "HeightsInMetres";
constexpr std::string_view kPrefix = "HEIGHTS_IN_METRES:";

/// A band of heights; its blocks are the source's.
class MetreBand : public GDALRasterBand {
public:
    MetreBand(GDALRasterBand& source, GDALRasterBand* mask, const RasterFacts& facts)
        : m_heights(source, mask, facts.coding, facts.path) {
        nRasterXSize = source.GetXSize();
        nRasterYSize = source.GetYSize();
        eDataType = GDT_Float32;
        source.GetBlockSize(&nBlockXSize, &nBlockYSize);
    }

    void addOverview(std::unique_ptr<MetreBand> overview) { m_overviews.push_back(std::move(overview)); }

    double GetNoDataValue(int* declared) override {
        if (declared) {
            *declared = TRUE;
        }
        return double{kNoHeight};
    }
    const char* GetUnitType() override { return "m"; }
    int GetOverviewCount() override { return static_cast<int>(m_overviews.size()); }
    GDALRasterBand* GetOverview(int index) override {
        const auto at = static_cast<std::size_t>(index);
        return at < m_overviews.size() ? m_overviews[at].get() : nullptr;
    }

protected:
    CPLErr IReadBlock(int blockColumn, int blockRow, void* block) override {
        const CellWindow window =
            intersect({blockColumn * nBlockXSize, blockRow * nBlockYSize, nBlockXSize, nBlockYSize},
                      {0, 0, nRasterXSize, nRasterYSize});
        const auto stride = static_cast<std::size_t>(nBlockXSize);
        if (auto done = m_heights.read(window, static_cast<float*>(block), stride); !done) {
            CPLError(CE_Failure, CPLE_FileIO, "%s", done.error().message.c_str());
            return CE_Failure;
        }
        return CE_None;
    }

private:
    HeightBand m_heights;
    std::vector<std::unique_ptr<MetreBand>> m_overviews;
};

class MetreDataset : public GDALDataset {
public:
    explicit MetreDataset(SurfaceModel model) : m_model(std::move(model)) {
        nRasterXSize = m_model.grid().columns();
        nRasterYSize = m_model.grid().rows();
        GDALRasterBand& source = m_model.band();
        auto band = std::make_unique<MetreBand>(source, maskOf(source), m_model.facts());
        const int overviews = m_model.facts().coding.declaresHoles() ? source.GetOverviewCount() : 0;
        for (int i = 0; i < overviews; ++i) {
            band->addOverview(std::make_unique<MetreBand>(*source.GetOverview(i), nullptr, m_model.facts()));
        }
        SetBand(1, band.release());
    }

    CPLErr GetGeoTransform(double* transform) override {
        const auto& cellToMap = m_model.grid().cellToMap().c;
        std::copy(cellToMap.begin(), cellToMap.end(), transform);
        return CE_None;
    }
    const OGRSpatialReference* GetSpatialRef() const override {
        const OGRSpatialReference& srs = m_model.grid().srs();
        return srs.IsEmpty() ? nullptr : &srs;
    }
    /// Those of the file, by whose sizes and dates a changed raster is known.
    char** GetFileList() override { return m_model.dataset().GetFileList(); }

private:
    SurfaceModel m_model;
};

int isInMetres(GDALOpenInfo* info) {
    return std::string_view(info->pszFilename).substr(0, kPrefix.size()) == kPrefix ? TRUE : FALSE;
}

GDALDataset* openNamed(GDALOpenInfo* info) {
    if (isInMetres(info) == FALSE || info->eAccess != GA_ReadOnly) {
        return nullptr;
    }
    auto raster = openInMetres(info->pszFilename + kPrefix.size());
    if (!raster) {
        CPLError(CE_Failure, CPLE_OpenFailed, "%s", raster.error().message.c_str());
        return nullptr;
    }
    (*raster)->SetDescription(info->pszFilename);
    return raster->release();
}

void registerDriver() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (GetGDALDriverManager()->GetDriverByName(kDriver)) {
            return; // of another library of this program
        }
        auto driver = std::make_unique<GDALDriver>();
        driver->SetDescription(kDriver);
        driver->SetMetadataItem(GDAL_DCAP_RASTER, "YES");
        driver->pfnIdentify = isInMetres;
        driver->pfnOpen = openNamed;
        GetGDALDriverManager()->RegisterDriver(driver.release());
    });
}

} // namespace

Result<GDALDatasetUniquePtr> openInMetres(const std::string& path) {
    auto model = SurfaceModel::open(path);
    if (!model) {
        return failed(model);
    }
    return GDALDatasetUniquePtr(new MetreDataset(std::move(*model)));
}

std::string nameInMetres(const std::string& path) {
    const auto model = SurfaceModel::open(path);
    if (!model) {
        return path;
    }
    const HeightCoding& coding = model->facts().coding;
    if (coding.declaresHoles() && !coding.isScaled()) {
        return path;
    }
    return nameInMetresOnOpening(path);
}

std::string nameInMetresOnOpening(const std::string& path) {
    registerDriver();
    return std::string(kPrefix) + path;
}

} // namespace detect
