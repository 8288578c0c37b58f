#include "TestRaster.h"

#include "tests/support/TemporaryFolder.h"

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <memory>
#include <vector>

namespace globetest {
namespace {

std::unique_ptr<GDALDataset> create(const std::string& path, const RasterPlace& place, int bands,
                                    GDALDataType type, const char* const* options = nullptr) {
    GDALAllRegister();
    auto* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    std::unique_ptr<GDALDataset> dataset(
        driver->Create(path.c_str(), place.columns, place.rows, bands, type, const_cast<char**>(options)));
    double transform[6] = {place.west, place.cell, 0.0, place.north, 0.0, -place.cell};
    dataset->SetGeoTransform(transform);
    if (!place.srs.empty()) {
        OGRSpatialReference srs;
        srs.SetFromUserInput(place.srs.c_str());
        srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        dataset->SetSpatialRef(&srs);
    }
    return dataset;
}

double xOf(const RasterPlace& place, int column) {
    return place.west + (column + 0.5) * place.cell;
}

double yOf(const RasterPlace& place, int row) {
    return place.north - (row + 0.5) * place.cell;
}

} // namespace

std::string scratchFolder() {
    static const TemporaryFolder folder;
    return folder.path().string();
}

std::string writeHeights(const std::string& name, const RasterPlace& place, const HeightAt& heightAt,
                         double noData) {
    const std::string path = scratchFolder() + "/" + name;
    auto dataset = create(path, place, 1, GDT_Float32);
    dataset->GetRasterBand(1)->SetNoDataValue(noData);
    std::vector<float> line(static_cast<std::size_t>(place.columns));
    for (int row = 0; row < place.rows; ++row) {
        for (int column = 0; column < place.columns; ++column) {
            line[static_cast<std::size_t>(column)] =
                static_cast<float>(heightAt(xOf(place, column), yOf(place, row)));
        }
        if (dataset->GetRasterBand(1)->RasterIO(GF_Write, 0, row, place.columns, 1, line.data(),
                                                place.columns, 1, GDT_Float32, 0, 0, nullptr) != CE_None) {
            return {};
        }
    }
    return path;
}

std::string writeColours(const std::string& name, const RasterPlace& place, const ColourAt& colourAt) {
    const std::string path = scratchFolder() + "/" + name;
    auto dataset = create(path, place, 4, GDT_Byte);
    dataset->GetRasterBand(4)->SetColorInterpretation(GCI_AlphaBand);
    std::vector<std::uint8_t> line(static_cast<std::size_t>(place.columns) * 4);
    for (int row = 0; row < place.rows; ++row) {
        for (int column = 0; column < place.columns; ++column) {
            const auto colour = colourAt(xOf(place, column), yOf(place, row));
            std::copy(colour.begin(), colour.end(), line.begin() + static_cast<std::ptrdiff_t>(column) * 4);
        }
        if (dataset->RasterIO(GF_Write, 0, row, place.columns, 1, line.data(), place.columns, 1, GDT_Byte, 4,
                              nullptr, 4, 0, 1, nullptr) != CE_None) {
            return {};
        }
    }
    return path;
}

std::string writeRaster(const std::string& name, const RasterPlace& place, const RasterFormat& format,
                        const std::function<double(int, int, int)>& valueAt) {
    const std::string path = scratchFolder() + "/" + name;
    const std::string compress = std::string("COMPRESS=") + format.compression;
    const char* const options[] = {"TILED=YES", compress.c_str(), nullptr};
    auto dataset = create(path, place, format.bands, GDALGetDataTypeByName(format.type), options);
    if (format.prepare) {
        format.prepare(*dataset);
    }
    std::vector<double> line(static_cast<std::size_t>(place.columns));
    for (int band = 1; band <= format.bands; ++band) {
        for (int row = 0; row < place.rows; ++row) {
            for (int column = 0; column < place.columns; ++column) {
                line[static_cast<std::size_t>(column)] = valueAt(band, column, row);
            }
            if (dataset->GetRasterBand(band)->RasterIO(GF_Write, 0, row, place.columns, 1, line.data(),
                                                       place.columns, 1, GDT_Float64, 0, 0,
                                                       nullptr) != CE_None) {
                return {};
            }
        }
    }
    return path;
}

} // namespace globetest
