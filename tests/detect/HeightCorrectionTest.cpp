#include "detect/raster/HeightCorrection.h"
#include "detect/raster/Slope.h"
#include "tests/detect/TestRasters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace detect::test {
namespace {

Grid gridOf(const Affine& toMap, int epsg = 4547) {
    OGRSpatialReference srs;
    EXPECT_EQ(srs.importFromEPSG(epsg), OGRERR_NONE);
    srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return {201, 101, toMap, srs};
}

const Affine kNorthUp{{500000.0, 0.5, 0.0, 3400000.0, 0.0, -0.5}};

std::vector<float> corrected(const HeightCorrection& correction, const CellWindow& window) {
    std::vector<float> heights(static_cast<std::size_t>(window.cells()), 100.0F);
    correction.addTo(window, heights.data());
    return heights;
}

TEST(HeightCorrection, BiasIsAddedEverywhereAndMissingHeightsStayMissing) {
    Coregistration found;
    found.dzMetres = -0.35;
    const HeightCorrection correction(found, gridOf(kNorthUp));
    std::vector<float> heights{1.0F, std::numeric_limits<float>::quiet_NaN(), 3.0F};
    correction.addTo({7, 9, 3, 1}, heights.data());
    EXPECT_EQ(heights[0], 1.0F - 0.35F);
    EXPECT_TRUE(std::isnan(heights[1]));
    EXPECT_EQ(heights[2], 3.0F - 0.35F);
}

TEST(HeightCorrection, PlaneTurnsAboutTheMiddleOfTheGrid) {
    Coregistration found;
    found.dzMetres = 0.25;
    found.tiltEast = 1e-2;
    found.tiltNorth = -3e-2;
    const HeightCorrection correction(found, gridOf(kNorthUp));
    EXPECT_FLOAT_EQ(corrected(correction, {100, 50, 1, 1})[0], 100.25F);
    EXPECT_FLOAT_EQ(corrected(correction, {120, 50, 1, 1})[0], 100.35F) << "10 m east";
    EXPECT_FLOAT_EQ(corrected(correction, {100, 40, 1, 1})[0], 100.1F) << "5 m north";
}

TEST(HeightCorrection, EastAndNorthHoldOnTurnedAndSouthUpGrids) {
    Coregistration found;
    found.tiltEast = 1e-2;
    const HeightCorrection southUp(found, gridOf({{500000.0, 0.5, 0.0, 3400000.0, 0.0, 0.5}}));
    EXPECT_FLOAT_EQ(corrected(southUp, {120, 50, 1, 1})[0], 100.1F);
    EXPECT_FLOAT_EQ(corrected(southUp, {100, 60, 1, 1})[0], 100.0F);
    // Columns go north, rows go east.
    const HeightCorrection turned(found, gridOf({{500000.0, 0.0, 0.5, 3400000.0, 0.5, 0.0}}));
    EXPECT_FLOAT_EQ(corrected(turned, {120, 50, 1, 1})[0], 100.0F);
    EXPECT_FLOAT_EQ(corrected(turned, {100, 70, 1, 1})[0], 100.1F);
}

TEST(HeightCorrection, ACellGetsTheSameInEveryWindow) {
    Coregistration found;
    found.dzMetres = 0.123456789;
    found.tiltEast = 1.7e-3;
    found.tiltNorth = -2.3e-3;
    const HeightCorrection correction(found, gridOf(kNorthUp));
    const std::vector<float> whole = corrected(correction, {0, 0, 201, 101});
    for (const CellWindow& window :
         {CellWindow{3, 5, 7, 11}, CellWindow{64, 0, 33, 101}, CellWindow{200, 100, 1, 1}}) {
        const std::vector<float> part = corrected(correction, window);
        for (int row = 0; row < window.rows; ++row) {
            for (int column = 0; column < window.columns; ++column) {
                EXPECT_EQ(part[static_cast<std::size_t>(row * window.columns + column)],
                          whole[static_cast<std::size_t>((window.row + row) * 201 + window.column + column)]);
            }
        }
    }
}

TEST(Slope, IsRiseTowardsEastAndNorthHoweverTheGridLies) {
    const auto slopeOn = [](const Affine& toMap) {
        const SlopeFrame frame(gridOf(toMap));
        std::vector<float> heights;
        for (int i = 0; i < 9; ++i) {
            const Point place = toMap(i % 3, i / 3);
            heights.push_back(static_cast<float>(0.2 * (place.x - 500000.0) - 0.3 * (place.y - 3400000.0)));
        }
        return slopeAt(heights.data() + 4, 3, frame);
    };
    for (const Affine& toMap : {kNorthUp, Affine{{500000.0, 0.5, 0.0, 3400000.0, 0.0, 0.5}},
                                Affine{{500000.0, 0.3, 0.4, 3400000.0, 0.4, -0.3}}}) {
        const Slope slope = slopeOn(toMap);
        EXPECT_NEAR(slope.east, 0.2, 1e-5);
        EXPECT_NEAR(slope.north, -0.3, 1e-5);
        EXPECT_NEAR(slope.squared(), 0.13, 1e-5);
    }
}

TEST(Slope, IsMissingBesideAMissingHeight) {
    const SlopeFrame frame(gridOf(kNorthUp));
    std::vector<float> heights(9, 1.0F);
    heights[5] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(std::isnan(slopeAt(heights.data() + 4, 3, frame).east));
}

} // namespace
} // namespace detect::test
