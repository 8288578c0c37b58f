#include "tests/detect/TruthScore.h"

#include "tests/detect/TestRasters.h"
#include "tests/detect/WholeResult.h"

#include <gtest/gtest.h>

namespace detect::test {
namespace {

std::string wktOf(int epsg) {
    OGRSpatialReference srs;
    srs.importFromEPSG(epsg);
    char* text = nullptr;
    srs.exportToWkt(&text);
    std::string wkt = text;
    CPLFree(text);
    return wkt;
}

Anomaly square(const char* name, double left, double bottom, double side, Kind kind, double cubicMetres) {
    Anomaly anomaly;
    anomaly.name = name;
    anomaly.kind = kind;
    anomaly.outline = {
        {left, bottom}, {left + side, bottom}, {left + side, bottom + side}, {left, bottom + side}};
    (kind == Kind::Fill ? anomaly.fillCubicMetres : anomaly.cutCubicMetres) = cubicMetres;
    return anomaly;
}

TruthScore scoreOf(const std::vector<Anomaly>& truth, const std::vector<Anomaly>& result) {
    const TemporaryFolder folder;
    EXPECT_TRUE(writeAnomalies(truth, wktOf(4547), folder.file("truth.gpkg")));
    EXPECT_TRUE(writeAnomalies(result, wktOf(4547), folder.file("result.geojson")));
    const auto score = scoreAgainstTruth(folder.file("truth.gpkg"), folder.file("result.geojson"));
    EXPECT_TRUE(score);
    return score.value_or(TruthScore());
}

constexpr double kX = 500100.0;
constexpr double kY = 3400100.0;

TEST(TruthScore, PerfectResultScoresFull) {
    const std::vector<Anomaly> truth = {square("a", kX, kY, 10, Kind::Fill, 100),
                                        square("b", kX + 50, kY, 10, Kind::Cut, 40)};
    const TruthScore score = scoreOf(truth, truth);
    EXPECT_EQ(score.recall, 1.0);
    EXPECT_EQ(score.precision, 1.0);
    EXPECT_NEAR(score.worstVolumeError, 0.0, 1e-9);
    EXPECT_NEAR(score.changes[0].overlap, 1.0, 1e-3);
}

TEST(TruthScore, MissedFalseAndWrongKindCount) {
    const std::vector<Anomaly> truth = {square("a", kX, kY, 10, Kind::Fill, 100),
                                        square("b", kX + 50, kY, 10, Kind::Cut, 40)};
    const std::vector<Anomaly> result = {square("A1", kX + 1, kY, 10, Kind::Fill, 110),
                                         square("A2", kX + 50, kY, 10, Kind::Fill, 40),
                                         square("A3", kX + 90, kY, 10, Kind::Cut, 40)};
    const TruthScore score = scoreOf(truth, result);
    EXPECT_EQ(score.recall, 0.5);
    EXPECT_NEAR(score.precision, 1.0 / 3.0, 1e-12);
    EXPECT_EQ(score.falseAnomalies.size(), 2U);
    EXPECT_NEAR(score.worstVolumeError, 0.1, 1e-9);
}

TEST(TruthScore, OneChangeFoundInTwoPiecesCountsOnce) {
    const std::vector<Anomaly> truth = {square("a", kX, kY, 10, Kind::Fill, 100)};
    const std::vector<Anomaly> result = {square("A1", kX, kY, 7, Kind::Fill, 60),
                                         square("A2", kX + 6, kY + 7, 3, Kind::Fill, 9)};
    const TruthScore score = scoreOf(truth, result);
    EXPECT_EQ(score.recall, 1.0);
    EXPECT_EQ(score.precision, 0.5);
    EXPECT_EQ(score.changes[0].match, "A1");
}

TEST(TruthScore, UnreadableFileGivesNoScore) {
    const TemporaryFolder folder;
    CPLPushErrorHandler(CPLQuietErrorHandler);
    EXPECT_FALSE(scoreAgainstTruth(folder.file("truth.gpkg"), folder.file("result.gpkg")));
    CPLPopErrorHandler();
}

} // namespace
} // namespace detect::test
