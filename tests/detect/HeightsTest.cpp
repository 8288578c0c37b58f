// Surface models in all their forms.

#include "detect/heights/InMetres.h"
#include "detect/heights/SurfaceModel.h"
#include "tests/detect/TestRasters.h"
#include "tests/support/AwkwardSurfaces.h"

#include <gtest/gtest.h>

#include <cmath>

namespace detect::test {
namespace {

constexpr double kRoundingMetres = 0.006; // half a hundredth, and Float32

class Heights : public testing::TestWithParam<awkward::Form> {
protected:
    TemporaryFolder m_folder;
};

void expectHeight(float height, int column, int row) {
    const double expected = awkward::oldHeight(column, row);
    ASSERT_EQ(std::isnan(height), std::isnan(expected)) << column << ' ' << row << ": " << height;
    if (!std::isnan(expected)) {
        ASSERT_NEAR(height, expected, kRoundingMetres) << column << ' ' << row;
    }
}

TEST_P(Heights, AreMetresAndHoles) {
    const std::string path = m_folder.file("dsm.tif");
    awkward::write(path, GetParam(), awkward::oldHeight);
    auto model = SurfaceModel::open(path);
    ASSERT_TRUE(model) << model.error().message;
    const CellWindow window{10, 20, 60, 80};
    constexpr std::size_t kStride = 70;
    std::vector<float> heights(kStride * 80);
    ASSERT_TRUE(model->read(window, heights.data(), kStride));
    for (int row = 0; row < window.rows; ++row) {
        for (int column = 0; column < window.columns; ++column) {
            const auto at = static_cast<std::size_t>(row) * kStride + static_cast<std::size_t>(column);
            expectHeight(heights[at], window.column + column, window.row + row);
        }
    }
    expectHeight(model->at(awkward::kHole.column, awkward::kHole.row), awkward::kHole.column,
                 awkward::kHole.row);
    expectHeight(model->at(Point{awkward::kLeft + 3.3, awkward::kTop - 7.8}), 6, 15);
    EXPECT_TRUE(std::isnan(model->at(awkward::kColumns, 0)));
    EXPECT_TRUE(std::isnan(model->at(Point{awkward::kLeft - 0.1, awkward::kTop - 1.0})));
}

double groundWithHeap(int column, int row) {
    return awkward::ground(column, row) + (awkward::kHeap.holds(column, row) ? awkward::kHeapMetres : 0.0);
}

TEST_P(Heights, GiveTheSameChange) {
    const awkward::Form& plain = awkward::forms().front();
    Request request;
    request.oldRaster = m_folder.file("old.tif");
    request.newRaster = m_folder.file("new.tif");
    request.parameters.coregistration = CoregistrationMethod::None;
    for (const bool isNew : {false, true}) {
        SCOPED_TRACE(isNew ? "new" : "old");
        // The plain epoch has no hole: what the other one's holds would be a change.
        awkward::write(request.oldRaster, isNew ? plain : GetParam(),
                       isNew ? awkward::ground : awkward::oldHeight);
        awkward::write(request.newRaster, isNew ? GetParam() : plain,
                       isNew ? awkward::newHeight : groundWithHeap);
        const Changes changes = detectOrFail(request);
        EXPECT_EQ(changes.cells,
                  awkward::kColumns * awkward::kRows - awkward::kHole.columns * awkward::kHole.rows);
        ASSERT_EQ(changes.anomalies.size(), 1U);
        EXPECT_EQ(changes.anomalies[0].cells, awkward::kHeap.columns * awkward::kHeap.rows);
        EXPECT_NEAR(changes.anomalies[0].dzMeanMetres, awkward::kHeapMetres, kRoundingMetres);
    }
}

/// Whoever mixes a fill into a mean leaves the range of the ground.
void expectReducedGround(GDALDataset& raster) {
    constexpr int kStep = 8;
    constexpr int kWidth = awkward::kColumns / kStep;
    constexpr int kHeight = awkward::kRows / kStep;
    std::vector<float> heights(kWidth * kHeight);
    GDALRasterIOExtraArg argument;
    INIT_RASTERIO_EXTRA_ARG(argument);
    argument.eResampleAlg = GRIORA_Average;
    ASSERT_EQ(raster.GetRasterBand(1)->RasterIO(GF_Read, 0, 0, awkward::kColumns, awkward::kRows,
                                                heights.data(), kWidth, kHeight, GDT_Float32, 0, 0,
                                                &argument),
              CE_None);
    for (int row = 0; row < kHeight; ++row) {
        for (int column = 0; column < kWidth; ++column) {
            const float height = heights[static_cast<std::size_t>(row * kWidth + column)];
            const int middleColumn = column * kStep + kStep / 2;
            const int middleRow = row * kStep + kStep / 2;
            if (std::isnan(height)) {
                const awkward::Box& hole = awkward::kHole;
                const awkward::Box wide{hole.column - kStep / 2, hole.row - kStep / 2, hole.columns + kStep,
                                        hole.rows + kStep};
                EXPECT_TRUE(wide.holds(middleColumn, middleRow)) << column << ' ' << row;
            } else {
                EXPECT_NEAR(height, awkward::ground(middleColumn, middleRow), 0.5) << column << ' ' << row;
            }
        }
    }
}

TEST_P(Heights, AreReducedByGdalWithoutFills) {
    const std::string path = m_folder.file("dsm.tif");
    awkward::write(path, GetParam(), awkward::oldHeight);
    for (const bool hasOverviews : {false, true}) {
        SCOPED_TRACE(hasOverviews);
        if (hasOverviews) { // those of an undeclared fill hold means with it
            const GDALDatasetUniquePtr file(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
            const int levels[] = {2, 4, 8};
            ASSERT_EQ(
                file->BuildOverviews("AVERAGE", 3, const_cast<int*>(levels), 0, nullptr, nullptr, nullptr),
                CE_None);
        }
        const auto raster = openInMetres(path);
        ASSERT_TRUE(raster) << raster.error().message;
        expectReducedGround(**raster);
        const std::string name = nameInMetres(path);
        if (name != path) {
            const GDALDatasetUniquePtr named(GDALDataset::Open(name.c_str(), GDAL_OF_RASTER));
            ASSERT_TRUE(named);
            expectReducedGround(*named);
        }
    }
}

TEST(HeightsInMetres, UseTheOverviewsOfAFileThatDeclaresItsHoles) {
    const TemporaryFolder folder;
    for (const awkward::Form& form : awkward::forms()) {
        SCOPED_TRACE(form.name);
        const std::string path = folder.file("dsm.tif");
        awkward::write(path, form, awkward::oldHeight);
        const GDALDatasetUniquePtr file(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
        int levels[] = {2, 4};
        ASSERT_EQ(file->BuildOverviews("AVERAGE", 2, levels, 0, nullptr, nullptr, nullptr), CE_None);
        const auto raster = openInMetres(path);
        ASSERT_TRUE(raster);
        EXPECT_EQ((*raster)->GetRasterBand(1)->GetOverviewCount(), form.noData ? 2 : 0);
    }
}

TEST(HeightsInMetres, AFileOfMetresAndDeclaredHolesKeepsItsNameAndAMissingOneToo) {
    const TemporaryFolder folder;
    const std::string path = folder.file("dsm.tif");
    for (const awkward::Form& form : awkward::forms()) {
        SCOPED_TRACE(form.name);
        awkward::write(path, form, awkward::oldHeight);
        const bool isPlain = form.metresPerUnit == 1.0 && form.scale == 1.0 && form.noData;
        EXPECT_EQ(nameInMetres(path) == path, isPlain);
    }
    EXPECT_EQ(nameInMetres(folder.file("none.tif")), folder.file("none.tif"));
}

std::vector<awkward::Form> allForms() {
    return awkward::forms();
}
std::string numbered(const testing::TestParamInfo<awkward::Form>& info) {
    return std::to_string(info.index);
}
INSTANTIATE_TEST_SUITE_P(Surface, Heights, testing::ValuesIn(allForms()), numbered);

} // namespace
} // namespace detect::test
