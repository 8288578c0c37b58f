#include "tests/cloud/Rasterizing.h"

#include <cmath>
#include <filesystem>
#include <map>
#include <random>

namespace cloud::test {

namespace {

/// Versions of the format with the point formats that they know.
struct Layout {
    int minorVersion;
    int pointFormat;
    int extraBytes;
};

class EveryLayout : public Rasterizing, public testing::WithParamInterface<Layout> {};

TEST_P(EveryLayout, GivesTheHighestReturnOfEachCell) {
    LasWriter file = utmCloud({{500000.5, 4000000.5, 10.25},
                               {500000.7, 4000000.2, 12.5},
                               {500000.1, 4000000.9, 11.0},
                               {500001.5, 4000001.5, -3.75}});
    file.minorVersion = GetParam().minorVersion;
    file.pointFormat = GetParam().pointFormat;
    file.extraBytes = GetParam().extraBytes;
    file.offset = {500000.0, 4000000.0, 0.0};

    const auto report = run(file);

    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->points, 4U);
    EXPECT_EQ(report->used, 4U);
    EXPECT_EQ(report->measuredCells, 2);
    EXPECT_EQ(report->emptyCells, 2);
    const Surface made = surface();
    EXPECT_EQ(made.columns, 2);
    EXPECT_EQ(made.rows, 2);
    EXPECT_FLOAT_EQ(made.at(500000.5, 4000000.5), 12.5F);
    EXPECT_FLOAT_EQ(made.at(500001.5, 4000001.5), -3.75F);
    EXPECT_TRUE(std::isnan(made.at(500001.5, 4000000.5)));
    EXPECT_STREQ(made.reference.GetAuthorityCode(nullptr), "32650");
    EXPECT_EQ(made.unit, "m");
}

INSTANTIATE_TEST_SUITE_P(Las, EveryLayout,
                         testing::Values(Layout{0, 0, 0}, Layout{0, 1, 0}, Layout{1, 1, 4}, Layout{2, 2, 0},
                                         Layout{2, 3, 7}, Layout{3, 4, 0}, Layout{3, 5, 0}, Layout{4, 3, 0},
                                         Layout{4, 6, 0}, Layout{4, 7, 2}, Layout{4, 8, 0}, Layout{4, 9, 0},
                                         Layout{4, 10, 0}),
                         [](const auto& layout) {
                             return "Version1_" + std::to_string(layout.param.minorVersion) + "Format" +
                                    std::to_string(layout.param.pointFormat) + "Extra" +
                                    std::to_string(layout.param.extraBytes);
                         });

class EveryKind : public Rasterizing, public testing::WithParamInterface<int> {};

TEST_P(EveryKind, LeavesNoiseAndWithheldPointsOut) {
    LasWriter file =
        utmCloud({{0.5, 0.5, 10.0, 2}, {0.5, 0.5, 90.0, 18}, {0.5, 0.5, 95.0, 7}, {0.5, 0.5, 99.0, 2, true}});
    file.minorVersion = 4;
    file.pointFormat = GetParam();
    const auto report = run(file);
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->used, 1U);
    EXPECT_FLOAT_EQ(surface().heights[0], 10.0F);
}

TEST_P(EveryKind, TakesGroundAloneForATerrainModel) {
    LasWriter file = utmCloud({{0.5, 0.5, 10.0, 2}, {0.5, 0.5, 30.0, 5}, {1.5, 0.5, 20.0, 6}});
    file.minorVersion = 4;
    file.pointFormat = GetParam();
    file.write(path("cloud.las"));
    RasterizeRequest request;
    request.clouds = {path("cloud.las")};
    request.out = path("dsm.tif");
    request.cell = 1.0;
    request.returns = Returns::Ground;
    request.gapCells = 0;
    const auto report = rasterize(request);
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->used, 1U);
    EXPECT_FLOAT_EQ(surface().at(0.5, 0.5), 10.0F);
    EXPECT_TRUE(std::isnan(surface().at(1.5, 0.5)));
}

INSTANTIATE_TEST_SUITE_P(Las, EveryKind, testing::Values(0, 6));

TEST_F(Rasterizing, GivesAPercentileOfTheReturnsThatAreUsed) {
    LasWriter file = utmCloud({{0.5, 0.5, 10.0}, {0.6, 0.5, 30.0}, {0.7, 0.5, 20.0}, {1.5, 0.5, 7.0}});
    file.points.push_back({0.5, 0.5, 99.0, 18});
    file.write(path("cloud.las"));
    RasterizeRequest request;
    request.clouds = {path("cloud.las")};
    request.out = path("dsm.tif");
    request.cell = 1.0;
    request.gapCells = 0;
    for (const auto& [percent, expected] :
         std::map<double, float>{{0.0, 10.0F}, {25.0, 15.0F}, {50.0, 20.0F}, {100.0, 30.0F}}) {
        request.percentile = percent;
        ASSERT_TRUE(rasterize(request));
        EXPECT_FLOAT_EQ(surface().at(0.5, 0.5), expected) << percent;
        EXPECT_FLOAT_EQ(surface().at(1.5, 0.5), 7.0F);
    }
    EXPECT_EQ(files(), (std::vector<std::string>{"cloud.las", "dsm.tif"}));
}

// Against a plain map of cells, with so little memory that blocks wait in the scratch file.
TEST_F(Rasterizing, AgreesWithABruteForceOnRandomTiles) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> east(0.0, 700.0);
    std::uniform_real_distribution<double> north(0.0, 600.0);
    std::uniform_real_distribution<double> height(-20.0, 80.0);
    constexpr double kCell = 0.37;
    std::map<std::pair<int, int>, float> expected;
    std::vector<std::string> tiles;
    for (int tile = 0; tile < 3; ++tile) {
        LasWriter file = utmCloud({});
        for (int i = 0; i < 40000; ++i) {
            const Return point{std::round(east(random) * 100.0) * 0.01,
                               std::round(north(random) * 100.0) * 0.01,
                               std::round(height(random) * 100.0) * 0.01};
            file.points.push_back(point);
            const auto cell = std::make_pair(static_cast<int>(std::floor(point.x / kCell)),
                                             static_cast<int>(std::floor(point.y / kCell)));
            const auto z = static_cast<float>(point.z);
            const auto found = expected.emplace(cell, z).first;
            found->second = std::max(found->second, z);
        }
        tiles.push_back(path("tile" + std::to_string(tile) + ".las"));
        file.write(tiles.back());
    }
    const auto report = run(tiles, kCell);
    ASSERT_TRUE(report) << report.error().message;
    const Surface made = surface();
    std::int64_t measured = 0;
    std::int64_t wrong = 0;
    for (int row = 0; row < made.rows; ++row) {
        for (int column = 0; column < made.columns; ++column) {
            const auto cell = std::make_pair(static_cast<int>(std::lround(made.place[0] / kCell)) + column,
                                             static_cast<int>(std::lround(made.place[3] / kCell)) - 1 - row);
            const float z =
                made.heights[static_cast<std::size_t>(row) * static_cast<std::size_t>(made.columns) +
                             static_cast<std::size_t>(column)];
            const auto found = expected.find(cell);
            measured += std::isnan(z) ? 0 : 1;
            wrong += (found == expected.end()) != std::isnan(z) ||
                     (found != expected.end() && std::abs(found->second - z) > 0.006F);
        }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(measured, report->measuredCells);
    EXPECT_GT(measured, 110000);
}

TEST_F(Rasterizing, ClosesSmallGapsAndSaysHowMany) {
    LasWriter file = utmCloud({});
    for (int row = 0; row < 7; ++row) {
        for (int column = 0; column < 12; ++column) {
            const bool isSmallGap = row == 3 && column == 3;
            const bool isWideGap = column >= 6 && column <= 10 && row >= 1 && row <= 5;
            if (!isSmallGap && !isWideGap) {
                file.points.push_back({column + 0.5, row + 0.5, 10.0 + column});
            }
        }
    }
    const auto report = run(file, 1.0, 2);
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_FLOAT_EQ(surface().at(3.5, 3.5), 13.0F);
    EXPECT_TRUE(std::isnan(surface().at(8.5, 3.5))) << "a hole of five cells is no small gap";
    EXPECT_EQ(report->measuredCells, 7 * 12 - 1 - 25);
    EXPECT_EQ(report->closedCells + report->emptyCells, 26);
    EXPECT_GE(report->closedCells, 1);
}

// The raster is written in tiles of 256 cells.
TEST_F(Rasterizing, ClosesGapsAcrossTheTilesInWhichItWrites) {
    for (const bool isRow : {false, true}) {
        LasWriter file = utmCloud({});
        for (int i = 0; i < 600; ++i) {
            if (i != 87 && i != 88 && i != 343 && i != 344 && i != 255 &&
                i != 256) { // from the top: 255, 511
                file.points.push_back({isRow ? i + 0.5 : 0.5, isRow ? 0.5 : i + 0.5, static_cast<double>(i)});
            }
        }
        const auto report = run(file, 1.0, 2);
        ASSERT_TRUE(report) << report.error().message;
        EXPECT_EQ(report->closedCells, 6);
        for (const int i : {87, 88, 255, 256, 343, 344}) {
            EXPECT_NEAR(surface().at(isRow ? i + 0.5 : 0.5, isRow ? 0.5 : i + 0.5), i, 0.51);
        }
    }
}

// A diagonal line crosses few of the tiles of its box; a gap between two bare tiles is still closed.
TEST_F(Rasterizing, LeavesTilesWithoutPointsOut) {
    LasWriter file = utmCloud({});
    for (int i = 0; i < 3000; ++i) {
        if (i != 1023 && i != 1024) {
            file.points.push_back({i + 0.5, i + 0.5, 7.0});
        }
    }
    const auto report = run(file, 1.0, 2);
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->measuredCells, 2998);
    EXPECT_EQ(report->closedCells, 2);
    EXPECT_EQ(report->emptyCells, std::int64_t{3000} * 3000 - 3000);
    EXPECT_FLOAT_EQ(surface().at(1023.5, 1023.5), 7.0F);
    EXPECT_LT(std::filesystem::file_size(path("dsm.tif")), 100000U);
}

TEST_F(Rasterizing, LeavesTheGroundBesideTheSurveyEmpty) {
    LasWriter file = utmCloud({{0.5, 0.5, 1.0}, {9.5, 9.5, 2.0}});
    const auto report = run(file, 1.0, 3);
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_EQ(report->closedCells, 0);
    EXPECT_EQ(report->emptyCells, 98);
}

TEST_F(Rasterizing, LaysEpochsWithTheSameCellOnOneGrid) {
    ASSERT_TRUE(run(utmCloud({{100.3, 200.7, 1.0}, {110.2, 210.1, 2.0}}), 0.5));
    const Surface first = surface();
    ASSERT_TRUE(run(utmCloud({{101.9, 203.2, 1.0}, {112.8, 209.4, 2.0}}), 0.5));
    const Surface second = surface();
    EXPECT_DOUBLE_EQ(std::remainder(first.place[0] - second.place[0], 0.5), 0.0);
    EXPECT_DOUBLE_EQ(std::remainder(first.place[3] - second.place[3], 0.5), 0.0);
}

// Reference systems.

constexpr auto kUtmText =
    R"(PROJCS["WGS 84 / UTM zone 50N",GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563]],PRIMEM["Greenwich",0],UNIT["degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],PARAMETER["latitude_of_origin",0],PARAMETER["central_meridian",117],PARAMETER["scale_factor",0.9996],PARAMETER["false_easting",500000],PARAMETER["false_northing",0],UNIT["metre",1],AUTHORITY["EPSG","32650"]])";

TEST_F(Rasterizing, ReadsTheReferenceSystemFromItsText) {
    LasWriter file;
    file.points = {{0.5, 0.5, 1.0}};
    file.wkt = kUtmText;
    ASSERT_TRUE(run(file));
    EXPECT_STREQ(surface().reference.GetAuthorityCode(nullptr), "32650");
}

TEST_F(Rasterizing, ReadsTheReferenceSystemFromARecordBehindThePoints) {
    LasWriter file;
    file.minorVersion = 4;
    file.pointFormat = 6;
    file.points = {{0.5, 0.5, 1.0}};
    file.wkt = kUtmText;
    file.isWktAtTheEnd = true;
    ASSERT_TRUE(run(file));
    EXPECT_STREQ(surface().reference.GetAuthorityCode(nullptr), "32650");
}

TEST_F(Rasterizing, TakesTheKeysWhereTheTextIsNone) {
    LasWriter file = utmCloud({{0.5, 0.5, 1.0}});
    file.wkt = "''";
    ASSERT_TRUE(run(file));
    EXPECT_STREQ(surface().reference.GetAuthorityCode(nullptr), "32650");
}

// A Lambert projection that has no code, in feet: keys, numbers and texts together.
TEST_F(Rasterizing, ReadsAProjectionOfKeysWithoutACodeInFeet) {
    LasWriter file;
    file.points = {{1300000.5, 500.5, 1.0}};
    file.geoKeys = {1,    1,    0,    17,    1024, 0,     1,    1,     1026, 34737, 6,    0,     2048, 0,
                    1,    4152, 3072, 0,     1,    32767, 3074, 0,     1,    32767, 3075, 0,     1,    8,
                    3076, 0,    1,    9002,  3078, 34736, 1,    0,     3079, 34736, 1,    1,     3084, 34736,
                    1,    2,    3085, 34736, 1,    3,     3086, 34736, 1,    4,     3087, 34736, 1,    5};
    file.geoKeys[3] = static_cast<std::uint16_t>(file.geoKeys.size() / 4 - 1);
    file.geoDoubles = {43.0, 45.5, -120.5, 41.75, 1312335.958, 0.0};
    file.geoTexts = "lcc|";
    const auto report = run(file);
    ASSERT_TRUE(report) << report.error().message;
    const Surface made = surface();
    EXPECT_TRUE(made.reference.IsProjected());
    EXPECT_NEAR(made.reference.GetLinearUnits(), 0.3048, 1e-9);
    EXPECT_NEAR(made.reference.GetProjParm(SRS_PP_STANDARD_PARALLEL_2), 45.5, 1e-9);
    EXPECT_EQ(made.unit, "ft") << "heights are in the unit of the map where nothing else is said";
}

TEST_F(Rasterizing, TakesTheUnitOfHeightsFromTheVerticalKeys) {
    LasWriter file = utmCloud({{0.5, 0.5, 1.0}});
    file.geoKeys.insert(file.geoKeys.end(), {4096, 0, 1, 6360}); // NAVD88 in US survey feet
    file.geoKeys[3] = 3;
    ASSERT_TRUE(run(file));
    EXPECT_EQ(surface().unit, "US survey foot");

    LasWriter older = utmCloud({{0.5, 0.5, 1.0}});
    older.geoKeys.insert(older.geoKeys.end(), {4099, 0, 1, 9002});
    older.geoKeys[3] = 3;
    ASSERT_TRUE(run(older));
    EXPECT_EQ(surface().unit, "ft") << "the unit alone, without a vertical system";
}

TEST_F(Rasterizing, AsksForAReferenceSystemWhereThereIsNone) {
    LasWriter file;
    file.points = {{0.5, 0.5, 1.0}};
    file.write(path("cloud.las"));
    RasterizeRequest request;
    request.clouds = {path("cloud.las")};
    request.out = path("dsm.tif");
    request.cell = 1.0;
    auto report = rasterize(request);
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().message, path("cloud.las") + "：没有可用的坐标系，请用 --crs 指定");
    request.crs = "EPSG:4547";
    report = rasterize(request);
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_STREQ(surface().reference.GetAuthorityCode(nullptr), "4547");
    request.crs = "nowhere";
    EXPECT_FALSE(rasterize(request));
}

TEST_F(Rasterizing, RefusesTilesOfDifferentReferenceSystems) {
    utmCloud({{0.5, 0.5, 1.0}}).write(path("a.las"));
    LasWriter other = utmCloud({{0.5, 0.5, 1.0}});
    other.geoKeys.back() = 32651;
    other.write(path("b.las"));
    const auto report = run({path("a.las"), path("b.las")});
    ASSERT_FALSE(report);
    EXPECT_EQ(report.error().message, path("b.las") + "：坐标系与 " + path("a.las") + " 不同");
    EXPECT_EQ(files(), (std::vector<std::string>{"a.las", "b.las"}));
}

TEST_F(Rasterizing, ProposesTheCellFromTheDensityOfTheSurveyedGroundAlone) {
    LasWriter file = utmCloud({});
    for (int i = 0; i < 300; ++i) { // a strip across a wide box: 6 points a square metre
        for (int j = 0; j < 100; ++j) {
            file.points.push_back({i * 0.4 + 0.01 * j, i * 0.4 + j * 0.4, 1.0});
        }
    }
    file.write(path("cloud.las"));
    RasterizeRequest request;
    request.clouds = {path("cloud.las")};
    request.out = path("dsm.tif");
    const auto report = rasterize(request);
    ASSERT_TRUE(report) << report.error().message;
    EXPECT_DOUBLE_EQ(report->cell, 1.0);
}

} // namespace

} // namespace cloud::test
