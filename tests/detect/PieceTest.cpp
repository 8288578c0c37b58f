// A raster cut into windows, looked at one by one and put together, gives what it gives in one run.

#include "detect/Piece.h"
#include "detect/PieceCheck.h"
#include "tests/detect/RandomRasters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace detect::test {
namespace {

Piece pieceOrFail(const Request& request, const CellWindow& window) {
    auto found = detectPiece(request, window);
    if (!found) {
        ADD_FAILURE() << found.error().message;
        return {};
    }
    return std::move(*found);
}

Changes mergedOrFail(std::vector<Piece> pieces) {
    auto merged = mergePieces(std::move(pieces));
    if (!merged) {
        ADD_FAILURE() << merged.error().message;
        return {};
    }
    return std::move(*merged);
}

std::string refusal(std::vector<Piece> pieces) {
    auto merged = mergePieces(std::move(pieces));
    return !merged ? merged.error().message : "merged";
}

/// Cuts a window in two at random, and the halves again; single rows and columns come out too.
void cutAtRandom(Random& random, const CellWindow& window, int depth, std::vector<CellWindow>& windows) {
    const bool across = random() < 0.5;
    const int length = across ? window.columns : window.rows;
    if (depth == 0 || length < 2) {
        windows.push_back(window);
        return;
    }
    const int part = 1 + static_cast<int>(random() * (length - 1));
    CellWindow first = window;
    CellWindow second = window;
    (across ? first.columns : first.rows) = part;
    (across ? second.columns : second.rows) -= part;
    (across ? second.column : second.row) += part;
    cutAtRandom(random, first, depth - 1, windows);
    cutAtRandom(random, second, depth - 1, windows);
}

Request randomPair(Random& random, const RasterPlan& plan) {
    Request request;
    request.oldRaster = "/vsimem/piece-old.tif";
    request.newRaster = "/vsimem/piece-new.tif";
    const double roughness = 0.2 + 1.6 * random();
    writeRandomPair(request, random, plan, roughness);
    request.parameters.minAreaSquareMetres = random() * 6.0;
    request.parameters.growRatio = 0.3 + 0.7 * random();
    return request;
}

TEST(Pieces, RandomCutsMergeIntoTheResultOfOneRun) {
    std::size_t anomalies = 0;
    std::size_t seamRuns = 0;
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        RasterPlan plan;
        plan.columns = 10 + static_cast<int>(random() * 60);
        plan.rows = 10 + static_cast<int>(random() * 60);
        const Request request = randomPair(random, plan);
        const Changes whole = detectOrFail(request);
        std::vector<CellWindow> windows;
        cutAtRandom(random, {0, 0, plan.columns, plan.rows}, 1 + static_cast<int>(seed % 5), windows);
        std::vector<Piece> pieces;
        for (const CellWindow& window : windows) {
            pieces.push_back(pieceOrFail(request, window));
        }
        std::reverse(pieces.begin(), pieces.end());
        for (const Piece& piece : pieces) {
            seamRuns += piece.seamRuns.runs.size();
        }
        Changes merged = mergedOrFail(std::move(pieces));
        EXPECT_LE(merged.rejections.core, whole.rejections.core); // see mergePieces
        merged.rejections.core = whole.rejections.core;
        expectIdentical(whole, merged);
        anomalies += whole.anomalies.size();
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_GT(anomalies, 200U) << "too little to compare";
    EXPECT_GT(seamRuns, 2000U) << "the cuts go through too little";
}

/// Hills and boxes of change on them, the new epoch on a grid of its own, turned and shifted against the old.
Request turnedPair(Random& random) {
    RasterPlan oldPlan;
    oldPlan.columns = 160;
    oldPlan.rows = 120;
    RasterPlan newPlan = oldPlan;
    newPlan.columns = 400;
    newPlan.rows = 330;
    newPlan.toMap = {499985.0, 0.3, 0.02, 3400012.0, 0.02, -0.3};
    const auto ground = [](const Point& p) {
        return 50.0 + 4.0 * std::sin(p.x / 9.0) + 3.0 * std::cos((p.y - 3400000.0) / 7.0);
    };
    Request request;
    request.oldRaster = "/vsimem/turned-old.tif";
    request.newRaster = "/vsimem/turned-new.tif";
    writeRaster(request.oldRaster, oldPlan, [&](const Point& p) { return ground(p) + 0.1 * random(); });
    writeRaster(request.newRaster, newPlan, [&](const Point& p) {
        const bool isChanged = std::fmod(p.x, 16.0) < 7.0 && std::fmod(p.y, 14.0) < 6.0;
        return ground({p.x + 0.4, p.y - 0.3}) + (isChanged ? 1.5 * random() + 0.6 : 0.0) + 0.1 * random();
    });
    return request;
}

TEST(Pieces, CutsOfResampledPairsMergeIntoTheResultOfOneRunWhateverTheLevelOfDetection) {
    Random random(7);
    Request request = turnedPair(random);
    request.parameters.coregistration = CoregistrationMethod::Full;
    for (const bool significant : {false, true}) {
        if (significant) {
            request.parameters.significance = Significance{0.03, 0.03, 0.99};
        }
        const Changes whole = detectOrFail(request);
        EXPECT_GT(whole.anomalies.size(), 5U);
        EXPECT_NE(whole.coregistration.dxMetres, 0.0);
        for (int round = 0; round < 4; ++round) {
            SCOPED_TRACE("round " + std::to_string(round));
            std::vector<CellWindow> windows;
            cutAtRandom(random, {0, 0, 160, 120}, 3, windows);
            std::vector<Piece> pieces;
            for (const CellWindow& window : windows) {
                pieces.push_back(pieceOrFail(request, window));
            }
            expectIdentical(whole, mergedOrFail(std::move(pieces)));
        }
    }
}

class TwoHalves : public testing::Test {
protected:
    TwoHalves() {
        RasterPlan plan;
        plan.columns = 40;
        plan.rows = 30;
        Random random(3);
        m_request = randomPair(random, plan);
        m_pieces = {pieceOrFail(m_request, {0, 0, 25, 30}), pieceOrFail(m_request, {25, 0, 15, 30})};
    }

    Request m_request;
    std::vector<Piece> m_pieces;
};

TEST_F(TwoHalves, AreMergedWithAWindowBesideTheRaster) {
    m_pieces.push_back(pieceOrFail(m_request, {40, 0, 10, 10}));
    EXPECT_TRUE(m_pieces.back().anomalies.empty());
    expectIdentical(detectOrFail(m_request), mergedOrFail(m_pieces));
}

TEST_F(TwoHalves, AMissingWindowIsNamedByItsFirstCell) {
    m_pieces.pop_back();
    EXPECT_NE(refusal(m_pieces).find("缺少窗口：第 25 列、第 0 行"), std::string::npos) << refusal(m_pieces);
}

TEST_F(TwoHalves, WindowsThatOverlapAreRefusedHoweverLargeTheyAre) {
    constexpr int kFar = std::numeric_limits<int>::max();
    for (Piece& piece : m_pieces) {
        piece.frame.overlap = piece.window = {0, 0, kFar, kFar};
    }
    m_pieces.push_back(m_pieces.front());
    EXPECT_NE(refusal(m_pieces).find("重叠"), std::string::npos) << refusal(m_pieces);
}

TEST_F(TwoHalves, AWindowOfNegativeSizeIsNotSound) {
    Piece& piece = m_pieces.back();
    EXPECT_TRUE(areWindowsSound(piece));
    piece.cells = 0;
    piece.window = {0, 0, -5, -3}; // of fifteen cells, for whoever multiplies
    EXPECT_FALSE(areWindowsSound(piece));
}

TEST_F(TwoHalves, MoreRejectionsThanCellsAreNotSound) {
    Piece& piece = m_pieces.front();
    EXPECT_TRUE(isSound(piece));
    piece.rejections.sliver = piece.window.cells() + 1;
    EXPECT_FALSE(isSound(piece));
    piece.rejections.sliver = -1;
    EXPECT_FALSE(isSound(piece));
}

TEST_F(TwoHalves, AWindowMayReachFurtherThanAnyRaster) {
    constexpr int kFar = std::numeric_limits<int>::max();
    m_pieces.back() = pieceOrFail(m_request, {25, 0, kFar, kFar});
    EXPECT_EQ(m_pieces.back().window.columns, 15);
    EXPECT_EQ(m_pieces.back().window.rows, 30);
    expectIdentical(detectOrFail(m_request), mergedOrFail(m_pieces));
}

TEST_F(TwoHalves, AMissingWindowIsNamedWhereverAnEmptyOneLies) {
    constexpr int kFar = std::numeric_limits<int>::max();
    m_pieces.back().window = {kFar, kFar, kFar, 0};
    EXPECT_NE(refusal(m_pieces).find("缺少窗口：第 25 列、第 0 行"), std::string::npos) << refusal(m_pieces);
}

TEST(Pieces, AnEmptyWindowHoldsNoRun) {
    constexpr int kFar = std::numeric_limits<int>::max();
    Piece piece;
    piece.window = {kFar, kFar, kFar, 0};
    ::detect::Run run;
    run.row = kFar;
    run.begin = kFar - 1;
    run.end = kFar;
    run.sign = 1;
    EXPECT_FALSE(isRunOf(piece, run));
}

TEST_F(TwoHalves, OverlappingWindowsAreRefused) {
    m_pieces.push_back(m_pieces.front());
    EXPECT_NE(refusal(m_pieces).find("重叠"), std::string::npos) << refusal(m_pieces);
}

TEST_F(TwoHalves, PiecesOfOtherParametersAreRefused) {
    m_request.parameters.thresholdMetres = 0.6;
    m_pieces.back() = pieceOrFail(m_request, m_pieces.back().window);
    EXPECT_NE(refusal(m_pieces).find("检测参数"), std::string::npos) << refusal(m_pieces);
}

TEST_F(TwoHalves, PiecesOfOtherRastersAreRefused) {
    Random random(4);
    RasterPlan plan;
    plan.columns = 40;
    plan.rows = 30;
    plan.toMap[0] += 1.0;
    Request other = randomPair(random, plan);
    other.parameters = m_request.parameters;
    m_pieces.back() = pieceOrFail(other, m_pieces.back().window);
    EXPECT_NE(refusal(m_pieces).find("另一对栅格"), std::string::npos) << refusal(m_pieces);
    EXPECT_EQ(refusal({}), "没有可合并的窗口");
}

} // namespace
} // namespace detect::test
