#include "cloud/SurveyFacts.h"
#include "cloud/PointSample.h"
#include "tests/cloud/Rasterizing.h"

namespace cloud::test {

namespace {

TEST(CellSize, HoldsAboutFourPointsAndIsRound) {
    EXPECT_DOUBLE_EQ(cellFor(4.0), 1.0);
    EXPECT_DOUBLE_EQ(cellFor(100.0), 0.2);
    EXPECT_DOUBLE_EQ(cellFor(30.0), 0.5);
    EXPECT_DOUBLE_EQ(cellFor(0.9), 5.0);
    EXPECT_DOUBLE_EQ(cellFor(0.01), 20.0);
}

class Facts : public Rasterizing {
protected:
    Result<SurveyFacts> look(const LasWriter& file) const {
        file.write(path("cloud.las"));
        return lookAtSurvey({path("cloud.las")});
    }
};

TEST_F(Facts, TellWhereTheSurveyLiesAndHowDenseItIs) {
    LasWriter file = utmCloud({});
    for (int row = 0; row < 50; ++row) {
        for (int column = 0; column < 100; ++column) {
            file.points.push_back({500000.0 + column * 0.5, 4000000.0 + row * 0.5, 10.0});
        }
    }
    file.points[7].classification = 2;
    const auto facts = look(file);
    ASSERT_TRUE(facts) << facts.error().message;
    EXPECT_EQ(facts->files, 1U);
    EXPECT_EQ(facts->points, 5000U);
    EXPECT_DOUBLE_EQ(facts->xMin, 500000.0);
    EXPECT_DOUBLE_EQ(facts->xMax, 500049.5);
    EXPECT_DOUBLE_EQ(facts->yMin, 4000000.0);
    EXPECT_DOUBLE_EQ(facts->yMax, 4000024.5);
    EXPECT_STREQ(facts->reference.GetAuthorityCode(nullptr), "32650");
    EXPECT_EQ(facts->heightUnit, "m");
    ASSERT_TRUE(facts->density);
    EXPECT_NEAR(*facts->density, 4.0, 0.3);
    EXPECT_DOUBLE_EQ(facts->cell.value_or(0.0), 1.0);
    EXPECT_TRUE(facts->hasGround);
    EXPECT_EQ(facts->date, "");
}

TEST_F(Facts, LeaveOpenWhatTheCloudDoesNotSay) {
    LasWriter file;
    file.points = {{0.5, 0.5, 1.0}};
    const auto facts = look(file);
    ASSERT_TRUE(facts) << facts.error().message;
    EXPECT_TRUE(facts->reference.IsEmpty());
    EXPECT_FALSE(facts->density) << "a single point has no area";
    EXPECT_FALSE(facts->cell);
    EXPECT_FALSE(facts->hasGround);
}

TEST_F(Facts, RefuseTilesOfWhichOneAloneNamesItsReferenceSystem) {
    utmCloud({{0.5, 0.5, 1.0}}).write(path("a.las"));
    LasWriter other;
    other.points = {{1.5, 0.5, 1.0}};
    other.write(path("b.las"));
    const auto facts = lookAtSurvey({path("a.las"), path("b.las")});
    ASSERT_FALSE(facts);
    EXPECT_EQ(facts.error().message, path("b.las") + "：坐标系与 " + path("a.las") + " 不同");
}

// 2024-03-09 12:00 in GPS time: day 16134 after its zero.
constexpr double kFlight = 16134 * 86400.0 + 43200.0 - 1e9;

class EveryTimeFormat : public Facts, public testing::WithParamInterface<int> {};

TEST_P(EveryTimeFormat, GivesTheDateOfTheFlight) {
    LasWriter file = utmCloud({{0.5, 0.5, 1.0}, {3.5, 3.5, 1.0}});
    file.minorVersion = 4;
    file.pointFormat = GetParam();
    file.globalEncoding = 1;
    file.gpsTime = kFlight;
    file.creationDay = 300;
    file.creationYear = 2025;
    const auto facts = look(file);
    ASSERT_TRUE(facts) << facts.error().message;
    EXPECT_EQ(facts->date, "2024-03-09");
    EXPECT_TRUE(facts->isFlightDate);
}

INSTANTIATE_TEST_SUITE_P(Las, EveryTimeFormat, testing::Values(1, 3, 4, 5, 6, 7, 8, 9, 10));

TEST_F(Facts, FallBackOnTheDayOnWhichTheFileWasMade) {
    LasWriter file = utmCloud({{0.5, 0.5, 1.0}, {3.5, 3.5, 1.0}});
    file.creationDay = 60; // the 29th of February
    file.creationYear = 2024;
    for (const int format : {2, 3}) { // without times, and with times of the week
        file.pointFormat = format;
        file.globalEncoding = format == 2 ? 1 : 0;
        file.gpsTime = kFlight;
        const auto facts = look(file);
        ASSERT_TRUE(facts) << facts.error().message;
        EXPECT_EQ(facts->date, "2024-02-29");
        EXPECT_FALSE(facts->isFlightDate);
    }
    file.creationYear = 1;
    EXPECT_EQ(look(file)->date, "") << "some programs write nonsense";
}

// As COPC may have it: the first million points are every sixteenth of the whole.
TEST_F(Facts, AreNotMisledByAThinnedPictureAtTheBeginning) {
    LasWriter file = utmCloud({});
    for (int row = 0; row < 1000; ++row) {
        for (int column = 0; column < 1050; ++column) {
            file.points.push_back({column * 1.0, row * 1.0, 10.0});
        }
    }
    file.write(path("cloud.las"));
    const auto facts = lookAtSurvey(std::vector<std::string>(16, path("cloud.las")));
    ASSERT_TRUE(facts) << facts.error().message;
    EXPECT_NEAR(facts->density.value_or(0.0), 16.0, 0.5);
}

} // namespace

} // namespace cloud::test
