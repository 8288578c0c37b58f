#include "workbench/inspectiondata/pictures/RasterWindow.h"

#include "detect/GdalErrors.h"
#include "detect/heights/InMetres.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <QFileInfo>
#include <QStringList>

#include <gdal_priv.h>
#include <gdal_utils.h>

#include <algorithm>
#include <array>
#include <cmath>

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
    if (!QFileInfo::exists(file)) {
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
    if (!QFileInfo::exists(file)) {
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

bool usable(const PictureWindow& window) {
    return window.width > 0 && window.height > 0 && window.xMin < window.xMax && window.yMin < window.yMax;
}

void measurePixels(const GDALDataset& raster, const PictureWindow& window, ElevationWindow& elevations) {
    constexpr double kMetresPerDegree = 111320.0;
    double xMetres = 1.0;
    double yMetres = 1.0;
    const OGRSpatialReference* reference = raster.GetSpatialRef();
    if (reference && reference->IsGeographic() != 0) {
        xMetres = kMetresPerDegree * std::cos((window.yMin + window.yMax) / 2.0 * M_PI / 180.0);
        yMetres = kMetresPerDegree;
    }
    elevations.pixelWidthMetres = (window.xMax - window.xMin) / window.width * xMetres;
    elevations.pixelHeightMetres = (window.yMax - window.yMin) / window.height * yMetres;
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
    const auto raster = usable(window) ? warped(**source, window, {}) : nullptr;
    ElevationWindow elevations;
    elevations.width = window.width;
    elevations.height = window.height;
    if (raster) {
        elevations.metres.resize(std::size_t(window.width) * std::size_t(window.height));
        measurePixels(*raster, window, elevations);
    }
    if (!raster || errors.any() ||
        raster->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, window.width, window.height,
                                           elevations.metres.data(), window.width, window.height, GDT_Float32,
                                           0, 0, nullptr) != CE_None) {
        return readFailure(file, errors);
    }
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
