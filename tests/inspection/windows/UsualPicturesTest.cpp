#include "workbench/inspection/scene/UsualPictures.h"

#include "tests/support/WaitUntil.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace inspection;

/// Without a globe the eye is at the origin.
class UsualPicturesTest : public ::testing::Test {
protected:
    UsualPicturesTest() : m_usual(m_painters) {
        m_painters.setMaxThreadCount(1);
        SdiffData anomaly;
        anomaly.xMax = anomaly.yMax = 2.0;
        anomaly.outlineWkt = "POLYGON ((0 0, 2 0, 2 2, 0 2, 0 0))";
        m_source = std::make_shared<const OverlaySource>(OverlaySource{{anomaly}, {}});
        QObject::connect(&m_usual, &UsualPictures::painted, [this](const auto& pictures) {
            m_batches.emplace_back();
            for (const auto& [handle, picture] : pictures) {
                EXPECT_TRUE(picture.valid());
                m_batches.back().push_back(handle);
            }
        });
        QObject::connect(&m_usual, &UsualPictures::progressed,
                         [this](int done, int all) { m_progress.emplace_back(done, all); });
    }
    ~UsualPicturesTest() override { m_painters.waitForDone(); }

    /// The handle is the distance from the eye.
    void want(std::uint64_t distance) { m_usual.want(distance, m_source, 0, {0.0, double(distance), 0.0}); }
    bool finish() {
        return waitUntil([this] { return !m_usual.isPainting(); }, 20000);
    }
    std::vector<std::uint64_t> paintedHandles() const {
        std::vector<std::uint64_t> handles;
        for (const auto& batch : m_batches) {
            handles.insert(handles.end(), batch.begin(), batch.end());
        }
        return handles;
    }

    QThreadPool m_painters;
    UsualPictures m_usual;
    std::shared_ptr<const OverlaySource> m_source;
    std::vector<std::vector<std::uint64_t>> m_batches;
    std::vector<std::pair<int, int>> m_progress;
};

TEST_F(UsualPicturesTest, TheNearestArePaintedFirst) {
    for (std::uint64_t i = 1; i <= 100; ++i) {
        want(i * 37 % 101);
    }
    m_usual.paint();
    ASSERT_TRUE(finish());
    ASSERT_EQ(paintedHandles().size(), 100U);
    ASSERT_GT(m_batches.size(), 3U);
    for (std::size_t i = 1; i < m_batches.size(); ++i) {
        EXPECT_LT(*std::max_element(m_batches[i - 1].begin(), m_batches[i - 1].end()),
                  *std::min_element(m_batches[i].begin(), m_batches[i].end()));
    }
}

TEST_F(UsualPicturesTest, WhatIsForgottenBeforeItsTurnIsNotPainted) {
    for (std::uint64_t i = 1; i <= 100; ++i) {
        want(i);
    }
    m_usual.paint(); // the first batch is on its way
    m_usual.forget({99, 100});
    ASSERT_TRUE(finish());
    const auto handles = paintedHandles();
    EXPECT_EQ(handles.size(), 98U);
    EXPECT_EQ(std::count_if(handles.begin(), handles.end(), [](std::uint64_t handle) { return handle > 98; }),
              0);
}

TEST_F(UsualPicturesTest, TellsItsProgressAndBeginsAnewWithTheNext) {
    for (int round = 0; round < 2; ++round) {
        m_progress.clear();
        for (std::uint64_t i = 1; i <= 60; ++i) {
            want(i);
        }
        m_usual.paint();
        ASSERT_TRUE(finish());
        ASSERT_GE(m_progress.size(), 2U);
        EXPECT_EQ(m_progress.back(), std::pair(60, 60));
        EXPECT_TRUE(std::is_sorted(m_progress.begin(), m_progress.end()));
        EXPECT_LT(m_progress.front().first, 60);
    }
}

} // namespace
