// What varies slowly between two epochs is taken off; what changes somewhere is not, or it is told.

#include "detect/Piece.h"
#include "detect/raster/CorrectionField.h"
#include "tests/detect/MisregisteredPair.h"
#include "tests/detect/RandomRasters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace detect::test {
namespace {

constexpr double kWest = 500000.0;
constexpr double kNorth = 3400000.0;
constexpr double kNoiseMetres = 0.05;
const double kDzNoiseMetres = kNoiseMetres * std::sqrt(2.0);

double relief(const Point& map) {
    const double x = map.x - kWest;
    const double y = map.y - kNorth;
    return 200.0 + 6.0 * std::sin(x / 23.0) * std::cos(y / 19.0) + 2.0 * std::sin((x - 2.0 * y) / 13.0);
}

/// Waves of 250 and 330 m, 0.1 m strong: what blocks of photogrammetry warp.
double warp(const Point& map) {
    const double x = map.x - kWest;
    const double y = map.y - kNorth;
    return 0.1 * std::sin(2.0 * 3.14159 * x / 250.0) * std::cos(2.0 * 3.14159 * y / 330.0) +
           0.1 * std::cos(2.0 * 3.14159 * (x + y) / 300.0);
}

double bowl(const Point& map, double x, double y, double radius, double depth) {
    const double share = std::hypot(map.x - kWest - x, kNorth - map.y - y) / radius;
    return share < 1.0 ? -depth * (1.0 - share * share) * (1.0 - share * share) : 0.0;
}

Request requestOf(const Surface& change, CoregistrationMethod method, double metres = 600.0) {
    MisregisteredPair pair;
    const double cell = 1.0;
    pair.oldPlan.columns = pair.newPlan.columns = static_cast<int>(metres / cell);
    pair.oldPlan.rows = pair.newPlan.rows = static_cast<int>(metres / cell);
    pair.oldPlan.toMap = pair.newPlan.toMap = {kWest, cell, 0.0, kNorth, 0.0, -cell};
    pair.ground = relief;
    pair.change = change;
    pair.truth.noiseMetres = kNoiseMetres;
    Request request = pair.write();
    request.parameters.coregistration = method;
    request.parameters.thresholdMetres = 0.3;
    return request;
}

TEST(LocalCorrection, FollowsASlowWarpToWithinTheNoise) {
    const Request request = requestOf(warp, CoregistrationMethod::Local);
    const Coregistration found = estimateOrFail(request);
    ASSERT_EQ(found.method, CoregistrationMethod::Local);
    EXPECT_GT(found.nmadBeforeMetres, 1.2 * kDzNoiseMetres);
    EXPECT_NEAR(found.nmadAfterMetres, kDzNoiseMetres, 0.05 * kDzNoiseMetres);
    double squares = 0.0;
    int cells = 0;
    for (int row = 40; row < 560; row += 13) {
        for (int column = 40; column < 560; column += 13) {
            const double left = found.dzMetres + found.local.field->at(column, row) +
                                warp({kWest + column + 0.5, kNorth - row - 0.5});
            squares += left * left;
            ++cells;
        }
    }
    EXPECT_LT(std::sqrt(squares / cells), 0.25 * kDzNoiseMetres);
    EXPECT_GT(found.local.exceedingShare, 0.5) << "a warp is everywhere, and told";
    EXPECT_EQ(found.local.shortestWavelengthMetres, 4.0 * 32.0);
}

TEST(LocalCorrection, LeavesTheChangesOfWarpedGroundWhereTheyAre) {
    const auto changes = [](const Point& p) {
        return warp(p) + bowl(p, 150, 150, 25, 1.0) + bowl(p, 400, 300, 45, 1.4) - bowl(p, 250, 450, 12, 1.5);
    };
    const Changes found = detectOrFail(requestOf(changes, CoregistrationMethod::Auto));
    EXPECT_EQ(found.coregistration.method, CoregistrationMethod::Local);
    ASSERT_EQ(found.anomalies.size(), 3U);
    const double volumes[] = {1.0 * 25 * 25, 1.4 * 45 * 45, 1.5 * 12 * 12};
    for (std::size_t i = 0; i < 3; ++i) {
        const double volume = 3.14159 / 3.0 * volumes[i];
        EXPECT_NEAR(found.anomalies[i].volumeCubicMetres(), volume, 0.12 * volume);
    }
}

/// Wider than the field's shortest wave, so that it could follow.
TEST(LocalCorrection, BowlOf300MetresIsAChangeAndTold) {
    const auto sinking = [](const Point& p) { return bowl(p, 500, 500, 150, 0.8); };
    const Changes found = detectOrFail(requestOf(sinking, CoregistrationMethod::Local, 1000.0));
    EXPECT_EQ(found.coregistration.method, CoregistrationMethod::Local);
    ASSERT_EQ(found.anomalies.size(), 1U);
    EXPECT_NEAR(found.anomalies[0].cutCubicMetres, 3.14159 / 3.0 * 0.8 * 150 * 150, 1200.0);
    EXPECT_GT(found.coregistration.local.leftOutShare, 0.03);
}

/// Where the whole ground sinks unevenly, nothing tells it from a warp: at least the field is told to be large.
TEST(LocalCorrection, SubsidenceOfEverythingIsTakenForMisfitAndTold) {
    const auto sinking = [](const Point& p) { return bowl(p, 300, 300, 420, 0.8); };
    const Coregistration found = estimateOrFail(requestOf(sinking, CoregistrationMethod::Local));
    EXPECT_GT(found.local.largestMetres, 0.3);
    EXPECT_GT(found.local.exceedingShare, 0.8);
}

TEST(LocalCorrection, WhatACellGetsDependsOnTheCellAlone) {
    CorrectionField::Nodes nodes{32, 2, 1, 5, 4};
    std::vector<float> metres;
    for (int i = 0; i < 20; ++i) {
        metres.push_back(0.1F * static_cast<float>(i % 7) - 0.2F);
    }
    const CorrectionField field(nodes, metres);
    const CellWindow window{50, 20, 180, 150};
    std::vector<float> heights(static_cast<std::size_t>(window.cells()), 100.0F);
    field.addTo(window, heights.data());
    for (const auto& [column, row] : {std::pair{50, 20}, {60, 77}, {133, 101}, {229, 169}}) {
        float height = 100.0F;
        field.addTo({column, row, 1, 1}, &height);
        EXPECT_EQ(height, heights[static_cast<std::size_t>((row - 20) * 180 + column - 50)]);
    }
    // At the middle of a block its node has the say.
    EXPECT_NEAR((field.at(32 * 3 + 15, 32 * 2 + 15) + field.at(32 * 3 + 16, 32 * 2 + 16)) / 2.0,
                static_cast<double>(metres[6]), 0.002);
}

double warpedChanges(const Point& p) {
    return warp(p) + bowl(p, 150, 150, 25, 1.0) + bowl(p, 400, 300, 45, 1.4) - bowl(p, 250, 450, 12, 1.5);
}

TEST(LocalCorrection, WindowsAndThreadsGiveTheResultOfOneRunToTheLastBit) {
    for (const auto method : {CoregistrationMethod::Local, CoregistrationMethod::Auto}) {
        Request request = requestOf(warpedChanges, method);
        const Changes whole = detectOrFail(request);
        EXPECT_EQ(whole.coregistration.method, CoregistrationMethod::Local);
        EXPECT_EQ(whole.anomalies.size(), 3U);
        request.parameters.threads = 3;
        request.parameters.blockRows = request.parameters.blockColumns = 47;
        expectIdentical(whole, detectOrFail(request));
        std::vector<Piece> pieces;
        for (const CellWindow& window : {CellWindow{0, 0, 391, 300}, CellWindow{391, 0, 209, 300},
                                         CellWindow{0, 300, 600, 151}, CellWindow{0, 451, 600, 149}}) {
            auto piece = detectPiece(request, window);
            ASSERT_TRUE(piece);
            pieces.push_back(std::move(*piece));
        }
        const auto merged = mergePieces(std::move(pieces));
        ASSERT_TRUE(merged) << merged.error().message;
        expectIdentical(whole, *merged);
    }
}

TEST(LocalCorrection, SwappedEpochsTurnFillsIntoCuts) {
    Request request = requestOf(warpedChanges, CoregistrationMethod::Auto);
    const Changes forth = detectOrFail(request);
    std::swap(request.oldRaster, request.newRaster);
    const Changes back = detectOrFail(request);
    EXPECT_EQ(back.coregistration.method, CoregistrationMethod::Local);
    ASSERT_EQ(forth.anomalies.size(), 3U);
    ASSERT_EQ(back.anomalies.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NE(forth.anomalies[i].kind, back.anomalies[i].kind);
        const double volume = forth.anomalies[i].volumeCubicMetres();
        EXPECT_NEAR(back.anomalies[i].volumeCubicMetres(), volume, 0.01 * volume);
    }
}

/// Nearly a third of the ground is a lake that stood a little lower.
TEST(GroundMasks, UnstableGroundTellsNothingAndIgnoredGroundIsNotLookedAt) {
    const auto inLake = [](const Point& p) { return p.x - kWest < 300.0 && kNorth - p.y < 350.0; };
    const auto lake = [&](const Point& p) {
        return (inLake(p) ? -0.15 : 0.0) + bowl(p, 450, 450, 30, 1.5) + bowl(p, 100, 100, 30, -1.5);
    };
    Request request = requestOf(lake, CoregistrationMethod::Bias);
    const std::string lakeFile = "/vsimem/lake.geojson";
    const auto write = [](const std::string& path, const std::string& text) {
        VSILFILE* file = VSIFOpenL(path.c_str(), "wb");
        VSIFWriteL(text.data(), 1, text.size(), file);
        VSIFCloseL(file);
    };
    write(lakeFile, R"({"type": "FeatureCollection",
        "crs": {"type": "name", "properties": {"name": "urn:ogc:def:crs:EPSG::4547"}},
        "features": [{"type": "Feature", "properties": {}, "geometry": {"type": "Polygon", "coordinates":
        [[[500000, 3400000], [500300, 3400000], [500300, 3399650], [500000, 3399650], [500000, 3400000]]]}}]})");
    const double biasOfAll = estimateOrFail(request).dzMetres;
    request.parameters.unstableMask = lakeFile;
    EXPECT_LT(std::abs(estimateOrFail(request).dzMetres), 0.002);
    EXPECT_GT(biasOfAll, 0.02);
    EXPECT_EQ(detectOrFail(request).anomalies.size(), 2U) << "changes of unstable ground are changes";
    request.parameters.unstableMask.clear();
    request.parameters.ignoreMask = lakeFile;
    Changes changes = detectOrFail(request);
    ASSERT_EQ(changes.anomalies.size(), 1U);
    EXPECT_NEAR(changes.anomalies[0].centroid.x, kWest + 450.0, 1.0);
    EXPECT_EQ(changes.cells, 600 * 600 - 300 * 350);

    // The same as a raster of other cells; zero and no-data mark nothing.
    RasterPlan plan;
    plan.columns = plan.rows = 60;
    plan.toMap = {kWest, 10.0, 0.0, kNorth, 0.0, -10.0};
    plan.noData = 7.0;
    plan.type = GDT_Byte;
    request.parameters.ignoreMask = "/vsimem/lake-mask.tif";
    writeRaster(request.parameters.ignoreMask, plan, [&](const Point& p) {
        return inLake(p) ? 1.0 : p.x - kWest > 500.0 ? 7.0 : 0.0;
    });
    changes = detectOrFail(request);
    EXPECT_EQ(changes.cells, 600 * 600 - 300 * 350);
    request.parameters.ignoreMask = "/vsimem/nowhere.geojson";
    EXPECT_FALSE(estimateCoregistration(request));
}

TEST(AutomaticModel, FitsWhatTheEvidenceSupports) {
    struct Case {
        const char* name;
        Misregistration truth;
        Surface change;
        CoregistrationMethod method;
    };
    const auto nothing = [](const Point&) { return 0.0; };
    const Case cases[] = {
        {"nothing", {}, nothing, CoregistrationMethod::None},
        {"bias", {0.0, 0.0, 0.15}, nothing, CoregistrationMethod::Bias},
        {"shift", {0.4, -0.3, 0.15}, nothing, CoregistrationMethod::Full},
        {"tilt", {0.0, 0.0, 0.1, 4e-4, -2e-4}, nothing, CoregistrationMethod::Full},
        {"shift and tilt", {0.4, -0.3, 0.1, 4e-4, -2e-4}, nothing, CoregistrationMethod::Full},
        {"warp", {}, warp, CoregistrationMethod::Local},
        {"warp and shift", {0.4, -0.3, 0.1}, warp, CoregistrationMethod::Local},
        {"change", {}, [](const Point& p) { return bowl(p, 300, 300, 80, 1.5); }, CoregistrationMethod::None},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MisregisteredPair pair;
        pair.oldPlan.columns = pair.newPlan.columns = 600;
        pair.oldPlan.rows = pair.newPlan.rows = 600;
        pair.oldPlan.toMap = pair.newPlan.toMap = {kWest, 1.0, 0.0, kNorth, 0.0, -1.0};
        pair.ground = relief;
        pair.change = c.change;
        pair.truth = c.truth;
        pair.truth.noiseMetres = kNoiseMetres;
        Request request = pair.write();
        request.parameters.coregistration = CoregistrationMethod::Auto;
        const Coregistration found = estimateOrFail(request);
        EXPECT_EQ(found.method, c.method) << found.reason;
        EXPECT_FALSE(found.reason.empty());
        EXPECT_NEAR(found.dxMetres, c.truth.dxMetres, 0.03) << found.reason;
        EXPECT_NEAR(found.dyMetres, c.truth.dyMetres, 0.03) << found.reason;
        EXPECT_NEAR(found.tiltEast, c.truth.tiltEast, 2e-5);
        if (c.method != CoregistrationMethod::Local) {
            EXPECT_NEAR(found.dzMetres, c.truth.dzMetres, 0.003);
        }
        EXPECT_LT(found.nmadAfterMetres, 1.07 * kDzNoiseMetres);
        EXPECT_GT(found.nmadAfterMetres, 0.8 * kDzNoiseMetres) << "interpolation takes some of the noise";
    }
}

} // namespace
} // namespace detect::test
