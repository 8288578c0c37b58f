#include "workbench/inspection/creation/PlanSketch.h"

#include <gtest/gtest.h>

namespace {

using namespace inspection;

PlanSketch sketchOfTwo() {
    PlanSketch sketch;
    sketch.epochs = {{QRectF(0, 0, 100, 50), "2024"}, {QRectF(50, 0, 100, 50), "2025"}};
    return sketch;
}

PlanSketch sketchOfLine(const QPolygonF& line, const std::vector<double>& chainages) {
    PlanSketch sketch;
    sketch.line = line;
    sketch.chainages = chainages;
    return sketch;
}

TEST(PlanSketchTest, ALongLineThroughTheDataDoesNotMakeThemSmall) {
    PlanSketch sketch = sketchOfTwo();
    sketch.line = QPolygonF({{-90000.0, 20.0}, {90000.0, 20.0}});
    EXPECT_EQ(extentOf(sketch), QRectF(0, 0, 150, 50));
}

TEST(PlanSketchTest, ALineFarFromTheDataIsShownWithThem) {
    PlanSketch sketch = sketchOfTwo();
    sketch.line = QPolygonF({{1000.0, 20.0}, {2000.0, 20.0}});
    EXPECT_TRUE(extentOf(sketch).contains(sketch.line.boundingRect().center()));
    EXPECT_TRUE(extentOf(sketch).contains(QPointF(0, 0)));
}

TEST(PlanSketchTest, ALineAloneHasAnExtentEvenWhenItRunsStraightEast) {
    const PlanSketch sketch = sketchOfLine(QPolygonF({{0.0, 0.0}, {100.0, 0.0}}), {0.0, 100.0});
    EXPECT_FALSE(extentOf(sketch).isEmpty());
    EXPECT_TRUE(extentOf(PlanSketch()).isEmpty());
}

TEST(PlanSketchTest, MarksStandAtRoundChainagesInTheDirectionOfTheLine) {
    const auto marks = marksAlong(
        sketchOfLine(QPolygonF({{0.0, 0.0}, {150.0, 0.0}, {150.0, -100.0}}), {950.0, 1100.0, 1200.0}), 100.0);
    ASSERT_EQ(marks.size(), 3U);
    EXPECT_DOUBLE_EQ(marks[0].chainageMetres, 1000.0);
    EXPECT_EQ(marks[0].place, QPointF(50.0, 0.0));
    EXPECT_EQ(marks[0].direction, QPointF(1.0, 0.0));
    EXPECT_EQ(marks[1].place, QPointF(150.0, 0.0));
    EXPECT_EQ(marks[1].direction, QPointF(0.0, -1.0)) << "a vertex points where the line goes on";
    EXPECT_EQ(marks[2].place, QPointF(150.0, -100.0)) << "the end has its mark";
}

TEST(PlanSketchTest, MarksFollowChainagesThatAreNoLengths) {
    const auto marks = marksAlong(sketchOfLine(QPolygonF({{0.0, 0.0}, {50.0, 0.0}}), {0.0, 100.0}), 50.0);
    ASSERT_EQ(marks.size(), 3U);
    EXPECT_EQ(marks[1].place, QPointF(25.0, 0.0));
}

TEST(PlanSketchTest, NothingHasNoMarks) {
    EXPECT_TRUE(marksAlong(PlanSketch(), 100.0).empty());
    EXPECT_TRUE(marksAlong(sketchOfLine(QPolygonF({{0.0, 0.0}, {0.0, 0.0}}), {0.0, 0.0}), 100.0).empty());
    EXPECT_TRUE(marksAlong(sketchOfLine(QPolygonF({{0.0, 0.0}, {9.0, 0.0}}), {0.0, 9.0}), 0.0).empty());
}

TEST(PlanSketchTest, TheStepOfMarksIsRoundAndLeavesRoomToRead) {
    for (const double metresPerPixel : {0.01, 0.5, 1.0, 3.0, 5.9, 70.0, 900.0}) {
        const double step = markStep(metresPerPixel);
        EXPECT_GE(step / metresPerPixel, 89.0) << metresPerPixel;
        double digit = step;
        while (digit >= 10.0) {
            digit /= 10.0;
        }
        EXPECT_TRUE(digit == 1.0 || digit == 2.0 || digit == 5.0) << step;
    }
    EXPECT_DOUBLE_EQ(markStep(1.0), 100.0);
    EXPECT_DOUBLE_EQ(markStep(3.0), 500.0);
}

} // namespace
