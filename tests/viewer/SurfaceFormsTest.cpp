// The globe stands on the same ground in whatever form a surface model comes.

#include "tests/support/AwkwardSurfaces.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaitUntil.h"
#include "workbench/viewer/GlobeMap.h"

#include <osgEarth/ElevationQuery>
#include <osgEarth/SpatialReference>

#include <gtest/gtest.h>

#include <QDir>

#include <cmath>
#include <vector>

namespace {

class SurfaceFormsOnGlobe : public ::testing::TestWithParam<awkward::Form> {
protected:
    float elevation(int column, int row) {
        const osg::ref_ptr<const osgEarth::SpatialReference> srs =
            osgEarth::SpatialReference::get("epsg:4547");
        return m_query.getElevation(
            osgEarth::GeoPoint(srs.get(), awkward::kLeft + (column + 0.5) * awkward::kCellMetres,
                               awkward::kTop - (row + 0.5) * awkward::kCellMetres, 0.0));
    }

    TemporaryFolder m_folder;
    GlobeMap m_map;
    osgEarth::ElevationQuery m_query{m_map.mapNode()->getMap()};
};

TEST_P(SurfaceFormsOnGlobe, TheGroundIsWhereItWasMeasured) {
    const std::string path = m_folder.file("dsm.tif");
    awkward::write(path, GetParam(), awkward::oldHeight);
    const auto problem = m_map.addElevation("terrain", path);
    ASSERT_FALSE(problem) << *problem;
    for (int column = 5; column < awkward::kColumns; column += 15) {
        if (awkward::kHole.holds(column, 50)) {
            EXPECT_EQ(elevation(column, 50), NO_DATA_VALUE) << column;
        } else {
            EXPECT_NEAR(elevation(column, 50), awkward::ground(column, 50), 0.006) << column;
        }
    }
}

std::vector<awkward::Form> allForms() {
    return awkward::forms();
}
std::string numbered(const testing::TestParamInfo<awkward::Form>& info) {
    return std::to_string(info.index);
}
INSTANTIATE_TEST_SUITE_P(Globe, SurfaceFormsOnGlobe, testing::ValuesIn(allForms()), numbered);

constexpr int kLongColumns = 4200; // so many that the globe makes overviews
constexpr int kLongRows = 64;
constexpr float kLongMetres = 40.0F;

// Level ground in feet, of which every other block of 300 columns was not measured; nothing says so.
void writeLongSurface(const std::string& path) {
    GDALAllRegister();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    const GDALDatasetUniquePtr raster(
        driver->Create(path.c_str(), kLongColumns, kLongRows, 1, GDT_Float32, nullptr));
    ASSERT_TRUE(raster);
    OGRSpatialReference reference;
    reference.importFromEPSG(4547);
    raster->SetSpatialRef(&reference);
    double toMap[] = {awkward::kLeft, awkward::kCellMetres, 0.0, awkward::kTop, 0.0, -awkward::kCellMetres};
    raster->SetGeoTransform(toMap);
    raster->GetRasterBand(1)->SetUnitType("ft");
    std::vector<float> row(kLongColumns, kLongMetres / 0.3048F);
    for (std::size_t column = 0; column < row.size(); ++column) {
        row[column] = column / 300 % 2 == 0 ? row[column] : -9999.0F;
    }
    for (int y = 0; y < kLongRows; ++y) {
        ASSERT_EQ(raster->GetRasterBand(1)->RasterIO(GF_Write, 0, y, kLongColumns, 1, row.data(),
                                                     kLongColumns, 1, GDT_Float32, 0, 0),
                  CE_None);
    }
}

TEST(GlobeMapTest, OverviewsOfASurfaceModelHoldMetresAndNoFill) {
    const TemporaryFolder folder;
    const QByteArray cacheBefore = qgetenv("XDG_CACHE_HOME");
    qputenv("XDG_CACHE_HOME", QByteArray::fromStdString(folder.file("cache")));
    writeLongSurface(folder.file("dsm.tif"));
    GlobeMap map;
    const auto problem = map.addElevation("terrain", folder.file("dsm.tif"));
    ASSERT_FALSE(problem) << *problem;
    EXPECT_TRUE(waitUntil([&] { return map.preparationPercent() == 100; }));
    const QDir cache(QString::fromStdString(folder.file("cache/corridor/overviews")));
    const QStringList made = cache.entryList({"*.vrt"});
    qputenv("XDG_CACHE_HOME", cacheBefore);
    ASSERT_EQ(made.size(), 1);

    const QByteArray name = cache.filePath(made[0]).toUtf8();
    const GDALDatasetUniquePtr raster(GDALDataset::Open(name.constData(), GDAL_OF_RASTER));
    ASSERT_TRUE(raster);
    GDALRasterBand& band = *raster->GetRasterBand(1);
    ASSERT_GE(band.GetOverviewCount(), 3);
    GDALRasterBand& overview = *band.GetOverview(2); // every eighth: blocks end within its cells
    std::vector<float> heights(static_cast<std::size_t>(overview.GetXSize()));
    ASSERT_EQ(overview.RasterIO(GF_Read, 0, 4, overview.GetXSize(), 1, heights.data(), overview.GetXSize(), 1,
                                GDT_Float32, 0, 0),
              CE_None);
    EXPECT_NEAR(heights[10], kLongMetres, 1e-3);
    EXPECT_TRUE(std::isnan(heights[60]));
    for (const float height : heights) {
        EXPECT_TRUE(std::isnan(height) || std::abs(height - kLongMetres) < 1e-3) << height;
    }
}

TEST(GlobeMapTest, ASurfaceModelThatCannotBeReadIsNamed) {
    const TemporaryFolder folder;
    const auto problem = GlobeMap().addElevation("terrain", folder.file("none.tif"));
    ASSERT_TRUE(problem);
    EXPECT_NE(problem->find("none.tif"), std::string::npos);
}

} // namespace
