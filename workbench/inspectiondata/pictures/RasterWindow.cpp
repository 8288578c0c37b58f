#include "workbench/inspectiondata/pictures/RasterWindow.h"

#include "detect/GdalErrors.h"
#include "detect/heights/InMetres.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/RasterPlace.h"

#include <QStringList>

#include <gdal_priv.h>
#include <gdal_utils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace inspection {

namespace {

/// Texts in the form GDAL's utilities take.
class ArgumentList {
public:
    explicit ArgumentList(const QStringList& arguments) {
        for (const QString& argument : arguments) {
            m_list = CSLAddString(m_list, argument.toUtf8().constData());
        }
    }
    ~ArgumentList() { CSLDestroy(m_list); }
    ArgumentList(const ArgumentList&) = delete;
    ArgumentList& operator=(const ArgumentList&) = delete;
    char** get() const { return m_list; }

private:
    char** m_list = nullptr;
};

QString number(double value) {
    return QString::number(value, 'g', 17);
}

bool usable(const PictureWindow& window) {
    return window.width > 0 && window.height > 0 && window.xMin < window.xMax && window.yMin < window.yMax;
}

/// Where the pixels of a window lie among those of a raster with the window's axes.
struct PixelWindow {
    double column = 0.0;
    double row = 0.0;
    double columns = 0.0;
    double rows = 0.0;

    bool isInside(GDALDataset& raster) const {
        return column >= 0.0 && row >= 0.0 && column + columns <= raster.GetRasterXSize() &&
               row + rows <= raster.GetRasterYSize();
    }
};

PixelWindow whole(GDALDataset& raster) {
    return {0.0, 0.0, double(raster.GetRasterXSize()), double(raster.GetRasterYSize())};
}

/// Nothing where the raster is turned, or in another reference system, or ends within the window.
std::optional<PixelWindow> pixelsInside(GDALDataset& raster, const PictureWindow& window) {
    std::array<double, 6> transform{};
    if (raster.GetGeoTransform(transform.data()) != CE_None || transform[2] != 0.0 || transform[4] != 0.0 ||
        transform[1] <= 0.0 || transform[5] >= 0.0) {
        return std::nullopt;
    }
    if (!window.srs.isEmpty()) {
        const auto wanted = referenceOf(window.srs);
        if (!wanted || !raster.GetSpatialRef() || !sameReference(*raster.GetSpatialRef(), *wanted)) {
            return std::nullopt;
        }
    }
    const PixelWindow pixels{
        (window.xMin - transform[0]) / transform[1], (window.yMax - transform[3]) / transform[5],
        (window.xMax - window.xMin) / transform[1], (window.yMin - window.yMax) / transform[5]};
    return usable(window) && pixels.isInside(raster) ? std::optional(pixels) : std::nullopt;
}

/// Where pixels go that are read.
struct Target {
    void* first = nullptr;
    GDALDataType type = GDT_Float32;
    int width = 0;
    int height = 0;
    int pixelBytes = 0; ///< from one to the next; 0 for packed ones
    int lineBytes = 0;
};

/// Bilinear, from the overview that fits, as the warper does, in half its time.
bool readPixels(GDALRasterBand& band, const PixelWindow& window, const Target& target) {
    GDALRasterIOExtraArg exact;
    INIT_RASTERIO_EXTRA_ARG(exact);
    exact.eResampleAlg = GRIORA_Bilinear;
    exact.bFloatingPointWindowValidity = TRUE;
    exact.dfXOff = window.column;
    exact.dfYOff = window.row;
    exact.dfXSize = window.columns;
    exact.dfYSize = window.rows;
    const int column = static_cast<int>(window.column);
    const int row = static_cast<int>(window.row);
    const int columns = static_cast<int>(std::ceil(window.column + window.columns)) - column;
    const int rows = static_cast<int>(std::ceil(window.row + window.rows)) - row;
    return band.RasterIO(GF_Read, column, row, columns, rows, target.first, target.width, target.height,
                         target.type, target.pixelBytes, target.lineBytes, &exact) == CE_None;
}

GDALDatasetUniquePtr warped(GDALDataset& source, const PictureWindow& window, const QStringList& extra) {
    QStringList arguments{"-of",
                          "MEM",
                          "-r",
                          "bilinear",
                          "-te",
                          number(window.xMin),
                          number(window.yMin),
                          number(window.xMax),
                          number(window.yMax),
                          "-ts",
                          QString::number(window.width),
                          QString::number(window.height)};
    if (!window.srs.isEmpty()) {
        arguments << "-t_srs" << window.srs;
    }
    const ArgumentList list(arguments + extra);
    GDALWarpAppOptions* options = GDALWarpAppOptionsNew(list.get(), nullptr);
    GDALDatasetH input = &source;
    GDALDatasetH output = GDALWarp("", nullptr, 1, &input, options, nullptr);
    GDALWarpAppOptionsFree(options);
    return GDALDatasetUniquePtr(GDALDataset::FromHandle(output));
}

/// The raster as bytes of red, green and blue: palettes expanded, deeper values scaled.
GDALDatasetUniquePtr asBytes(GDALDataset& source) {
    GDALRasterBand* band = source.GetRasterBand(1);
    QStringList arguments{"-of", "VRT"};
    if (band->GetColorTable()) {
        arguments << "-expand"
                  << "rgba";
    } else if (band->GetRasterDataType() != GDT_Byte) {
        arguments << "-ot"
                  << "Byte"
                  << "-scale";
    } else {
        return nullptr;
    }
    const ArgumentList list(arguments);
    GDALTranslateOptions* options = GDALTranslateOptionsNew(list.get(), nullptr);
    GDALDatasetH output = GDALTranslate("", &source, options, nullptr);
    GDALTranslateOptionsFree(options);
    return GDALDatasetUniquePtr(GDALDataset::FromHandle(output));
}

Result<GDALDatasetUniquePtr> openRaster(const QString& file, const detect::GdalErrors& errors) {
    if (!rasterExists(file)) {
        return fileFailure(file, "no such file", "文件不存在");
    }
    GDALAllRegister();
    GDALDatasetUniquePtr raster(GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_RASTER));
    if (!raster || raster->GetRasterCount() < 1) {
        return fileFailure(file, "not a readable raster: " + QString::fromStdString(errors.first()),
                           "无法读取栅格");
    }
    return raster;
}

Result<GDALDatasetUniquePtr> openHeights(const QString& file) {
    if (!rasterExists(file)) {
        return fileFailure(file, "no such file", "文件不存在");
    }
    auto raster = detect::openInMetres(file.toStdString());
    if (!raster) {
        return fileFailure(file, "no surface model: " + QString::fromStdString(raster.error().message),
                           "无法读取栅格");
    }
    return std::move(*raster);
}

Unexpected readFailure(const QString& file, const detect::GdalErrors& errors) {
    return fileFailure(file, "cannot be read: " + QString::fromStdString(errors.first()),
                       "读取失败，文件可能已损坏");
}

void measurePixels(const OGRSpatialReference* reference, const PictureWindow& window,
                   ElevationWindow& elevations) {
    constexpr double kMetresPerDegree = 111320.0;
    double xMetres = 1.0;
    double yMetres = 1.0;
    if (reference && reference->IsGeographic() != 0) {
        xMetres = kMetresPerDegree * std::cos((window.yMin + window.yMax) / 2.0 * M_PI / 180.0);
        yMetres = kMetresPerDegree;
    }
    elevations.pixelWidthMetres = (window.xMax - window.xMin) / window.width * xMetres;
    elevations.pixelHeightMetres = (window.yMax - window.yMin) / window.height * yMetres;
}

/// Of a raster without holes or transparency.
QImage opaqueImage(GDALDataset& raster, const PixelWindow& pixels, const PictureWindow& window) {
    QImage image(window.width, window.height, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    const bool grey = raster.GetRasterCount() < 3;
    for (int channel = 0; channel < 3; ++channel) {
        const Target target{image.bits() + channel, GDT_Byte, window.width,
                            window.height,          4,        static_cast<int>(image.bytesPerLine())};
        if (!readPixels(*raster.GetRasterBand(grey ? 1 : channel + 1), pixels, target)) {
            return {};
        }
    }
    return image.convertToFormat(QImage::Format_ARGB32);
}

QImage imageOf(GDALDataset& raster) {
    const int width = raster.GetRasterXSize();
    const int height = raster.GetRasterYSize();
    QImage image(width, height, QImage::Format_RGBA8888);
    const int bands = raster.GetRasterCount();
    const bool grey = bands < 4;
    for (int channel = 0; channel < 4; ++channel) {
        const int band = channel == 3 ? bands : (grey ? 1 : channel + 1);
        const CPLErr error =
            raster.GetRasterBand(band)->RasterIO(GF_Read, 0, 0, width, height, image.bits() + channel, width,
                                                 height, GDT_Byte, 4, image.bytesPerLine(), nullptr);
        if (error != CE_None) {
            return {};
        }
    }
    return image.convertToFormat(QImage::Format_ARGB32);
}

} // namespace

Result<ElevationWindow> readElevations(const QString& file, const PictureWindow& window) {
    const detect::GdalErrors errors;
    const auto source = openHeights(file);
    if (!source) {
        return failed(source);
    }
    if (!usable(window)) {
        return readFailure(file, errors);
    }
    ElevationWindow elevations;
    elevations.width = window.width;
    elevations.height = window.height;
    elevations.metres.resize(std::size_t(window.width) * std::size_t(window.height));
    const Target target{elevations.metres.data(), GDT_Float32, window.width, window.height, 0, 0};
    if (const auto pixels = pixelsInside(**source, window)) {
        if (!readPixels(*(*source)->GetRasterBand(1), *pixels, target) || errors.any()) {
            return readFailure(file, errors);
        }
        measurePixels((*source)->GetSpatialRef(), window, elevations);
        return elevations;
    }
    const auto raster = warped(**source, window, {});
    if (!raster || errors.any() || !readPixels(*raster->GetRasterBand(1), whole(*raster), target)) {
        return readFailure(file, errors);
    }
    measurePixels(raster->GetSpatialRef(), window, elevations);
    return elevations;
}

Result<QImage> readColours(const QString& file, const PictureWindow& window) {
    const detect::GdalErrors errors;
    auto source = openRaster(file, errors);
    if (!source) {
        return failed(source);
    }
    GDALDataset& stored = **source;
    const GDALDatasetUniquePtr bytes = asBytes(stored);
    GDALDataset& coloured = bytes ? *bytes : stored;
    const bool hasAlpha =
        coloured.GetRasterBand(coloured.GetRasterCount())->GetColorInterpretation() == GCI_AlphaBand;
    const bool isOpaque = !hasAlpha && coloured.GetRasterBand(1)->GetMaskFlags() == GMF_ALL_VALID;
    if (const auto pixels = isOpaque ? pixelsInside(coloured, window) : std::nullopt) {
        QImage image = opaqueImage(coloured, *pixels, window);
        return image.isNull() || errors.any() ? Result<QImage>(readFailure(file, errors)) : image;
    }
    const auto raster = usable(window)
                            ? warped(coloured, window, hasAlpha ? QStringList() : QStringList{"-dstalpha"})
                            : nullptr;
    if (!raster || errors.any()) {
        return readFailure(file, errors);
    }
    QImage image = imageOf(*raster);
    if (image.isNull()) {
        return readFailure(file, errors);
    }
    return image;
}

} // namespace inspection
