// Rasters that are odd, and still to be worked with.

#include "tests/detect/RandomRasters.h"
#include "tests/detect/WholeResult.h"

#include <gtest/gtest.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace detect::test {
namespace {

constexpr double kWest = 500000.0;
constexpr double kNorth = 3400000.0;
constexpr CoregistrationMethod kMethods[] = {CoregistrationMethod::None, CoregistrationMethod::Bias,
                                             CoregistrationMethod::Full};

double rolling(const Point& p) {
    return 100.0 + 3.0 * std::sin((p.x - kWest) / 9.0) + 2.0 * std::cos((p.y - kNorth) / 7.0);
}

bool inside(const Point& p, double left, double top, double right, double bottom) {
    const double x = p.x - kWest;
    const double y = kNorth - p.y;
    return x > left && x < right && y > top && y < bottom;
}

class OddInput : public testing::Test {
protected:
    OddInput() {
        m_request.oldRaster = m_folder.file("old.tif");
        m_request.newRaster = m_folder.file("new.tif");
        m_request.parameters.coregistration = CoregistrationMethod::None;
    }

    TemporaryFolder m_folder;
    Request m_request;
};

TEST_F(OddInput, NanInfinityAndUndeclaredFillsAreHoles) {
    const float fills[] = {std::numeric_limits<float>::quiet_NaN(),
                           std::numeric_limits<float>::infinity(),
                           -std::numeric_limits<float>::infinity(),
                           1e30F,
                           -1e30F,
                           3.4e38F,
                           -32768.0F};
    RasterPlan plan;
    Random random(3);
    std::vector<float> oldHeights;
    std::vector<float> newHeights;
    std::int64_t holes = 0;
    for (int row = 0; row < plan.rows; ++row) {
        for (int column = 0; column < plan.columns; ++column) {
            const bool oldHole = column % 40 < 8 && row % 30 < 9;
            const bool newHole = column % 35 > 28 && row % 25 > 14;
            const float fill = fills[static_cast<std::size_t>(random() * std::size(fills))];
            const auto height = static_cast<float>(rolling(plan.centre(column, row)));
            oldHeights.push_back(oldHole ? fill : height);
            newHeights.push_back(newHole ? fill : height);
            holes += oldHole || newHole ? 1 : 0;
        }
    }
    writeRaster(m_request.oldRaster, plan, oldHeights);
    writeRaster(m_request.newRaster, plan, newHeights);
    for (const auto method : kMethods) {
        m_request.parameters.coregistration = method;
        const Changes result = detectOrFail(m_request);
        EXPECT_TRUE(result.anomalies.empty());
        EXPECT_EQ(result.cells, std::int64_t{plan.columns} * plan.rows - holes);
    }
}

TEST_F(OddInput, OverlapOfOneColumnOrOneCellIsCompared) {
    RasterPlan plan;
    writeRaster(m_request.oldRaster, plan, rolling);
    RasterPlan beside = plan;
    beside.toMap[0] += 99 * 0.5;
    writeRaster(m_request.newRaster, beside, rolling);
    for (const auto method : kMethods) {
        m_request.parameters.coregistration = method;
        EXPECT_EQ(detectOrFail(m_request).cells, 100);
    }
    beside.toMap[3] -= 99 * 0.5;
    writeRaster(m_request.newRaster, beside, rolling);
    for (const auto method : kMethods) {
        m_request.parameters.coregistration = method;
        EXPECT_EQ(detectOrFail(m_request).cells, 1);
    }
    // And a grid of its own, of which little more than one old cell is covered.
    beside.toMap = {kWest + 20.1, 0.3, 0.0, kNorth - 20.1, 0.0, -0.3};
    beside.columns = beside.rows = 4;
    writeRaster(m_request.newRaster, beside, rolling);
    const Changes result = detectOrFail(m_request);
    EXPECT_GT(result.cells, 0);
    EXPECT_TRUE(result.anomalies.empty());
}

TEST_F(OddInput, OneRowAndOneColumn) {
    for (const bool lying : {false, true}) {
        RasterPlan plan;
        plan.columns = lying ? 200 : 1;
        plan.rows = lying ? 1 : 200;
        writeRaster(m_request.oldRaster, plan, rolling);
        writeRaster(m_request.newRaster, plan, [lying](const Point& p) {
            const double along = lying ? p.x - kWest : kNorth - p.y;
            return rolling(p) + (along > 30 && along < 50 ? 2.0 : 0.0);
        });
        for (const auto method : kMethods) {
            m_request.parameters.coregistration = method;
            m_request.parameters.rules = Rules();
            const Changes result = detectOrFail(m_request);
            EXPECT_EQ(result.cells, 200);
            EXPECT_TRUE(result.anomalies.empty()) << "a line of cells has no core";
            m_request.parameters.rules.core = false;
            const Changes line = detectOrFail(m_request);
            ASSERT_EQ(line.anomalies.size(), 1U);
            EXPECT_EQ(line.anomalies[0].cells, 40);
            EXPECT_TRUE(isValidPolygon(line.anomalies[0]));
        }
    }
}

TEST_F(OddInput, HundredThousandTinyAnomaliesAreAllFoundAndWritten) {
    RasterPlan plan;
    plan.columns = 2000;
    plan.rows = 1250;
    std::vector<float> flat(static_cast<std::size_t>(plan.columns) * static_cast<std::size_t>(plan.rows),
                            7.0F);
    writeRaster(m_request.oldRaster, plan, flat);
    for (int row = 0; row < plan.rows; ++row) {
        for (int column = 0; column < plan.columns; ++column) {
            if (row % 5 < 3 && column % 5 < 3) {
                flat[static_cast<std::size_t>(row) * 2000 + static_cast<std::size_t>(column)] +=
                    (row / 5 + column / 5) % 2 == 0 ? 1.0F : -1.0F;
            }
        }
    }
    writeRaster(m_request.newRaster, plan, flat);
    m_request.parameters.minAreaSquareMetres = 1.0;
    const Changes result = detectOrFail(m_request);
    ASSERT_EQ(result.anomalies.size(), 100'000U);
    EXPECT_EQ(result.anomalies[99'999].name, "A100000");
    EXPECT_EQ(std::count_if(result.anomalies.begin(), result.anomalies.end(),
                            [](const Anomaly& a) {
                                return a.cells == 9 && std::abs(a.volumeCubicMetres() - 2.25) < 1e-6;
                            }),
              100'000);
    ASSERT_TRUE(writeAnomalies(result.anomalies, result.srsWkt, m_folder.file("all.gpkg")));
    const GDALDatasetUniquePtr file(GDALDataset::Open(m_folder.file("all.gpkg").c_str(), GDAL_OF_VECTOR));
    EXPECT_EQ(file->GetLayer(0)->GetFeatureCount(), 100'000);
}

TEST_F(OddInput, OneAnomalyThatCoversEverything) {
    RasterPlan plan;
    plan.columns = 2300;
    plan.rows = 1900; // more cells than are looked at one by one
    const std::vector<float> flat(std::size_t{2300} * 1900, 7.0F);
    const std::vector<float> raised(std::size_t{2300} * 1900, 9.5F);
    writeRaster(m_request.oldRaster, plan, flat);
    writeRaster(m_request.newRaster, plan, raised);
    const Changes result = detectOrFail(m_request);
    ASSERT_EQ(result.anomalies.size(), 1U);
    const Anomaly& all = result.anomalies[0];
    EXPECT_EQ(all.cells, std::int64_t{2300} * 1900);
    EXPECT_EQ(all.outline.size(), 4U);
    EXPECT_NEAR(all.areaSquareMetres, 1150.0 * 950.0, 1e-6);
    EXPECT_NEAR(all.fillCubicMetres, 2.5 * 1150.0 * 950.0, 1e-3);
    EXPECT_FALSE(all.suggested.empty());
    // With the bias removed nothing is left of it.
    m_request.parameters.coregistration = CoregistrationMethod::Bias;
    EXPECT_TRUE(detectOrFail(m_request).anomalies.empty());
}

TEST_F(OddInput, ReferenceSystemInFeetGivesMetres) {
    RasterPlan plan;
    plan.epsg = 2263; // New York Long Island, US survey feet
    plan.toMap = {980000.0, 2.0, 0.0, 200000.0, 0.0, -2.0};
    const auto box = [](const Point& p) {
        return p.x > 980040 && p.x < 980080 && p.y < 199950 && p.y > 199920;
    };
    writeRaster(m_request.oldRaster, plan, [](const Point&) { return 30.0; });
    writeRaster(m_request.newRaster, plan, [&](const Point& p) { return box(p) ? 36.0 : 30.0; });
    for (const std::string& path : {m_request.oldRaster, m_request.newRaster}) {
        const GDALDatasetUniquePtr file(GDALDataset::Open(path.c_str(), GDAL_OF_UPDATE));
        file->GetRasterBand(1)->SetUnitType("US survey foot");
    }
    const Changes result = detectOrFail(m_request);
    ASSERT_EQ(result.anomalies.size(), 1U);
    const double foot = 1200.0 / 3937.0;
    EXPECT_NEAR(result.anomalies[0].areaSquareMetres, 40.0 * 30.0 * foot * foot, 1e-6);
    EXPECT_NEAR(result.anomalies[0].dzMeanMetres, 6.0 * foot, 1e-5);
    EXPECT_NEAR(result.anomalies[0].fillCubicMetres, 40.0 * 30.0 * 6.0 * foot * foot * foot, 1e-3);
}

TEST_F(OddInput, TurnedGridsAreComparedWhereTheyLie) {
    const double c = std::cos(0.4);
    const double s = std::sin(0.4);
    RasterPlan turned;
    turned.columns = 300;
    turned.rows = 260;
    turned.toMap = {kWest, 0.5 * c, 0.5 * s, kNorth, 0.5 * s, -0.5 * c};
    const auto changed = [](const Point& p) { return rolling(p) + (inside(p, 40, 10, 70, 30) ? 2.0 : 0.0); };
    writeRaster(m_request.oldRaster, turned, rolling);
    writeRaster(m_request.newRaster, turned, changed);
    RasterPlan upright;
    upright.columns = 500;
    upright.rows = 500;
    upright.toMap = {kWest - 30, 0.4, 0.0, kNorth + 80, 0.0, -0.4};
    const std::string uprightRaster = m_folder.file("upright.tif");
    writeRaster(uprightRaster, upright, changed);
    for (const std::string& newRaster : {m_request.newRaster, uprightRaster}) {
        m_request.newRaster = newRaster;
        const Changes result = detectOrFail(m_request);
        ASSERT_EQ(result.anomalies.size(), 1U);
        const Anomaly& found = result.anomalies[0];
        EXPECT_NEAR(found.areaSquareMetres, 600.0, 20.0); // the rim is blurred on a grid of its own
        EXPECT_NEAR(found.fillCubicMetres, 1200.0, 30.0);
        EXPECT_NEAR(found.centroid.x, kWest + 55, 0.3);
        EXPECT_NEAR(found.centroid.y, kNorth - 20, 0.3);
        EXPECT_TRUE(encloses(found, {kWest + 55, kNorth - 20}));
        EXPECT_NEAR(found.bounds.xMax, kWest + 70, 1.0);
    }
}

void writeSparse(const std::string& path, int tile, float raisedBy) {
    GDALAllRegister();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    CPLStringList options;
    for (const char* option : {"SPARSE_OK=TRUE", "TILED=YES", "COMPRESS=DEFLATE", "BIGTIFF=YES"}) {
        options.AddString(option);
    }
    const GDALDatasetUniquePtr file(
        driver->Create(path.c_str(), 200'000, 200'000, 1, GDT_Float32, options.List()));
    OGRSpatialReference srs;
    srs.importFromEPSG(4547);
    file->SetSpatialRef(&srs);
    double toMap[] = {kWest, 0.05, 0.0, kNorth, 0.0, -0.05};
    file->SetGeoTransform(toMap);
    file->GetRasterBand(1)->SetNoDataValue(-9999.0);
    std::vector<float> heights(std::size_t{256} * 256, 12.0F);
    for (std::size_t i = 0; i < heights.size(); ++i) {
        if (i / 256 > 60 && i / 256 < 160 && i % 256 > 80 && i % 256 < 200) {
            heights[i] += raisedBy;
        }
    }
    for (const int at : {0, tile, 199'680}) {
        ASSERT_EQ(file->GetRasterBand(1)->RasterIO(GF_Write, at, at, 256, 256, heights.data(), 256, 256,
                                                   GDT_Float32, 0, 0, nullptr),
                  CE_None);
    }
}

TEST_F(OddInput, SparseRasterOfFortyThousandMillionCells) {
    writeSparse(m_request.oldRaster, 256 * 390, 0.0F);
    writeSparse(m_request.newRaster, 256 * 390, 1.5F);
    m_request.parameters.coregistration = CoregistrationMethod::Bias;
    const Changes result = detectOrFail(m_request);
    EXPECT_EQ(result.cells, 3 * 256 * 256);
    ASSERT_EQ(result.anomalies.size(), 3U);
    EXPECT_EQ(result.anomalies[1].cells, 99 * 119);
    EXPECT_NEAR(result.anomalies[2].centroid.x, kWest + (199'680 + 140.5) * 0.05, 1e-6);
}

TEST(SwappedEpochs, TurnFillsIntoCutsAndNothingElse) {
    std::size_t compared = 0;
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        RasterPlan plan;
        plan.columns = 30 + static_cast<int>(random() * 60);
        plan.rows = 30 + static_cast<int>(random() * 60);
        const double roughness = 0.2 + 1.2 * random();
        Request request;
        request.oldRaster = "/vsimem/swap-a.tif";
        request.newRaster = "/vsimem/swap-b.tif";
        writeRandomPair(request, random, plan, roughness);
        request.parameters.coregistration = CoregistrationMethod::None;
        request.parameters.minAreaSquareMetres = 1.0;
        const Changes there = detectOrFail(request);
        std::swap(request.oldRaster, request.newRaster);
        const Changes back = detectOrFail(request);
        ASSERT_EQ(there.anomalies.size(), back.anomalies.size());
        for (std::size_t i = 0; i < there.anomalies.size(); ++i) {
            const Anomaly& a = there.anomalies[i];
            const Anomaly& b = back.anomalies[i];
            EXPECT_NE(a.kind, b.kind);
            EXPECT_EQ(a.cells, b.cells);
            EXPECT_EQ(a.volumeCubicMetres(), b.volumeCubicMetres());
            EXPECT_EQ(a.dzMinMetres, -b.dzMaxMetres);
            EXPECT_EQ(a.significance, b.significance);
            ASSERT_EQ(a.outline.size(), b.outline.size());
            EXPECT_TRUE(std::equal(a.outline.begin(), a.outline.end(), b.outline.begin(),
                                   [](const Point& p, const Point& q) { return p.x == q.x && p.y == q.y; }));
            ++compared;
        }
    }
    EXPECT_GT(compared, 200U);
}

} // namespace
} // namespace detect::test
