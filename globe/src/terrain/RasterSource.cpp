#include "RasterSource.h"

#include "HeightApron.h"
#include "HeightBlocks.h"

#include <gdal_priv.h>
#include <gdal_utils.h>
#include <ogr_spatialref.h>

#include <atomic>
#include <cmath>
#include <limits>

namespace osgEarth {
namespace {

// A raster larger than this without overviews gets a reduced copy in memory, of about this size.
constexpr int reducedSizeCells = 2048;

struct RegisterDrivers {
    RegisterDrivers() { GDALAllRegister(); }
};

void registerDrivers() {
    static const RegisterDrivers once;
}

// GDAL's last error, or a fallback, on one line with the file's name.
Status failure(const std::string& location, const std::string& cause) {
    std::string message = location + ": " + cause;
    std::replace(message.begin(), message.end(), '\n', ' ');
    return {Status::ResourceUnavailable, message};
}

class QuietErrors {
public:
    QuietErrors() { CPLPushErrorHandler(CPLQuietErrorHandler); }
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

// A VRT in memory over all rasters of a folder; empty if there are none.
std::string mosaicOfFolder(const std::string& folder) {
    const CPLStringList names(VSIReadDir(folder.c_str()));
    CPLStringList rasters;
    for (int i = 0; i < names.Count(); ++i) {
        const std::string path = folder + "/" + names[i];
        if (names[i][0] != '.' && GDALIdentifyDriver(path.c_str(), nullptr) != nullptr && openDataset(path)) {
            rasters.AddString(path.c_str());
        }
    }
    if (rasters.empty()) {
        return {};
    }
    static std::atomic<int> counter{0};
    const std::string vrt = "/vsimem/corridor_mosaic_" + std::to_string(++counter) + ".vrt";
    int usageError = 0;
    GDALDatasetH mosaic =
        GDALBuildVRT(vrt.c_str(), rasters.Count(), nullptr, rasters.List(), nullptr, &usageError);
    if (mosaic == nullptr) {
        return {};
    }
    GDALClose(mosaic);
    return vrt;
}

GDALRasterIOExtraArg resampling(GDALRIOResampleAlg algorithm) {
    GDALRasterIOExtraArg argument;
    INIT_RASTERIO_EXTRA_ARG(argument);
    argument.eResampleAlg = algorithm;
    return argument;
}

bool readBand(GDALRasterBand* band, const CellWindow& w, void* out, GDALDataType type, GSpacing pixelBytes,
              GDALRIOResampleAlg algorithm) {
    GDALRasterIOExtraArg argument = resampling(w.step > 1 ? algorithm : GRIORA_NearestNeighbour);
    const int width = w.reducedWidth();
    return band->RasterIO(GF_Read, w.column, w.row, w.width, w.height, out, width, w.reducedHeight(), type,
                          pixelBytes, pixelBytes * width, &argument) == CE_None;
}

} // namespace

// A data set for the exclusive use of one thread, handed back at the end of the scope.
class RasterSource::Borrowed {
public:
    explicit Borrowed(RasterSource& source) : _source(source) {
        {
            const std::lock_guard lock(source._poolMutex);
            if (!source._idle.empty()) {
                _dataset = std::move(source._idle.back());
                source._idle.pop_back();
            }
        }
        if (_dataset == nullptr) {
            _dataset = source.openAnother();
        }
    }
    ~Borrowed() {
        if (_dataset != nullptr) {
            const std::lock_guard lock(_source._poolMutex);
            _source._idle.push_back(std::move(_dataset));
        }
    }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;
    GDALDataset* get() const { return _dataset.get(); }

private:
    RasterSource& _source;
    std::unique_ptr<GDALDataset> _dataset;
};

std::shared_ptr<RasterSource> RasterSource::open(const std::string& location, Status& status) {
    registerDrivers();
    const QuietErrors quiet;
    CPLErrorReset();
    const std::string openName = isFolder(location) ? mosaicOfFolder(location) : location;
    std::unique_ptr<GDALDataset> dataset = openName.empty() ? nullptr : openDataset(openName);
    if (dataset == nullptr) {
        const std::string cause = CPLGetLastErrorMsg();
        status = failure(location, cause.empty() ? "not a raster, or a folder without rasters" : cause);
        return nullptr;
    }
    GDALDataset& first = *dataset;
    std::shared_ptr<RasterSource> source(new RasterSource(location, std::move(dataset)));
    source->_openName = openName;
    status = source->inspect(first);
    return status.isOK() ? source : nullptr;
}

RasterSource::RasterSource(std::string location, std::unique_ptr<GDALDataset> first)
    : _location(std::move(location)), _heightBlocks(std::make_unique<HeightBlocks>(*this)),
      _heightApron(std::make_unique<HeightApron>(*this)) {
    _idle.push_back(std::move(first));
}

RasterSource::~RasterSource() {
    if (_openName != _location) {
        VSIUnlink(_openName.c_str());
    }
}

Status RasterSource::inspect(GDALDataset& dataset) {
    _columns = dataset.GetRasterXSize();
    _rows = dataset.GetRasterYSize();
    if (dataset.GetRasterCount() == 0 || _columns <= 0 || _rows <= 0) {
        return failure(_location, "has no raster bands");
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
        return failure(_location, "has no usable reference system");
    }
    if (dataset.GetGeoTransform(_toWorld.data()) != CE_None ||
        GDALInvGeoTransform(_toWorld.data(), _toCells.data()) == 0) {
        return failure(_location, "has no georeference");
    }

    Bounds box;
    for (const double column : {0.0, static_cast<double>(_columns)}) {
        for (const double row : {0.0, static_cast<double>(_rows)}) {
            box.expandBy(_toWorld[0] + column * _toWorld[1] + row * _toWorld[2],
                         _toWorld[3] + column * _toWorld[4] + row * _toWorld[5]);
        }
    }
    _extent = GeoExtent(_srs.get(), box);
    _geographicExtent = _extent.transform(SpatialReference::get("wgs84"));
    if (!_geographicExtent.isValid()) {
        return failure(_location, "lies outside the reach of its reference system");
    }
    inspectBands(dataset);
    return Status::OK();
}

void RasterSource::inspectBands(GDALDataset& dataset) {
    GDALRasterBand& first = *dataset.GetRasterBand(1);
    const int bands = dataset.GetRasterCount();
    const auto isAlpha = [&](int band) {
        return dataset.GetRasterBand(band)->GetColorInterpretation() == GCI_AlphaBand;
    };
    if (const GDALColorTable* table = first.GetColorTable()) {
        _colours = Colours::Palette;
        for (int i = 0; i < table->GetColorEntryCount(); ++i) {
            const GDALColorEntry& c = *table->GetColorEntry(i);
            _palette.push_back({static_cast<std::uint8_t>(c.c1), static_cast<std::uint8_t>(c.c2),
                                static_cast<std::uint8_t>(c.c3), static_cast<std::uint8_t>(c.c4)});
        }
    } else if (bands >= 3) {
        _colours = bands >= 4 && isAlpha(4) ? Colours::Rgba : Colours::Rgb;
    } else {
        _colours = bands == 2 && isAlpha(2) ? Colours::GreyAlpha : Colours::Grey;
    }
    const int maskFlags = first.GetMaskFlags();
    _hasMask =
        (maskFlags & GMF_ALL_VALID) == 0 && _colours != Colours::Rgba && _colours != Colours::GreyAlpha;

    if (first.GetRasterDataType() != GDT_Byte) {
        double range[2] = {0.0, 255.0};
        if (first.ComputeRasterMinMax(1, range) == CE_None && range[1] > range[0]) {
            _darkest = range[0];
            _brightest = range[1];
        }
    }
    const int size = std::max(_columns, _rows);
    if (first.GetOverviewCount() == 0 && size > 2 * reducedSizeCells) {
        _reducedStep = 1;
        while (size / _reducedStep > reducedSizeCells) {
            _reducedStep *= 2;
        }
    }
}

std::unique_ptr<GDALDataset> RasterSource::openAnother() const {
    const QuietErrors quiet;
    return openDataset(_openName);
}

void RasterSource::toCells(double x, double y, double& column, double& row) const {
    column = _toCells[0] + x * _toCells[1] + y * _toCells[2];
    row = _toCells[3] + x * _toCells[4] + y * _toCells[5];
}

bool RasterSource::wantsReducedCopy(const CellWindow& window) const {
    return _reducedStep > 0 && window.step >= _reducedStep;
}

CellWindow RasterSource::wholeReduced() const {
    return {0, 0, _columns, _rows, _reducedStep};
}

bool RasterSource::readImage(const CellWindow& window, std::vector<std::uint8_t>& rgba) {
    if (wantsReducedCopy(window)) {
        return readReducedImage(window, rgba);
    }
    const Borrowed dataset(*this);
    return dataset.get() != nullptr && readImageFrom(*dataset.get(), window, rgba);
}

bool RasterSource::readHeights(const CellWindow& window, std::vector<float>& heights) {
    if (wantsReducedCopy(window)) {
        return readReducedHeights(window, heights);
    }
    const Borrowed dataset(*this);
    return dataset.get() != nullptr && readHeightsFrom(*dataset.get(), window, heights);
}

bool RasterSource::readImageFrom(GDALDataset& dataset, const CellWindow& window,
                                 std::vector<std::uint8_t>& rgba) const {
    const QuietErrors quiet;
    const std::size_t count =
        static_cast<std::size_t>(window.reducedWidth()) * static_cast<std::size_t>(window.reducedHeight());
    rgba.assign(count * 4, 255);
    const auto readChannel = [&](GDALRasterBand* band, std::size_t channel, GDALRIOResampleAlg algorithm) {
        if (band->GetRasterDataType() == GDT_Byte) {
            return readBand(band, window, rgba.data() + channel, GDT_Byte, 4, algorithm);
        }
        std::vector<float> values(count);
        if (!readBand(band, window, values.data(), GDT_Float32, sizeof(float), algorithm)) {
            return false;
        }
        for (std::size_t i = 0; i < count; ++i) {
            const double shade = (values[i] - _darkest) / (_brightest - _darkest) * 255.0;
            rgba[i * 4 + channel] = static_cast<std::uint8_t>(shade >= 0.0 ? std::min(shade, 255.0) : 0.0);
        }
        return true;
    };

    const bool isColour = _colours == Colours::Rgb || _colours == Colours::Rgba;
    const auto algorithm = _colours == Colours::Palette ? GRIORA_NearestNeighbour : GRIORA_Average;
    for (int channel = 0; channel < (isColour ? 3 : 1); ++channel) {
        if (!readChannel(dataset.GetRasterBand(channel + 1), static_cast<std::size_t>(channel), algorithm)) {
            return false;
        }
    }
    for (std::size_t i = 0; i < count && !isColour; ++i) {
        std::uint8_t* const cell = &rgba[i * 4];
        if (_colours != Colours::Palette) {
            cell[1] = cell[2] = cell[0];
        } else if (cell[0] < _palette.size()) {
            std::copy_n(_palette[cell[0]].data(), 4, cell);
        }
    }
    if (_colours == Colours::Rgba || _colours == Colours::GreyAlpha) {
        return readChannel(dataset.GetRasterBand(_colours == Colours::Rgba ? 4 : 2), 3, GRIORA_Average);
    }
    if (_hasMask) {
        GDALRasterBand* mask = dataset.GetRasterBand(1)->GetMaskBand();
        return readBand(mask, window, rgba.data() + 3, GDT_Byte, 4, GRIORA_NearestNeighbour);
    }
    return true;
}

bool RasterSource::readHeightsFrom(GDALDataset& dataset, const CellWindow& window,
                                   std::vector<float>& heights) const {
    const QuietErrors quiet;
    const std::size_t count =
        static_cast<std::size_t>(window.reducedWidth()) * static_cast<std::size_t>(window.reducedHeight());
    heights.resize(count);
    GDALRasterBand* band = dataset.GetRasterBand(1);
    if (!readBand(band, window, heights.data(), GDT_Float32, sizeof(float), GRIORA_Average)) {
        return false;
    }
    int hasNoData = 0;
    const auto noData = static_cast<float>(band->GetNoDataValue(&hasNoData));
    constexpr float hole = std::numeric_limits<float>::quiet_NaN();
    if (hasNoData != 0) {
        std::replace(heights.begin(), heights.end(), noData, hole);
    } else if (_hasMask) {
        std::vector<std::uint8_t> mask(count);
        if (!readBand(band->GetMaskBand(), window, mask.data(), GDT_Byte, 1, GRIORA_NearestNeighbour)) {
            return false;
        }
        for (std::size_t i = 0; i < count; ++i) {
            heights[i] = mask[i] != 0 ? heights[i] : hole;
        }
    }
    // Heights beyond anything on Earth are fill values that the file does not declare.
    std::replace_if(
        heights.begin(), heights.end(), [](float h) { return !(std::abs(h) < 100000.0F); }, hole);
    return true;
}

// The reduced copies are ordinary in-memory data sets; one thread at a time builds and reads them.
bool RasterSource::readReducedImage(const CellWindow& window, std::vector<std::uint8_t>& rgba) {
    const std::lock_guard lock(_reducedMutex);
    const CellWindow whole = wholeReduced();
    if (_reducedImage == nullptr) {
        const Borrowed dataset(*this);
        if (dataset.get() == nullptr || !readImageFrom(*dataset.get(), whole, rgba)) {
            return false;
        }
        _reducedImage.reset(GetGDALDriverManager()->GetDriverByName("MEM")->Create(
            "", whole.reducedWidth(), whole.reducedHeight(), 4, GDT_Byte, nullptr));
        if (_reducedImage->RasterIO(GF_Write, 0, 0, whole.reducedWidth(), whole.reducedHeight(), rgba.data(),
                                    whole.reducedWidth(), whole.reducedHeight(), GDT_Byte, 4, nullptr, 4,
                                    4LL * whole.reducedWidth(), 1, nullptr) != CE_None) {
            _reducedImage = nullptr;
            return false;
        }
    }
    GDALRasterIOExtraArg argument = resampling(GRIORA_Average);
    rgba.resize(static_cast<std::size_t>(window.reducedWidth()) *
                static_cast<std::size_t>(window.reducedHeight()) * 4);
    const int width = std::min((window.width + _reducedStep - 1) / _reducedStep,
                               whole.reducedWidth() - window.column / _reducedStep);
    const int height = std::min((window.height + _reducedStep - 1) / _reducedStep,
                                whole.reducedHeight() - window.row / _reducedStep);
    return _reducedImage->RasterIO(GF_Read, window.column / _reducedStep, window.row / _reducedStep, width,
                                   height, rgba.data(), window.reducedWidth(), window.reducedHeight(),
                                   GDT_Byte, 4, nullptr, 4, 4LL * window.reducedWidth(), 1,
                                   &argument) == CE_None;
}

bool RasterSource::readReducedHeights(const CellWindow& window, std::vector<float>& heights) {
    const std::lock_guard lock(_reducedMutex);
    const CellWindow whole = wholeReduced();
    if (_reducedHeights == nullptr) {
        const Borrowed dataset(*this);
        if (dataset.get() == nullptr || !readHeightsFrom(*dataset.get(), whole, heights)) {
            return false;
        }
        _reducedHeights.reset(GetGDALDriverManager()->GetDriverByName("MEM")->Create(
            "", whole.reducedWidth(), whole.reducedHeight(), 1, GDT_Float32, nullptr));
        _reducedHeights->GetRasterBand(1)->SetNoDataValue(std::numeric_limits<double>::quiet_NaN());
        if (_reducedHeights->GetRasterBand(1)->RasterIO(
                GF_Write, 0, 0, whole.reducedWidth(), whole.reducedHeight(), heights.data(),
                whole.reducedWidth(), whole.reducedHeight(), GDT_Float32, 0, 0, nullptr) != CE_None) {
            _reducedHeights = nullptr;
            return false;
        }
    }
    GDALRasterIOExtraArg argument = resampling(GRIORA_Average);
    heights.resize(static_cast<std::size_t>(window.reducedWidth()) *
                   static_cast<std::size_t>(window.reducedHeight()));
    const int width = std::min((window.width + _reducedStep - 1) / _reducedStep,
                               whole.reducedWidth() - window.column / _reducedStep);
    const int height = std::min((window.height + _reducedStep - 1) / _reducedStep,
                                whole.reducedHeight() - window.row / _reducedStep);
    return _reducedHeights->GetRasterBand(1)->RasterIO(
               GF_Read, window.column / _reducedStep, window.row / _reducedStep, width, height,
               heights.data(), window.reducedWidth(), window.reducedHeight(), GDT_Float32, 0, 0,
               &argument) == CE_None;
}

} // namespace osgEarth
