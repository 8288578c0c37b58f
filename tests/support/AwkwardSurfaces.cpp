#include "tests/support/AwkwardSurfaces.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace awkward {

namespace {

constexpr double kFoot = 0.3048;
constexpr double kSurveyFoot = 1200.0 / 3937.0;

GDALDatasetUniquePtr create(const std::string& path, const Form& form) {
    GDALAllRegister();
    CPLStringList options;
    if (form.referenceBeside) {
        options.SetNameValue("PROFILE", "BASELINE");
    }
    if (form.alpha) {
        options.SetNameValue("ALPHA", "YES");
    }
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    GDALDatasetUniquePtr raster(
        driver->Create(path.c_str(), kColumns, kRows, form.alpha ? 2 : 1, form.type, options.List()));
    EXPECT_TRUE(raster) << path;
    OGRSpatialReference reference;
    EXPECT_EQ(reference.SetFromUserInput(("EPSG:4547" + std::string(form.vertical)).c_str()), OGRERR_NONE);
    reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    raster->SetSpatialRef(&reference);
    std::array<double, 6> toMap{kLeft, kCellMetres, 0.0, kTop, 0.0, -kCellMetres};
    raster->SetGeoTransform(toMap.data());
    return raster;
}

void describe(GDALRasterBand& band, const Form& form) {
    if (!form.unit.empty()) {
        band.SetUnitType(form.unit.c_str());
    }
    if (form.scale != 1.0 || form.offset != 0.0) {
        band.SetScale(form.scale);
        band.SetOffset(form.offset);
    }
    if (form.noData) {
        band.SetNoDataValue(*form.noData);
    }
    if (form.mask) {
        band.GetDataset()->CreateMaskBand(GMF_PER_DATASET);
    }
}

template<class T>
void writeCells(GDALRasterBand& band, std::vector<T> cells, GDALDataType type) {
    EXPECT_EQ(band.RasterIO(GF_Write, 0, 0, kColumns, kRows, cells.data(), kColumns, kRows, type, 0, 0),
              CE_None);
}

} // namespace

double ground(int column, int row) {
    return 50.0 + 3.0 * std::sin(column / 37.0) + 2.0 * std::cos(row / 23.0);
}

double oldHeight(int column, int row) {
    return kHole.holds(column, row) ? std::nan("") : ground(column, row);
}

double newHeight(int column, int row) {
    return oldHeight(column, row) + (kHeap.holds(column, row) ? kHeapMetres : 0.0);
}

const std::vector<Form>& forms() {
    const auto form = [](const char* name, const auto& change) {
        Form made;
        made.name = name;
        change(made);
        return made;
    };
    constexpr double kLargest = std::numeric_limits<float>::max();
    static const std::vector<Form> all{form("metres, the fill declared", [](Form& f) { f.noData = f.fill; }),
                                       form("feet by the band's unit",
                                            [](Form& f) {
                                                f.unit = "ft";
                                                f.metresPerUnit = kFoot;
                                                f.noData = f.fill;
                                            }),
                                       form("survey feet, -32768 undeclared",
                                            [](Form& f) {
                                                f.unit = "US survey foot";
                                                f.metresPerUnit = kSurveyFoot;
                                                f.fill = -32768.0;
                                            }),
                                       form("feet by the vertical system of the file",
                                            [](Form& f) {
                                                f.vertical = "+6360";
                                                f.metresPerUnit = kSurveyFoot;
                                                f.noData = f.fill;
                                            }),
                                       form("feet by the vertical system beside the file",
                                            [](Form& f) {
                                                f.vertical = "+6360";
                                                f.referenceBeside = true;
                                                f.metresPerUnit = kSurveyFoot;
                                            }),
                                       form("hundredths of a metre above a level",
                                            [](Form& f) {
                                                f.type = GDT_Int16;
                                                f.scale = 0.01;
                                                f.offset = 30.0;
                                                f.fill = -32768.0;
                                                f.noData = f.fill;
                                            }),
                                       form("hundredths of a foot, undeclared",
                                            [](Form& f) {
                                                f.type = GDT_Int16;
                                                f.unit = "ft";
                                                f.metresPerUnit = kFoot;
                                                f.scale = 0.01;
                                                f.offset = 20.0;
                                                f.fill = -32767.0;
                                            }),
                                       form("-9999 undeclared", [](Form&) {}),
                                       form("-32768 undeclared", [](Form& f) { f.fill = -32768.0; }),
                                       form("largest float undeclared", [=](Form& f) { f.fill = kLargest; }),
                                       form("NaN undeclared", [](Form& f) { f.fill = std::nan(""); }),
                                       form("infinity where another value is declared",
                                            [](Form& f) {
                                                f.fill = -std::numeric_limits<double>::infinity();
                                                f.noData = -9999.0;
                                            }),
                                       form("declared, rounded in the cells",
                                            [](Form& f) {
                                                f.fill = -8888.8;
                                                f.noData = -8888.8;
                                            }),
                                       form("a mask over zeros",
                                            [](Form& f) {
                                                f.fill = 0.0;
                                                f.mask = true;
                                            }),
                                       form("alpha over zeros", [](Form& f) {
                                           f.fill = 0.0;
                                           f.alpha = true;
                                       })};
    return all;
}

std::ostream& operator<<(std::ostream& out, const Form& form) {
    return out << form.name;
}

void write(const std::string& path, const Form& form, const std::function<double(int, int)>& metres) {
    const GDALDatasetUniquePtr raster = create(path, form);
    ASSERT_TRUE(raster);
    describe(*raster->GetRasterBand(1), form);
    std::vector<float> figures;
    std::vector<std::uint8_t> measured;
    for (int row = 0; row < kRows; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            const double height = metres(column, row);
            const bool isHole = std::isnan(height);
            figures.push_back(static_cast<float>(
                isHole ? form.fill : (height / form.metresPerUnit - form.offset) / form.scale));
            measured.push_back(isHole ? 0 : 255);
        }
    }
    writeCells(*raster->GetRasterBand(1), figures, GDT_Float32);
    if (form.mask) {
        writeCells(*raster->GetRasterBand(1)->GetMaskBand(), measured, GDT_Byte);
    }
    if (form.alpha) {
        writeCells(*raster->GetRasterBand(2), measured, GDT_Byte);
    }
}

} // namespace awkward
