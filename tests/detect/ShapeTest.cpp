// What is one change, what is none, and what outline it gets.

#include "detect/shape/OutlineSimplifier.h"
#include "detect/shape/Traits.h"
#include "tests/detect/TestRasters.h"

#include <gtest/gtest.h>
#include <ogr_geometry.h>

#include <algorithm>
#include <cmath>

namespace detect::test {
namespace {

constexpr double kWest = 500000.0;
constexpr double kNorth = 3400000.0;

/// Metres east and south of the scene's corner.
using Heights = std::function<double(double x, double y)>;

class Shape : public testing::Test {
protected:
    Shape() {
        m_request.oldRaster = "/vsimem/shape-old.tif";
        m_request.newRaster = "/vsimem/shape-new.tif";
        m_request.parameters.coregistration = CoregistrationMethod::None;
        m_plan.columns = 240;
        m_plan.rows = 200;
    }

    void write(const Heights& oldHeights, const Heights& newHeights) {
        const auto surface = [](const Heights& heights) {
            return [&heights](const Point& p) { return 100.0 + heights(p.x - kWest, kNorth - p.y); };
        };
        writeRaster(m_request.oldRaster, m_plan, surface(oldHeights));
        writeRaster(m_request.newRaster, m_plan, surface(newHeights));
    }
    /// On ground that is level but for the noise of both surveys.
    Changes changesOf(const Heights& change) {
        Random random(17);
        const auto noise = [&random](double, double) { return 0.1 * (random() - 0.5); };
        write(noise, [&](double x, double y) { return change(x, y) + noise(x, y); });
        return detectOrFail(m_request);
    }

    RasterPlan m_plan;
    Request m_request;
};

double cone(double x, double y, double middleX, double middleY, double radius, double height) {
    return std::max(0.0, height * (1.0 - std::hypot(x - middleX, y - middleY) / radius));
}

bool inside(double x, double y, double left, double top, double right, double bottom) {
    return x > left && x < right && y > top && y < bottom;
}

TEST_F(Shape, TwoHeapsThatTouchAreTwoAnomaliesOfTheirVolumes) {
    const auto heaps = [](double x, double y) {
        return std::max(cone(x, y, 30, 40, 12, 4), cone(x, y, 48, 42, 10, 3));
    };
    const Changes split = changesOf(heaps);
    ASSERT_EQ(split.anomalies.size(), 2U);
    const double pi = 3.14159265358979;
    EXPECT_NEAR(split.anomalies[0].fillCubicMetres, pi * 144 * 4 / 3, 0.04 * pi * 144 * 4 / 3);
    EXPECT_NEAR(split.anomalies[1].fillCubicMetres, pi * 100 * 3 / 3, 0.06 * pi * 100 * 3 / 3);
    EXPECT_NEAR(split.anomalies[1].centroid.x, kWest + 48, 0.7);
    for (const Anomaly& anomaly : split.anomalies) {
        EXPECT_TRUE(isValidPolygon(anomaly));
    }

    m_request.parameters.splitBodies = false;
    const Changes whole = changesOf(heaps);
    ASSERT_EQ(whole.anomalies.size(), 1U);
    EXPECT_EQ(whole.anomalies[0].cells, split.anomalies[0].cells + split.anomalies[1].cells);
    EXPECT_NEAR(whole.anomalies[0].fillCubicMetres,
                split.anomalies[0].fillCubicMetres + split.anomalies[1].fillCubicMetres, 1e-6);
    EXPECT_NEAR(std::pow(whole.anomalies[0].volumeSigmaCubicMetres, 2),
                std::pow(split.anomalies[0].volumeSigmaCubicMetres, 2) +
                    std::pow(split.anomalies[1].volumeSigmaCubicMetres, 2),
                1e-3 * std::pow(whole.anomalies[0].volumeSigmaCubicMetres, 2));
}

TEST_F(Shape, TwoPitsThatTouchAreTwoAnomalies) {
    const Changes result = changesOf(
        [](double x, double y) { return -std::max(cone(x, y, 30, 40, 12, 4), cone(x, y, 48, 42, 10, 3)); });
    ASSERT_EQ(result.anomalies.size(), 2U);
    EXPECT_EQ(result.anomalies[0].kind, Kind::Cut);
}

TEST_F(Shape, OneHeapStaysOneHoweverLongOrRough) {
    Random random(5);
    const Changes result = changesOf([&](double x, double y) {
        const double ridge = std::max(0.0, 3.0 - std::abs(y - 30.0) * 0.4);
        const double stones = inside(x, y, 20, 60, 50, 80) ? 2.5 + 0.8 * (random() - 0.5) : 0.0;
        return (inside(x, y, 10, 20, 100, 40) ? ridge * (1.0 + 0.2 * std::sin(x / 5.0)) : 0.0) + stones;
    });
    EXPECT_EQ(result.anomalies.size(), 2U);
}

TEST_F(Shape, LowerBuildingBesideAHigherOneBelongsToIt) {
    const Changes result = changesOf([](double x, double y) {
        return inside(x, y, 20, 20, 40, 35) ? 6.0 : inside(x, y, 40, 20, 50, 35) ? 2.5 : 0.0;
    });
    EXPECT_EQ(result.anomalies.size(), 1U) << "there is a step between them, but no valley";
}

TEST_F(Shape, SliverAlongAWallThatWasMeasuredACellAsideIsNoChange) {
    const auto wall = [](double x, double y) {
        return inside(x, y, 40, 30, 80, 70) ? 4.0 * std::clamp(std::min(x - 40.0, 80.0 - x) / 1.5, 0.0, 1.0)
                                            : 0.0;
    };
    write(wall, [&wall](double x, double y) { return wall(x - 0.5, y); });
    const Changes kept = detectOrFail(m_request);
    EXPECT_TRUE(kept.anomalies.empty());
    EXPECT_EQ(kept.rejections.sliver, 2);
    m_request.parameters.rules.sliver = false;
    const Changes all = detectOrFail(m_request);
    EXPECT_EQ(all.anomalies.size(), 2U);
    EXPECT_EQ(all.rejections.sliver, 0);
}

TEST_F(Shape, NarrowTrenchIsAChange) {
    const Changes result =
        changesOf([](double x, double y) { return inside(x, y, 20, 40, 21.5, 90) ? -1.2 : 0.0; });
    ASSERT_EQ(result.anomalies.size(), 1U);
    EXPECT_EQ(result.anomalies[0].kind, Kind::Cut);
    EXPECT_EQ(result.anomalies[0].cells, 3 * 100);
}

TEST_F(Shape, VegetationSpeckleIsNoChangeAndARoughHeapIsOne) {
    const auto scene = [](double x, double y) {
        static Random random(23);
        const double leaves = inside(x, y, 10, 10, 60, 90) ? 1.6 * random() * random() : 0.0;
        const double stones = inside(x, y, 80, 40, 95, 55) ? 1.5 + 0.6 * (random() - 0.5) : 0.0;
        return leaves + stones;
    };
    m_request.parameters.minAreaSquareMetres = 2.0;
    const Changes result = changesOf(scene);
    ASSERT_EQ(result.anomalies.size(), 1U);
    EXPECT_NEAR(result.anomalies[0].centroid.x, kWest + 87.5, 0.5);
    m_request.parameters.rules.core = false; // which few of the leaves have
    EXPECT_GT(changesOf(scene).rejections.speckle, 0);
    m_request.parameters.rules.speckle = false;
    EXPECT_GT(changesOf(scene).anomalies.size(), 1U);
}

TEST_F(Shape, WithoutTheCoreRuleThinLinesAreFoundWhateverTheBlocks) {
    const auto fence = [](double x, double y) {
        return inside(x, y, 20, 30, 90, 30.5) || inside(x, y, 50, 50, 50.5, 90) ? 1.5 : 0.0;
    };
    EXPECT_TRUE(changesOf(fence).anomalies.empty());
    m_request.parameters.rules.core = m_request.parameters.rules.speckle = false;
    for (const int block : {0, 1, 7, 60}) {
        m_request.parameters.blockRows = m_request.parameters.blockColumns = block;
        EXPECT_EQ(changesOf(fence).anomalies.size(), 2U) << "blocks of " << block;
    }
}

double ringArea(const Ring& ring) {
    double twice = 0.0;
    for (std::size_t i = 0, before = ring.size() - 1; i < ring.size(); before = i++) {
        twice += ring[before].x * ring[i].y - ring[i].x * ring[before].y;
    }
    return std::abs(twice) / 2.0;
}

TEST_F(Shape, SlantingEdgesLoseTheirStairsAndKeepTheirArea) {
    double polygons = 0.0;
    double cells = 0.0;
    std::size_t vertices = 0;
    for (const double degrees : {3.0, 11.0, 20.0, 30.0, 45.0}) {
        const double c = std::cos(degrees * 3.14159265358979 / 180.0);
        const double s = std::sin(degrees * 3.14159265358979 / 180.0);
        const Changes result = changesOf([c, s](double x, double y) {
            const double u = c * (x - 60) + s * (y - 50);
            const double v = -s * (x - 60) + c * (y - 50);
            return std::abs(u) < 25 && std::abs(v) < 14 ? 3.0 : 0.0;
        });
        ASSERT_EQ(result.anomalies.size(), 1U);
        const Anomaly& found = result.anomalies[0];
        EXPECT_TRUE(isValidPolygon(found));
        EXPECT_NEAR(ringArea(found.outline), 50.0 * 28.0, 0.01 * 50.0 * 28.0) << degrees << " degrees";
        polygons += ringArea(found.outline);
        cells += found.areaSquareMetres;
        vertices += found.outline.size();
    }
    EXPECT_NEAR(polygons / cells, 1.0, 0.003);
    EXPECT_LE(vertices, 5U * 12U);
}

TEST_F(Shape, UprightRectangleKeepsItsCornersAndRoundHolesStay) {
    const Changes result = changesOf([](double x, double y) {
        return inside(x, y, 20, 20, 60, 50) && std::hypot(x - 40, y - 35) > 8 ? 3.0 : 0.0;
    });
    ASSERT_EQ(result.anomalies.size(), 1U);
    const Anomaly& found = result.anomalies[0];
    EXPECT_EQ(found.outline.size(), 4U);
    EXPECT_EQ(ringArea(found.outline), 40.0 * 30.0);
    ASSERT_EQ(found.holes.size(), 1U);
    EXPECT_NEAR(ringArea(found.holes[0]), 3.14159265358979 * 64, 0.03 * 3.14159265358979 * 64);
    EXPECT_TRUE(isValidPolygon(found));
}

/// Blots of cells connected over their sides, holes and corners that touch included.
std::vector<Run> randomBlot(Random& random, int size) {
    std::vector<char> member(static_cast<std::size_t>(size * size), 0);
    int column = size / 2;
    int row = size / 2;
    for (int step = 0; step < 3 * size * size / 2; ++step) {
        member[static_cast<std::size_t>(row * size + column)] = 1;
        const auto way = static_cast<int>(random() * 4);
        column = std::clamp(column + (way == 0 ? 1 : way == 1 ? -1 : 0), 0, size - 1);
        row = std::clamp(row + (way == 2 ? 1 : way == 3 ? -1 : 0), 0, size - 1);
    }
    std::vector<Run> runs;
    for (int r = 0; r < size; ++r) {
        for (int c = 0; c < size; ++c) {
            if (member[static_cast<std::size_t>(r * size + c)] == 0) {
                continue;
            }
            if (c > 0 && member[static_cast<std::size_t>(r * size + c - 1)] != 0) {
                runs.back().end = c + 1;
                continue;
            }
            Run run;
            run.row = r;
            run.begin = c;
            run.end = c + 1;
            run.sign = 1;
            runs.push_back(run);
        }
    }
    return runs;
}

TEST(SimplifiedOutline, OfRandomBlotsIsValidKeepsHolesAndStaysNearTheCells) {
    std::size_t holes = 0;
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const Polygon cells = traceOutline(randomBlot(random, 6 + static_cast<int>(seed % 30)));
        const Polygon smooth = simplified(cells);
        Anomaly shape;
        shape.outline = smooth.outer;
        shape.holes = smooth.holes;
        EXPECT_TRUE(isValidPolygon(shape));
        EXPECT_EQ(smooth.holes.size(), cells.holes.size());
        EXPECT_LE(smooth.outer.size(), 2 * cells.outer.size());
        holes += smooth.holes.size();
        OGRLinearRing line;
        for (const Point& p : cells.outer) {
            line.addPoint(p.x, p.y);
        }
        line.closeRings();
        for (const Point& p : smooth.outer) {
            const OGRPoint vertex(p.x, p.y);
            EXPECT_LE(vertex.Distance(&line), 0.51);
        }
    }
    EXPECT_GT(holes, 100U);
}

TEST(Traits, SmallestRectangleFollowsTheShapeRound) {
    EXPECT_NEAR(smallestRectangle({{0, 0}, {4, 0}, {4, 3}, {0, 3}}), 12.0, 1e-9);
    EXPECT_NEAR(smallestRectangle({{2, 0}, {4, 2}, {2, 4}, {0, 2}}), 8.0, 1e-9);
    EXPECT_NEAR(smallestRectangle({{0, 0}, {4, 0}, {0, 3}}), 12.0, 1e-9);
    EXPECT_EQ(smallestRectangle({{0, 0}, {1, 1}, {2, 2}}), 0.0);
}

} // namespace
} // namespace detect::test
