#include "Opened.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <algorithm>

namespace {

using namespace inspection;

/// All files under output/ with their sizes.
QStringList outputFiles(const OpenedProject& opened) {
    QStringList files;
    QDirIterator walk(opened.project.description().outputFolder(), QDir::Files | QDir::Hidden,
                      QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QFileInfo file(walk.next());
        files << file.filePath() + ' ' + QString::number(file.size());
    }
    files.sort();
    return files;
}

std::vector<std::string> anomalyNames(OpenedProject& opened) {
    std::vector<std::string> names;
    for (const auto& row : opened.sql().queryRecord("select name from anomaly order by name")) {
        names.push_back(std::get<std::string>(row.at("name")));
    }
    return names;
}

TEST(ComputationTest, FindsTheKnownChangesInTheRightStations) {
    OpenedProject opened;
    const auto summary = valueOf(computeAnomalies(opened.request()));
    EXPECT_EQ(summary.anomalies, 3);
    EXPECT_EQ(summary.stationIds, (std::vector<std::uint32_t>{1, 2}));
    EXPECT_GT(summary.cells, 0);
    EXPECT_EQ(anomalyNames(opened), (std::vector<std::string>{"S1-0001", "S2-0001", "S2-0002"}));

    std::vector<SdiffData> found = readAnomalies(opened.sql(), 1, kSamplePair);
    const auto second = readAnomalies(opened.sql(), 2, kSamplePair);
    found.insert(found.end(), second.begin(), second.end());
    for (const KnownChange& change : SmallProject::changes()) {
        const auto match = std::find_if(found.begin(), found.end(), [&](const SdiffData& anomaly) {
            return std::abs(anomaly.x - change.xCentre()) < 0.5 &&
                   std::abs(anomaly.y - change.yCentre()) < 0.5;
        });
        ASSERT_NE(match, found.end());
        EXPECT_EQ(match->isFill, change.dzMetres > 0.0);
        EXPECT_NEAR(match->areaSquareMetres, change.areaSquareMetres(), change.areaSquareMetres() * 0.05);
        EXPECT_NEAR(match->volumeCubicMetres(), change.volumeCubicMetres(),
                    change.volumeCubicMetres() * 0.05);
        EXPECT_NEAR(match->lonDegrees, 114.0, 0.01);
        EXPECT_NEAR(match->latDegrees, 30.7, 0.1);
        EXPECT_LT(match->xMin, match->x);
        EXPECT_GT(match->yMax, match->y);
        EXPECT_FALSE(match->suggested.empty());
    }
}

TEST(ComputationTest, LeavesOneRasterForStationsThatWereSearchedTogetherAndTheParametersOfEach) {
    OpenedProject opened;
    valueOf(computeAnomalies(opened.request()));
    valueOf(computeAnomalies(opened.request()));
    EXPECT_EQ(outputFiles(opened).size(), 1);
    const auto result = readStationResult(opened.sql(), 1, kSamplePair);
    ASSERT_TRUE(result.has_value());
    EXPECT_TRUE(QFile::exists(opened.files.file(result->dzRaster)));
    EXPECT_EQ(result->pair, kSamplePair);
    EXPECT_EQ(result->coregistration, "bias");
    EXPECT_DOUBLE_EQ(result->thresholdMetres, opened.project.description().parameters.thresholdMetres);
}

TEST(ComputationTest, OneStationLeavesTheOthersAlone) {
    OpenedProject opened;
    valueOf(computeAnomalies(opened.request()));
    const auto before = readStationResult(opened.sql(), 2, kSamplePair);
    opened.sql().execute("delete from anomaly");
    auto request = opened.request();
    request.stationIds = {1, 1};
    EXPECT_EQ(valueOf(computeAnomalies(request)).anomalies, 1);
    EXPECT_EQ(anomalyNames(opened), (std::vector<std::string>{"S1-0001"}));
    EXPECT_EQ(readStationResult(opened.sql(), 2, kSamplePair)->dzRaster, before->dzRaster);
    EXPECT_TRUE(QFile::exists(opened.files.file(before->dzRaster)));
}

TEST(ComputationTest, ARasterOfTwoStationsGoesWhenTheLastOfThemHasAnother) {
    OpenedProject opened;
    valueOf(computeAnomalies(opened.request()));
    const QString shared = opened.files.file(readStationResult(opened.sql(), 1, kSamplePair)->dzRaster);
    EXPECT_EQ(opened.files.file(readStationResult(opened.sql(), 2, kSamplePair)->dzRaster), shared);
    auto request = opened.request();
    request.stationIds = {1};
    valueOf(computeAnomalies(request));
    EXPECT_TRUE(QFile::exists(shared));
    EXPECT_EQ(outputFiles(opened).size(), 2);
    request.stationIds = {2};
    valueOf(computeAnomalies(request));
    EXPECT_FALSE(QFile::exists(shared));
    EXPECT_EQ(outputFiles(opened).size(), 2);
}

TEST(ComputationTest, AStationsAnomaliesDoNotDependOnWhichAreSearchedWithIt) {
    OpenedProject opened;
    valueOf(computeAnomalies(opened.request()));
    for (const std::uint32_t station : {1U, 2U}) {
        const auto together = readAnomalies(opened.sql(), station, kSamplePair);
        auto request = opened.request();
        request.stationIds = {station};
        valueOf(computeAnomalies(request));
        const auto alone = readAnomalies(opened.sql(), station, kSamplePair);
        ASSERT_EQ(alone.size(), together.size());
        for (std::size_t i = 0; i < alone.size(); ++i) {
            EXPECT_EQ(alone[i].outlineWkt, together[i].outlineWkt);
            EXPECT_EQ(alone[i].fillCubicMetres, together[i].fillCubicMetres);
            EXPECT_EQ(alone[i].cutCubicMetres, together[i].cutCubicMetres);
            EXPECT_EQ(alone[i].volumeSigmaCubicMetres, together[i].volumeSigmaCubicMetres);
            EXPECT_EQ(alone[i].significance, together[i].significance);
        }
    }
}

TEST(ComputationTest, TheSumOverStationsThatWereSearchedTogetherIsThatOfTheSearch) {
    OpenedProject opened;
    const auto summary = valueOf(computeAnomalies(opened.request()));
    const auto first = readStationResult(opened.sql(), 1, kSamplePair);
    const auto second = readStationResult(opened.sql(), 2, kSamplePair);
    EXPECT_EQ(summary.cells, std::int64_t{SmallProject::kColumns} * SmallProject::kRows);
    EXPECT_EQ(first->cells + second->cells, summary.cells);
    EXPECT_NEAR(double(first->cells), double(second->cells), 1.0) << "they have the same ground";
    EXPECT_TRUE(first->stableDifferences.has_value());
    EXPECT_FALSE(second->stableDifferences.has_value()) << "it would count twice";
}

TEST(ComputationTest, AVerdictOnAnAnomalyThatIsFoundAgainIsKept) {
    OpenedProject opened;
    valueOf(computeAnomalies(opened.request()));
    auto anomalies = readAnomalies(opened.sql(), 1, kSamplePair);
    anomalies[0].attribute = toGbk("建构筑物");
    opened.storeAttribute(anomalies[0]);
    auto request = opened.request();
    request.project.parameters.thresholdMetres = 0.9;
    valueOf(computeAnomalies(request));
    EXPECT_EQ(readAnomalies(opened.sql(), 1, kSamplePair).at(0).attribute, toGbk("建构筑物"));
    EXPECT_TRUE(readAnomalies(opened.sql(), 2, kSamplePair).at(0).attribute.empty());
}

TEST(ComputationTest, CancelAtAnyTimeLeavesTheEarlierResults) {
    OpenedProject opened;
    valueOf(computeAnomalies(opened.request()));
    const QStringList files = outputFiles(opened);
    const auto names = anomalyNames(opened);
    const auto result = readStationResult(opened.sql(), 1, kSamplePair);
    int calls = 0;
    auto request = opened.request();
    request.project.parameters.thresholdMetres = 2.5; // would find fewer
    for (const double limit : {0.0, 0.1, 0.4, 0.7, 1.0}) {
        const Failure failure = failureOf(computeAnomalies(request, [&](double fraction, const auto&) {
            ++calls;
            return fraction < limit;
        }));
        EXPECT_TRUE(failure.cancelled);
        EXPECT_EQ(outputFiles(opened), files);
        EXPECT_EQ(anomalyNames(opened), names);
        EXPECT_EQ(readStationResult(opened.sql(), 1, kSamplePair)->computedAt, result->computedAt);
    }
    EXPECT_GE(calls, 5);
}

TEST(ComputationTest, ProgressNeverGoesBackAndEndsAtOne) {
    OpenedProject opened;
    double last = 0.0;
    QStringList steps;
    valueOf(computeAnomalies(opened.request(), [&](double fraction, const ComputationStep& step) {
        EXPECT_GE(fraction, last);
        EXPECT_FALSE(stepText(step).isEmpty());
        last = fraction;
        steps << stepText(step);
        return true;
    }));
    EXPECT_DOUBLE_EQ(last, 1.0);
    steps.removeDuplicates();
    EXPECT_EQ(steps, QStringList({"两期数据配准", "计算站段 一号站 等 2 个", "保存结果"}));
}

TEST(ComputationTest, BadRastersFailInOneLineAndLeaveTheEarlierResults) {
    OpenedProject opened;
    valueOf(computeAnomalies(opened.request()));
    const QStringList files = outputFiles(opened);
    const auto names = anomalyNames(opened);
    const QString raster = opened.files.file("new/dsm.tif");
    const auto expectFailure = [&] {
        const Failure failure = failureOf(computeAnomalies(opened.request()));
        EXPECT_TRUE(failure.message.contains("dsm.tif")) << failure.message.toStdString();
        EXPECT_FALSE(failure.cancelled);
        EXPECT_EQ(outputFiles(opened), files);
        EXPECT_EQ(anomalyNames(opened), names);
    };
    QFile file(raster);
    ASSERT_TRUE(file.resize(file.size() / 3)); // truncated
    expectFailure();
    SmallProject::writeHeights(raster, SmallProject::newHeight, 0); // without reference system
    expectFailure();
    SmallProject::writeHeights(raster, SmallProject::newHeight, 32633); // elsewhere
    expectFailure();
    SmallProject::writeHeights(raster, [](int, int) { return std::nan(""); }); // without data
    expectFailure();
    QFile::remove(raster);
    expectFailure();
}

TEST(ComputationTest, AStationThatTheSurveysDoNotCoverHasNoChanges) {
    OpenedProject opened;
    opened.sql().execute(
        "insert into station values (3, 'far', 'EPSG:4547', 600000, 3400000, 600100, 3400080, 0, 0)");
    EXPECT_EQ(valueOf(computeAnomalies(opened.request())).anomalies, 3);
    const auto result = readStationResult(opened.sql(), 3, kSamplePair);
    ASSERT_TRUE(result.has_value());
    EXPECT_TRUE(result->dzRaster.isEmpty());
    EXPECT_EQ(result->cells, 0);
}

TEST(ComputationTest, AnUnknownStationIsRefused) {
    OpenedProject opened;
    auto request = opened.request();
    request.stationIds = {1, 77};
    EXPECT_TRUE(failureOf(computeAnomalies(request)).message.contains("77"));
    EXPECT_TRUE(anomalyNames(opened).empty());
}

} // namespace
