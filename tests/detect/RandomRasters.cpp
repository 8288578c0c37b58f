#include "tests/detect/RandomRasters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace detect::test {

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

bool identical(const Ring& a, const Ring& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Point& p, const Point& q) { return p.x == q.x && p.y == q.y; });
}

} // namespace

std::vector<float> randomHeights(Random& random, int columns, int rows, double roughness) {
    const int step = 6;
    const int nodesAcross = columns / step + 2;
    std::vector<double> nodes;
    for (int i = 0; i < nodesAcross * (rows / step + 2); ++i) {
        nodes.push_back((random() - 0.5) * 3.0);
    }
    std::vector<float> heights;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const double level = nodes[static_cast<std::size_t>(row / step * nodesAcross + column / step)];
            const double height = 100.0 + level + roughness * (random() - 0.5);
            heights.push_back(random() < 0.02 ? kNan : static_cast<float>(height));
        }
    }
    return heights;
}

void writeRandomPair(const Request& request, Random& random, const RasterPlan& plan, double roughness) {
    for (const std::string& path : {request.oldRaster, request.newRaster}) {
        writeRaster(path, plan, randomHeights(random, plan.columns, plan.rows, roughness));
    }
}

void expectIdentical(const Changes& a, const Changes& b) {
    EXPECT_EQ(a.cells, b.cells);
    EXPECT_EQ(a.rejections.core, b.rejections.core);
    EXPECT_EQ(a.rejections.area, b.rejections.area);
    EXPECT_EQ(a.rejections.sliver, b.rejections.sliver);
    EXPECT_EQ(a.rejections.speckle, b.rejections.speckle);
    EXPECT_EQ(a.coregistration.dxMetres, b.coregistration.dxMetres);
    EXPECT_EQ(a.coregistration.dzMetres, b.coregistration.dzMetres);
    ASSERT_EQ(a.anomalies.size(), b.anomalies.size());
    for (std::size_t i = 0; i < a.anomalies.size(); ++i) {
        const Anomaly& p = a.anomalies[i];
        const Anomaly& q = b.anomalies[i];
        EXPECT_EQ(p.name, q.name);
        EXPECT_EQ(p.cells, q.cells);
        EXPECT_EQ(p.areaSquareMetres, q.areaSquareMetres);
        EXPECT_EQ(p.fillCubicMetres, q.fillCubicMetres);
        EXPECT_EQ(p.cutCubicMetres, q.cutCubicMetres);
        EXPECT_EQ(p.dzMeanMetres, q.dzMeanMetres);
        EXPECT_EQ(p.dzMinMetres, q.dzMinMetres);
        EXPECT_EQ(p.dzMaxMetres, q.dzMaxMetres);
        EXPECT_EQ(p.sigmaMetres, q.sigmaMetres);
        EXPECT_EQ(p.levelOfDetectionMetres, q.levelOfDetectionMetres);
        EXPECT_EQ(p.significance, q.significance);
        EXPECT_EQ(p.volumeSigmaCubicMetres, q.volumeSigmaCubicMetres);
        EXPECT_EQ(p.suggested, q.suggested);
        EXPECT_EQ(p.suggestionConfidence, q.suggestionConfidence);
        EXPECT_EQ(p.centroid.x, q.centroid.x);
        EXPECT_EQ(p.centroid.y, q.centroid.y);
        EXPECT_TRUE(identical(p.outline, q.outline));
        ASSERT_EQ(p.holes.size(), q.holes.size());
        for (std::size_t h = 0; h < p.holes.size(); ++h) {
            EXPECT_TRUE(identical(p.holes[h], q.holes[h]));
        }
    }
}

} // namespace detect::test
