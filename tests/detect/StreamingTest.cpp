// Anomalies leave while the run goes on, in order, and whoever takes them can end it.

#include "detect/KeptAnomalies.h"
#include "detect/Piece.h"
#include "tests/detect/RandomRasters.h"

#include <gtest/gtest.h>

namespace detect::test {
namespace {

/// Takes anomalies, and asks a test what to think of each.
class Watched : public AnomalyReceiver {
public:
    using Judge = std::function<Status(const Anomaly&)>;
    explicit Watched(Judge judge) : m_judge(std::move(judge)) {}

    Status begin(const std::string& srsWkt) override {
        ++begun;
        EXPECT_EQ(taken, 0);
        EXPECT_FALSE(srsWkt.empty());
        return {};
    }
    Status take(Anomaly anomaly) override {
        ++taken;
        return m_judge(anomaly);
    }

    int begun = 0;
    int taken = 0;

private:
    Judge m_judge;
};

/// A tall raster with a box of change in every 20 rows, and a trench along the right side from row `trench`
/// to the bottom.
Request tallPair(int trench) {
    RasterPlan plan;
    plan.columns = 60;
    plan.rows = 400;
    Request request;
    request.oldRaster = "/vsimem/tall-old.tif";
    request.newRaster = "/vsimem/tall-new.tif";
    writeRaster(request.oldRaster, plan, [](const Point&) { return 20.0; });
    std::vector<float> heights;
    for (int row = 0; row < plan.rows; ++row) {
        for (int column = 0; column < plan.columns; ++column) {
            const bool box = row % 20 >= 8 && row % 20 < 15 && column >= 10 && column < 20;
            const bool inTrench = row >= trench && column >= 40 && column < 46;
            heights.push_back(20.0F + (box ? 2.0F : 0.0F) - (inTrench ? 2.0F : 0.0F));
        }
    }
    writeRaster(request.newRaster, plan, heights);
    request.parameters.blockRows = 20;
    request.parameters.coregistration = CoregistrationMethod::None;
    return request;
}

TEST(Streaming, AnomaliesLeaveBeforeTheRasterIsReadToItsEnd) {
    double done = 0.0;
    const Progress progress = [&done](double share) {
        done = share;
        return true;
    };
    std::vector<double> doneWhenTaken;
    Watched receiver([&](const Anomaly&) -> Status {
        doneWhenTaken.push_back(done);
        return {};
    });
    const auto outcome = detectChanges(tallPair(400), receiver, progress);
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->found, 20);
    EXPECT_EQ(receiver.begun, 1);
    ASSERT_EQ(doneWhenTaken.size(), 20U);
    EXPECT_LT(doneWhenTaken[0], 0.25);
    EXPECT_LT(doneWhenTaken[9], 0.65);
    EXPECT_LT(doneWhenTaken[17], 0.99);
}

TEST(Streaming, AChangeThatGoesOnHoldsBackOnlyWhatBeginsBelowItsFirstRow) {
    double done = 0.0;
    const Progress progress = [&done](double share) {
        done = share;
        return true;
    };
    std::vector<std::string> names;
    std::vector<double> doneWhenTaken;
    Watched receiver([&](const Anomaly& anomaly) -> Status {
        names.push_back(anomaly.name);
        doneWhenTaken.push_back(done);
        if (names.size() == 11) {
            EXPECT_EQ(anomaly.kind, Kind::Cut);
            EXPECT_EQ(anomaly.first.row, 203);
            EXPECT_EQ(anomaly.first.column, 40);
        }
        return {};
    });
    const auto outcome = detectChanges(tallPair(203), receiver, progress);
    ASSERT_TRUE(outcome);
    ASSERT_EQ(names.size(), 21U);
    EXPECT_EQ(names.front(), "A0001");
    EXPECT_EQ(names.back(), "A0021");
    EXPECT_LT(doneWhenTaken[9], 0.65) << "lies above the trench";
    EXPECT_EQ(doneWhenTaken[10], 1.0) << "the trench ends with the raster";
}

TEST(Streaming, NamesFollowTheFirstCellsOnRandomRasters) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        RasterPlan plan;
        plan.columns = 20 + static_cast<int>(random() * 60);
        plan.rows = 20 + static_cast<int>(random() * 60);
        Request request;
        request.oldRaster = "/vsimem/stream-old.tif";
        request.newRaster = "/vsimem/stream-new.tif";
        writeRandomPair(request, random, plan, 0.3);
        request.parameters.minAreaSquareMetres = 0.0;
        request.parameters.blockRows = 1 + static_cast<int>(random() * 20);
        request.parameters.blockColumns = 1 + static_cast<int>(random() * 30);
        const Changes result = detectOrFail(request);
        EXPECT_EQ(result.found, static_cast<std::int64_t>(result.anomalies.size()));
        EXPECT_GT(result.anomalies.size(), 4U);
        for (std::size_t i = 1; i < result.anomalies.size(); ++i) {
            EXPECT_TRUE(result.anomalies[i - 1].first < result.anomalies[i].first);
            EXPECT_LT(result.anomalies[i - 1].name, result.anomalies[i].name);
        }
    }
}

TEST(Streaming, AReceiverThatFailsEndsTheRun) {
    const TemporaryFolder folder;
    Request request = tallPair(400);
    auto dz = std::make_optional(StagedOutput::beside(folder.file("dz.tif")).value());
    request.dzRaster = &*dz;
    Watched receiver([](const Anomaly&) { return Unexpected(Failure{"the disk is full"}); });
    const auto outcome = detectChanges(request, receiver);
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().message, "the disk is full");
    EXPECT_EQ(receiver.taken, 1);
    dz.reset();
    EXPECT_TRUE(folder.names().empty());
}

TEST(Streaming, MergingAsksForAPieceOnlyWhenItsTurnHasCome) {
    const Request request = tallPair(400);
    std::vector<Piece> pieces;
    for (const int row : {200, 0, 100, 300}) {
        auto found = detectPiece(request, {0, row, 60, 100});
        ASSERT_TRUE(found);
        pieces.push_back(std::move(*found));
    }
    std::vector<std::size_t> asked;
    std::vector<std::size_t> askedWhenTaken;
    Watched receiver([&](const Anomaly&) -> Status {
        askedWhenTaken.push_back(asked.size());
        return {};
    });
    const auto anomaliesOf = [&](std::size_t piece) {
        asked.push_back(piece);
        return pieces[piece].anomalies;
    };
    const auto merged = mergePieces(pieces, anomaliesOf, receiver);
    ASSERT_TRUE(merged);
    EXPECT_EQ(merged->found, 20);
    EXPECT_EQ(asked, (std::vector<std::size_t>{1, 2, 0, 3}));
    ASSERT_EQ(askedWhenTaken.size(), 20U);
    EXPECT_EQ(askedWhenTaken[4], 1U);
    EXPECT_EQ(askedWhenTaken[9], 2U);
    EXPECT_EQ(askedWhenTaken[14], 3U);

    const auto unreadable = [](std::size_t) { return Unexpected(Failure{"gone"}); };
    Watched untouched([](const Anomaly&) { return Status(); });
    const auto failed = mergePieces(pieces, unreadable, untouched);
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().message, "gone");
    EXPECT_EQ(untouched.taken, 0);
}

} // namespace
} // namespace detect::test
