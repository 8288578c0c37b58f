#include "RasterSource.h"

#include "HeightApron.h"
#include "HeightBlocks.h"

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
    return {Status::ResourceUnavailable, message};
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
    return std::unique_ptr<GDALDataset>(GDALDataset::Open(name.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
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
        if (!isSidecar(names[i]) && GDALIdentifyDriver(path.c_str(), nullptr) != nullptr &&
            openDataset(path)) {
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
    if (mosaic == nullptr) {
        return {};
    }
    GDALClose(mosaic);
    return vrt;
}

} // namespace

// A data set for the exclusive use of one thread.
class RasterSource::Borrowed {
public:
    explicit Borrowed(RasterSource& source) : _source(source) {
        std::string name;
        {
            const std::lock_guard lock(source._poolMutex);
            _revision = source._revision;
            name = source._openName;
            if (!source._idle.empty()) {
                _dataset = std::move(source._idle.back());
                source._idle.pop_back();
            }
        }
        if (_dataset == nullptr) {
            _dataset = openDataset(name);
        }
    }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;
    GDALDataset* get() const { return _dataset.get(); }
    /// Lets others use the data set; one that does not know the latest overviews is closed instead.
    void handBack() {
        const std::lock_guard lock(_source._poolMutex);
        if (_source._revision == _revision) {
            _source._idle.push_back(std::move(_dataset));
        }
    }

private:
    RasterSource& _source;
    int _revision = 0;
    std::unique_ptr<GDALDataset> _dataset;
};

std::shared_ptr<RasterSource> RasterSource::open(const std::string& location, Status& status) {
    registerDrivers();
    const QuietErrors quiet;
    std::shared_ptr<RasterSource> source(new RasterSource(location));
    const std::string path = absolutePath(location);
    if (isFolder(path)) {
        source->_openName = source->_mosaic = mosaicOfFolder(path);
    } else {
        removeOutdatedOverviews(path);
        source->_openName = path;
    }
    std::unique_ptr<GDALDataset> dataset =
        source->_openName.empty() ? nullptr : openDataset(source->_openName);
    if (dataset == nullptr) {
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
    : _location(std::move(location)), _heightBlocks(std::make_unique<HeightBlocks>(*this)),
      _heightApron(std::make_unique<HeightApron>(*this)) {}

RasterSource::~RasterSource() {
    _overviews.reset(); // it calls back
    const QuietErrors quiet;
    _idle.clear();
    if (!_mosaic.empty()) {
        VSIUnlink(_mosaic.c_str());
    }
    if (!_inMemory.empty()) {
        VSIUnlink((_inMemory + ".ovr").c_str());
        VSIUnlink(_inMemory.c_str());
    }
}

Status RasterSource::inspect(GDALDataset& dataset) {
    _columns = dataset.GetRasterXSize();
    _rows = dataset.GetRasterYSize();
    if (dataset.GetRasterCount() == 0 || _columns <= 0 || _rows <= 0) {
        return failureOf(_location, "has no raster bands");
    }
    const OGRSpatialReference* definition = dataset.GetSpatialRef();
    char* wkt = nullptr;
    if (definition != nullptr) {
        const char* const options[] = {"FORMAT=WKT2_2018", nullptr};
        definition->exportToWkt(&wkt, options);
    }
    _srs = SpatialReference::create(wkt != nullptr ? wkt : "");
    CPLFree(wkt);
    if (!_srs.valid()) {
        return failureOf(_location, "has no usable reference system");
    }
    if (dataset.GetGeoTransform(_toWorld.data()) != CE_None ||
        GDALInvGeoTransform(_toWorld.data(), _toCells.data()) == 0) {
        return failureOf(_location, "has no georeference");
    }

    Bounds box;
    for (const double column : {0.0, static_cast<double>(_columns)}) {
        for (const double row : {0.0, static_cast<double>(_rows)}) {
            box.expandBy(_toWorld[0] + column * _toWorld[1] + row * _toWorld[2],
                         _toWorld[3] + column * _toWorld[4] + row * _toWorld[5]);
        }
    }
    _extent = GeoExtent(_srs.get(), box);
    _footprint = Footprint(_extent);
    if (!_footprint.isValid()) {
        return failureOf(_location, "lies outside the reach of its reference system");
    }
    _bands = RasterBands(dataset);
    return Status::OK();
}

// Keeps the first data set, unless overviews are already there under another name.
void RasterSource::prepareOverviews(std::unique_ptr<GDALDataset> first) {
    if (RasterBands::wantsOverviews(*first)) {
        const std::string cached = cachedOverviews(_openName, *first);
        if (!cached.empty()) {
            _openName = cached;
            return;
        }
        _overviews = std::make_unique<OverviewBuilder>(
            _openName, [this](const OverviewBuilder::Result& result) { useOverviews(result); });
    }
    const std::lock_guard lock(_poolMutex);
    if (_revision == 0) {
        _idle.push_back(std::move(first));
    }
}

// On the builder's thread.
void RasterSource::useOverviews(const OverviewBuilder::Result& result) {
    if (!result.problem.empty()) {
        warnOnce(_location + ": overviews are not kept: " + result.problem);
    }
    if (result.openName.empty()) {
        return;
    }
    std::vector<std::unique_ptr<GDALDataset>> outdated;
    const std::lock_guard lock(_poolMutex);
    _openName = result.openName;
    _inMemory = result.inMemory ? result.openName : std::string();
    outdated.swap(_idle);
    ++_revision;
}

float RasterSource::preparation() const {
    return _overviews != nullptr ? _overviews->progress() : 1.0F;
}

void RasterSource::toCells(double x, double y, double& column, double& row) const {
    column = _toCells[0] + x * _toCells[1] + y * _toCells[2];
    row = _toCells[3] + x * _toCells[4] + y * _toCells[5];
}

double RasterSource::turn(double x) const {
    return _srs->isGeographic() ? _footprint.turn(x) : 0.0;
}

template<typename Read>
bool RasterSource::read(const Read& readFrom) {
    const QuietErrors quiet;
    Borrowed dataset(*this);
    if (dataset.get() == nullptr) {
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
    return read([&](GDALDataset& dataset) { return _bands.readImage(dataset, window, rgba); });
}

bool RasterSource::readHeights(const CellWindow& window, std::vector<float>& heights) {
    return read([&](GDALDataset& dataset) { return _bands.readHeights(dataset, window, heights); });
}

void RasterSource::noteFailure(const std::string& what) {
    if (_hasFailed) {
        return;
    }
    const std::string cause = CPLGetLastErrorMsg();
    Status failure = failureOf(_location, cause.empty() ? what : what + ": " + cause);
    {
        const std::lock_guard lock(_failureMutex);
        if (_hasFailed) {
            return;
        }
        _failure = failure;
        _hasFailed = true;
    }
    warnOnce(failure.message());
}

void RasterSource::warnOnce(const std::string& message) {
    {
        const std::lock_guard lock(_failureMutex);
        if (_hasWarned) {
            return;
        }
        _hasWarned = true;
    }
    OSG_WARN << message << std::endl;
}

} // namespace osgEarth
