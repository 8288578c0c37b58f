#include "RasterSource.h"

#include "HeightApron.h"
#include "HeightBlocks.h"
#include "ServedHeights.h"

#include <osg/Notify>

#include <gdal_priv.h>
#include <gdal_utils.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <filesystem>

namespace osgEarth {
namespace {

struct RegisterDrivers {
    RegisterDrivers() { GDALAllRegister(); }
};

void registerDrivers() {
    static const RegisterDrivers once;
}

// A cause, or GDAL's last error, on one line with the file's name.
Status failureOf(const std::string& location, const std::string& cause) {
    std::string message = location + ": " + cause;
    std::replace(message.begin(), message.end(), '\n', ' ');
    return Status(message);
}

class QuietErrors {
public:
    QuietErrors() {
        CPLPushErrorHandler(CPLQuietErrorHandler);
        CPLErrorReset();
    }
    ~QuietErrors() { CPLPopErrorHandler(); }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;
};

std::unique_ptr<GDALDataset> openDataset(const std::string& name) {
    return std::unique_ptr<GDALDataset>(
        GDALDataset::Open(name.c_str(), GDAL_OF_RASTER | GDAL_OF_VERBOSE_ERROR));
}

bool namesServer(const std::string& text) {
    constexpr const char* kServers[] = {"/vsicurl", "/vsis3",    "/vsigs",   "/vsiaz",     "/vsiadls",
                                        "/vsioss",  "/vsiswift", "/vsihdfs", "/vsiwebhdfs"};
    return std::any_of(std::begin(kServers), std::end(kServers),
                       [&text](const char* server) { return text.find(server) != std::string::npos; });
}

// Whether the cells come from a server, which should not be asked for all of them.
bool isServed(GDALDataset& dataset) {
    const std::string driver = dataset.GetDriverName();
    char** const description = dataset.GetMetadata("xml:VRT"); // names the sources
    return driver == "WMS" || driver == "WMTS" || namesServer(dataset.GetDescription()) ||
           (description && namesServer(description[0]));
}

bool isFolder(const std::string& location) {
    VSIStatBufL status;
    return VSIStatL(location.c_str(), &status) == 0 && VSI_ISDIR(status.st_mode);
}

// Independent of the working folder, because a VRT elsewhere may come to refer to the file.
std::string absolutePath(const std::string& location) {
    std::error_code error;
    const bool isPath = std::filesystem::exists(location, error) && !error;
    return isPath ? std::filesystem::absolute(location, error).lexically_normal().string() : location;
}

// Files that belong to another raster.
bool isSidecar(const std::string& name) {
    return name.front() == '.' || CPLGetExtension(name.c_str()) == std::string("ovr") ||
           CPLGetExtension(name.c_str()) == std::string("msk") ||
           name.find(".building-") != std::string::npos;
}

// A VRT in memory over all rasters of a folder; empty if there are none.
std::string mosaicOfFolder(const std::string& folder) {
    const CPLStringList names(VSIReadDir(folder.c_str()));
    CPLStringList rasters;
    for (int i = 0; i < names.Count(); ++i) {
        const std::string path = folder + "/" + names[i];
        if (!isSidecar(names[i]) && GDALIdentifyDriver(path.c_str(), nullptr) && openDataset(path)) {
            rasters.AddString(path.c_str());
        }
    }
    if (rasters.empty()) {
        return {};
    }
    static std::atomic<int> counter{0};
    std::string vrt = "/vsimem/corridor_mosaic_" + std::to_string(++counter) + ".vrt";
    int usageError = 0;
    GDALDatasetH mosaic =
        GDALBuildVRT(vrt.c_str(), rasters.Count(), nullptr, rasters.List(), nullptr, &usageError);
    if (!mosaic) {
        return {};
    }
    GDALClose(mosaic);
    return vrt;
}

} // namespace

// A data set for the exclusive use of one thread.
class RasterSource::Borrowed {
public:
    explicit Borrowed(RasterSource& source) : m_source(source) {
        std::string name;
        {
            const std::lock_guard lock(source.m_poolMutex);
            m_revision = source.m_revision;
            name = source.m_openName;
            takeIdle();
        }
        if (!m_lent.dataset) {
            m_lent.dataset = openDataset(name);
        }
    }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;
    GDALDataset* get() const { return m_lent.dataset.get(); }
    /// Lets others use the data set; one that does not know the latest overviews is closed instead.
    void handBack() {
        const std::lock_guard lock(m_source.m_poolMutex);
        if (m_source.m_revision == m_revision) {
            m_source.m_idle.push_back(std::move(m_lent));
        }
    }

private:
    void takeIdle() {
        auto& idle = m_source.m_idle;
        const auto found = std::find_if(idle.rbegin(), idle.rend(), [this](const Idle& each) {
            return !m_source.m_staysWithOpener || each.opener == m_lent.opener;
        });
        if (found != idle.rend()) {
            m_lent = std::move(*found);
            idle.erase(std::next(found).base());
        }
    }

    RasterSource& m_source;
    int m_revision = 0;
    Idle m_lent{nullptr, std::this_thread::get_id()};
};

std::shared_ptr<RasterSource> RasterSource::open(const std::string& location, Status& status, Log log) {
    registerDrivers();
    const QuietErrors quiet;
    std::shared_ptr<RasterSource> source(new RasterSource(location));
    source->m_hasWarned = log == Log::Nothing;
    const std::string path = absolutePath(location);
    if (isFolder(path)) {
        source->m_openName = source->m_mosaic = mosaicOfFolder(path);
    } else {
        removeOutdatedOverviews(path);
        source->m_openName = path;
    }
    std::unique_ptr<GDALDataset> dataset =
        source->m_openName.empty() ? nullptr : openDataset(source->m_openName);
    if (!dataset) {
        const std::string cause = CPLGetLastErrorMsg();
        status = failureOf(location, cause.empty() ? "not a raster, or a folder without rasters" : cause);
        return nullptr;
    }
    status = source->inspect(*dataset);
    if (status.isError()) {
        return nullptr;
    }
    source->prepareOverviews(std::move(dataset));
    return source;
}

RasterSource::RasterSource(std::string location)
    : m_location(std::move(location)), m_heightBlocks(std::make_unique<HeightBlocks>(*this)),
      m_heightApron(std::make_unique<HeightApron>(*this)) {}

RasterSource::~RasterSource() {
    m_overviews.reset(); // it calls back
    m_servedHeights.reset();
    const QuietErrors quiet;
    m_idle.clear();
    if (!m_mosaic.empty()) {
        VSIUnlink(m_mosaic.c_str());
    }
    if (!m_inMemory.empty()) {
        VSIUnlink((m_inMemory + ".ovr").c_str());
        VSIUnlink(m_inMemory.c_str());
    }
}

Status RasterSource::inspect(GDALDataset& dataset) {
    m_columns = dataset.GetRasterXSize();
    m_rows = dataset.GetRasterYSize();
    if (dataset.GetRasterCount() == 0 || m_columns <= 0 || m_rows <= 0) {
        return failureOf(m_location, "has no raster bands");
    }
    const OGRSpatialReference* definition = dataset.GetSpatialRef();
    char* wkt = nullptr;
    if (definition) {
        const char* const options[] = {"FORMAT=WKT2_2018", nullptr};
        definition->exportToWkt(&wkt, options);
    }
    m_srs = SpatialReference::create(wkt ? wkt : "");
    CPLFree(wkt);
    if (!m_srs.valid()) {
        return failureOf(m_location, "has no usable reference system");
    }
    if (dataset.GetGeoTransform(m_toWorld.data()) != CE_None ||
        GDALInvGeoTransform(m_toWorld.data(), m_toCells.data()) == 0) {
        return failureOf(m_location, "has no georeference");
    }

    Bounds box;
    for (const double column : {0.0, static_cast<double>(m_columns)}) {
        for (const double row : {0.0, static_cast<double>(m_rows)}) {
            box.expandBy(m_toWorld[0] + column * m_toWorld[1] + row * m_toWorld[2],
                         m_toWorld[3] + column * m_toWorld[4] + row * m_toWorld[5]);
        }
    }
    m_extent = GeoExtent(m_srs.get(), box);
    m_footprint = Footprint(m_extent);
    if (!m_footprint.isValid()) {
        return failureOf(m_location, "lies outside the reach of its reference system");
    }
    m_bands = RasterBands(dataset);
    m_staysWithOpener = dataset.GetDriverName() != std::string("GTiff");
    return Status::OK();
}

// Keeps the first data set, unless overviews are already there under another name.
void RasterSource::prepareOverviews(std::unique_ptr<GDALDataset> first) {
    if (!isServed(*first) && RasterBands::wantsOverviews(*first)) {
        const std::string cached = cachedOverviews(m_openName, *first);
        if (!cached.empty()) {
            m_openName = cached;
            return;
        }
        m_overviews = std::make_unique<OverviewBuilder>(
            m_openName, [this](const OverviewBuilder::Result& result) { useOverviews(result); });
    }
    const std::lock_guard lock(m_poolMutex);
    if (m_revision == 0) {
        m_idle.push_back({std::move(first), std::this_thread::get_id()});
    }
}

// On the builder's thread.
void RasterSource::useOverviews(const OverviewBuilder::Result& result) {
    if (!result.problem.empty()) {
        warnOnce(m_location + ": overviews are not kept: " + result.problem);
    }
    if (result.openName.empty()) {
        return;
    }
    std::vector<Idle> outdated;
    const std::lock_guard lock(m_poolMutex);
    m_openName = result.openName;
    m_inMemory = result.inMemory ? result.openName : std::string();
    outdated.swap(m_idle);
    ++m_revision;
}

float RasterSource::preparation() const {
    return m_overviews ? m_overviews->progress() : 1.0F;
}

void RasterSource::toCells(double x, double y, double& column, double& row) const {
    column = m_toCells[0] + x * m_toCells[1] + y * m_toCells[2];
    row = m_toCells[3] + x * m_toCells[4] + y * m_toCells[5];
}

double RasterSource::turn(double x) const {
    return m_srs->isGeographic() ? m_footprint.turn(x) : 0.0;
}

template<typename Read>
bool RasterSource::read(const Read& readFrom) {
    const QuietErrors quiet;
    Borrowed dataset(*this);
    if (!dataset.get()) {
        noteFailure("cannot be opened any more");
        return false;
    }
    if (!readFrom(*dataset.get())) {
        noteFailure("cannot be read");
        return false;
    }
    dataset.handBack();
    return true;
}

bool RasterSource::readImage(const CellWindow& window, std::vector<std::uint8_t>& rgba) {
    return read([&](GDALDataset& dataset) { return m_bands.readImage(dataset, window, rgba); });
}

bool RasterSource::readHeights(const CellWindow& window, std::vector<float>& heights) {
    if (m_servedHeights) {
        m_servedHeights->heights(window, ServedHeights::Lacking::Ask, heights);
        return true;
    }
    return fetchHeights(window, heights);
}

bool RasterSource::knownHeights(const CellWindow& window, std::vector<float>& heights) {
    if (m_servedHeights) {
        m_servedHeights->heights(window, ServedHeights::Lacking::Ignore, heights);
        return true;
    }
    return fetchHeights(window, heights);
}

bool RasterSource::serveHeights() {
    m_servedHeights = ServedHeights::start(shared_from_this());
    return m_servedHeights != nullptr;
}

bool RasterSource::isLoadingHeights() const {
    return m_servedHeights && m_servedHeights->isLoading();
}

int RasterSource::heightArrivals() const {
    return m_servedHeights ? m_servedHeights->revision() : 0;
}

bool RasterSource::fetchHeights(const CellWindow& window, std::vector<float>& heights) {
    return read([&](GDALDataset& dataset) { return m_bands.readHeights(dataset, window, heights); });
}

void RasterSource::noteFailure(const std::string& what) {
    if (m_hasFailed) {
        return;
    }
    const std::string cause = CPLGetLastErrorMsg();
    Status failure = failureOf(m_location, cause.empty() ? what : what + ": " + cause);
    {
        const std::lock_guard lock(m_failureMutex);
        if (m_hasFailed) {
            return;
        }
        m_failure = failure;
        m_hasFailed = true;
    }
    warnOnce(failure.message());
}

void RasterSource::warnOnce(const std::string& message) {
    {
        const std::lock_guard lock(m_failureMutex);
        if (m_hasWarned) {
            return;
        }
        m_hasWarned = true;
    }
    OSG_WARN << message << std::endl;
}

} // namespace osgEarth
