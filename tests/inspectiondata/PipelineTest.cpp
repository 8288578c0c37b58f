#include "workbench/inspectiondata/pipeline/Pipeline.h"
#include "tests/support/VectorFile.h"
#include "workbench/inspectiondata/pictures/PipelinePath.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cmath>

namespace {

using namespace inspection;

/// Reads lines of well-known text as a project of that reference system would.
Pipeline pipelineOf(const std::vector<QString>& lines, int epsg = 4547) {
    const QTemporaryDir folder;
    VectorLayer layer{QStringLiteral("centerline"), epsg, wkbUnknown, {}, {}, {}};
    for (const QString& line : lines) {
        layer.rows.push_back({line});
    }
    ProjectDescription project;
    project.crs = QStringLiteral("EPSG:%1").arg(epsg);
    project.centerline = folder.filePath(QStringLiteral("line.gpkg"));
    writeVectorFile(project.centerline, "GPKG", {layer});
    return Pipeline::read(project);
}

std::vector<double> chainagesOf(const std::vector<ChainageMark>& marks) {
    std::vector<double> chainages;
    for (const ChainageMark& mark : marks) {
        chainages.push_back(mark.chainageMetres);
    }
    return chainages;
}

TEST(Pipeline, MarksStandAtRoundChainagesAlsoAtVerticesAndEndsAndOnlyOnce) {
    const Pipeline pipeline = pipelineOf({"LINESTRING (500000 3400000, 500100 3400000, 500100 3400100)"});
    EXPECT_DOUBLE_EQ(pipeline.lengthMetres(), 200.0);
    const auto marks = pipeline.marks(50.0);
    EXPECT_EQ(chainagesOf(marks), (std::vector<double>{0.0, 50.0, 100.0, 150.0, 200.0}));
    EXPECT_EQ(marks[1].place, QPointF(500050.0, 3400000.0));
    EXPECT_EQ(marks[2].place, QPointF(500100.0, 3400000.0));
    EXPECT_EQ(marks[3].place, QPointF(500100.0, 3400050.0));
}

TEST(Pipeline, MarksFollowTheMeasuresAlsoWhereTheseRunDown) {
    const Pipeline pipeline = pipelineOf({"LINESTRING M (500000 3400000 1250, 500100 3400000 1050)"});
    EXPECT_DOUBLE_EQ(pipeline.lengthMetres(), 200.0);
    const auto marks = pipeline.marks(100.0);
    ASSERT_EQ(chainagesOf(marks), (std::vector<double>{1100.0, 1200.0}));
    EXPECT_EQ(marks[0].place, QPointF(500075.0, 3400000.0));
}

TEST(Pipeline, MarksGoOnOverTheGapBetweenItsParts) {
    const Pipeline pipeline = pipelineOf(
        {"LINESTRING (500000 3400000, 500030 3400000)", "LINESTRING (500090 3400000, 500120 3400000)"});
    const auto marks = pipeline.marks(20.0);
    EXPECT_EQ(chainagesOf(marks), (std::vector<double>{0.0, 20.0, 40.0, 60.0}));
    EXPECT_EQ(marks[2].place, QPointF(500100.0, 3400000.0));
}

TEST(Pipeline, WithoutALineHasNoMarksAndNoBuffer) {
    EXPECT_EQ(pipelineOf({}).lengthMetres(), 0.0);
    EXPECT_TRUE(pipelineOf({}).marks(10.0).empty());
    EXPECT_TRUE(pipelineOf({}).bufferOutlines(10.0).empty());
}

TEST(Pipeline, TheBufferIsAsFarFromTheLineOnBothSidesAndAroundItsEnds) {
    const Pipeline pipeline = pipelineOf({"LINESTRING (500000 3400000, 500100 3400000)"});
    const auto rings = pipeline.bufferOutlines(5.0);
    ASSERT_EQ(rings.size(), 1U);
    double west = 1e9;
    double north = 0.0;
    for (const QPointF& place : rings[0]) {
        EXPECT_NEAR(pipeline.positionOf(place)->offsetMetres, 5.0, 1e-6);
        west = std::min(west, place.x());
        north = std::max(north, place.y());
    }
    EXPECT_NEAR(west, 499995.0, 1e-6);
    EXPECT_NEAR(north, 3400005.0, 1e-6);
}

TEST(Pipeline, TheBufferOfALineInDegreesIsInMetresToo) {
    const Pipeline pipeline = pipelineOf({"LINESTRING (117 30, 117.01 30)"}, 4490);
    const auto rings = pipeline.bufferOutlines(50.0);
    ASSERT_EQ(rings.size(), 1U);
    double north = 0.0;
    for (const QPointF& place : rings[0]) {
        north = std::max(north, place.y());
    }
    constexpr double kMetresPerDegree = 110852.0; // of the meridian at 30 degrees
    EXPECT_NEAR((north - 30.0) * kMetresPerDegree, 50.0, 0.2);
}

TEST(Pipeline, ThePathKeepsWhatComesNearAndCrossesItsEdge) {
    const Pipeline pipeline = pipelineOf(
        {"LINESTRING (500000 3400000, 500100 3400000, 500200 3400000, 509000 3400000, 509100 3400000)"});
    const QPainterPath path = pipelinePath(pipeline, "EPSG:4547", QRectF(500120.0, 3399990.0, 20.0, 20.0));
    ASSERT_EQ(path.elementCount(), 2);
    EXPECT_EQ(QPointF(path.elementAt(0)), QPointF(500100.0, 3400000.0));
    EXPECT_EQ(QPointF(path.elementAt(1)), QPointF(500200.0, 3400000.0));
    EXPECT_TRUE(pipelinePath(pipeline, "EPSG:4547", QRectF(0.0, 0.0, 20.0, 20.0)).isEmpty());
    EXPECT_TRUE(pipelinePath(pipeline, "no system", QRectF(500120.0, 3399990.0, 20.0, 20.0)).isEmpty());
}

TEST(Pipeline, ThePathIsInTheSystemThatIsAskedFor) {
    const Pipeline pipeline = pipelineOf({"LINESTRING (117 30, 117.001 30)"}, 4490);
    const QPainterPath path = pipelinePath(pipeline, "EPSG:4548", QRectF(0.0, 0.0, 1e6, 1e7));
    ASSERT_EQ(path.elementCount(), 2);
    EXPECT_NEAR(path.elementAt(0).x, 500000.0, 1e-3); // the zone's central meridian
    EXPECT_NEAR(path.length(), 96.5, 0.1);
}

TEST(Pipeline, ABufferAroundABendThatClosesHasAHole) {
    const Pipeline pipeline = pipelineOf(
        {"LINESTRING (500000 3400000, 500100 3400000, 500100 3400100, 500000 3400100, 500000 3400004)"});
    EXPECT_EQ(pipeline.bufferOutlines(5.0).size(), 2U);
}

} // namespace
