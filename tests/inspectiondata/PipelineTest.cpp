#include "workbench/inspectiondata/pipeline/Pipeline.h"
#include "tests/support/VectorFile.h"
#include "workbench/inspectiondata/pictures/PipelinePath.h"

#include <gtest/gtest.h>

#include <QLineF>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

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

/// The line as text; to and fro, so that its ends are no nearer to each other than to its middle.
std::vector<QPointF> windingWay(int vertices, std::mt19937& dice) {
    std::uniform_int_distribution<int> way(-30, 30);
    std::vector<QPointF> places = {{500000.0, 3400000.0}};
    while (static_cast<int>(places.size()) < vertices) {
        places.push_back(places.back() + QPointF(way(dice), way(dice)));
    }
    return places;
}

QString lineText(const std::vector<QPointF>& places) {
    QStringList texts;
    for (const QPointF& place : places) {
        texts << QStringLiteral("%1 %2").arg(place.x(), 0, 'f', 1).arg(place.y(), 0, 'f', 1);
    }
    return "LINESTRING (" + texts.join(", ") + ')';
}

TEST(Pipeline, TheNearestPlaceOfALongLineIsThatOfAllItsSegments) {
    std::mt19937 dice(3);
    std::uniform_int_distribution<int> place(-300, 300);
    const std::vector<std::vector<QPointF>> parts = {windingWay(400, dice), windingWay(2, dice),
                                                     windingWay(150, dice)};
    const Pipeline pipeline = pipelineOf({lineText(parts[0]), lineText(parts[1]), lineText(parts[2])});
    for (int i = 0; i < 500; ++i) {
        const QPointF point(500000.0 + place(dice), 3400000.0 + place(dice));
        double along = 0.0;
        double least = std::numeric_limits<double>::infinity();
        double chainage = 0.0;
        for (const auto& part : parts) {
            for (std::size_t k = 0; k + 1 < part.size(); ++k) {
                const QLineF segment(part[k], part[k + 1]);
                const QPointF way = part[k + 1] - part[k];
                const double square = QPointF::dotProduct(way, way);
                const double share =
                    square > 0.0 ? std::clamp(QPointF::dotProduct(point - part[k], way) / square, 0.0, 1.0)
                                 : 0.0;
                const double offset = QLineF(point, part[k] + share * way).length();
                if (offset < least) {
                    least = offset;
                    chainage = along + share * segment.length();
                }
                along += segment.length();
            }
        }
        const auto position = pipeline.positionOf(point);
        ASSERT_TRUE(position);
        EXPECT_NEAR(position->offsetMetres, least, 1e-9);
        EXPECT_NEAR(position->chainageMetres, chainage, 1e-6);
    }
}

TEST(Pipeline, OfPlacesThatAreAsNearTheFirstOneCounts) {
    QStringList there;
    for (int i = 0; i <= 40; ++i) {
        there << QStringLiteral("%1 3400000").arg(500000 + 10 * i);
    }
    const QString back = QStringList(there.rbegin(), there.rend()).join(", ");
    const Pipeline pipeline =
        pipelineOf({"LINESTRING (" + there.join(", ") + ')', "LINESTRING (" + back + ')'});
    EXPECT_DOUBLE_EQ(pipeline.positionOf({500155.0, 3400020.0})->chainageMetres, 155.0);
    EXPECT_DOUBLE_EQ(pipeline.positionOf({500005.0, 3400020.0})->chainageMetres, 5.0);
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
