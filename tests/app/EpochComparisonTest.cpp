#include "tests/app/SampleProject.h"
#include "tests/support/Pointer.h"
#include "tests/support/WaitUntil.h"

#include "workbench/app/EpochComparison.h"
#include "workbench/app/MainWindow.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/viewer/GlobeWidget.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QDockWidget>
#include <QImage>
#include <QLabel>
#include <QSlider>
#include <QTest>

#include <cmath>

namespace {

TEST(OtherEpoch, IsTheOtherOneOfTheComparedPair) {
    inspection::ProjectDescription project;
    project.epochs = {{"2023-01-01", "a", "a"}, {"2024-01-01", "b", "b"}, {"2025-01-01", "c", "c"}};
    EXPECT_EQ(otherEpoch(project, 2), 1);
    EXPECT_EQ(otherEpoch(project, 1), 2);
    EXPECT_EQ(otherEpoch(project, 0), 1) << "neither is shown";
    project.compared = inspection::EpochPair{"2023-01-01", "2025-01-01"};
    EXPECT_EQ(otherEpoch(project, 0), 2);
    EXPECT_EQ(otherEpoch(project, 2), 0);
    EXPECT_EQ(otherEpoch(project, 1), 0);
}

class EpochComparisonTest : public ::testing::Test {
protected:
    EpochComparisonTest() {
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
        EXPECT_FALSE(m_window.openProject(project().folder()).has_value());
        m_newer = picture();
    }
    static SampleProject& project() {
        static SampleProject project;
        return project;
    }

    template<typename Widget>
    Widget& child(const char* name) {
        return *m_window.findChild<Widget*>(name);
    }
    void choose(Comparison how) {
        auto& box = child<QComboBox>("comparison");
        box.setCurrentIndex(box.findData(int(how)));
    }
    QImage picture() {
        EXPECT_TRUE(waitUntil([this] { return m_window.globe().isPictureComplete(); }, 120000));
        return m_window.globe().grabFramebuffer();
    }
    QImage pictureOfOlder() {
        choose(Comparison::Blend);
        auto& share = child<QSlider>("comparisonShare");
        share.setValue(share.maximum());
        return picture();
    }

    MainWindow m_window;
    QImage m_newer;
};

int distance(const QImage& one, const QImage& other, int x, int y) {
    return std::abs(one.pixelColor(x, y).red() - other.pixelColor(x, y).red());
}

TEST_F(EpochComparisonTest, BlendsTheOtherEpochIn) {
    m_window.findChild<QDockWidget*>("layerDock")->raise();
    EXPECT_FALSE(child<QSlider>("comparisonShare").isVisible());
    const QImage older = pictureOfOlder();
    EXPECT_NE(older, m_newer);
    EXPECT_TRUE(child<QSlider>("comparisonShare").isVisible());
    child<QSlider>("comparisonShare").setValue(50);
    const QImage blend = picture();
    int different = 0;
    int between = 0;
    for (int x = 0; x < older.width(); x += 3) {
        for (int y = 0; y < older.height(); y += 3) {
            if (distance(older, m_newer, x, y) > 30) {
                ++different;
                const int half = (older.pixelColor(x, y).red() + m_newer.pixelColor(x, y).red()) / 2;
                between += std::abs(blend.pixelColor(x, y).red() - half) <= 3 ? 1 : 0;
            }
        }
    }
    EXPECT_GT(different, 20);
    EXPECT_GT(between, different * 9 / 10);
    choose(Comparison::Off);
    EXPECT_EQ(picture(), m_newer);
}

TEST_F(EpochComparisonTest, TheLineBetweenTheEpochsIsDraggedAndMovedByKey) {
    auto& line = child<QWidget>("swipeLine");
    EXPECT_FALSE(line.isVisible());
    const QImage older = pictureOfOlder();
    choose(Comparison::Swipe);
    ASSERT_TRUE(line.isVisible());
    EXPECT_EQ(child<QLabel>("swipeLeft").text(), "2024-05-18");
    EXPECT_EQ(child<QLabel>("swipeRight").text(), "2025-05-20");
    const int middle = older.width() / 2;
    const QRect left(0, 0, middle - 1, older.height());
    const QRect right(middle + 1, 0, older.width() - middle - 1, older.height());
    const QImage swiped = picture();
    EXPECT_EQ(swiped.copy(left), older.copy(left));
    EXPECT_EQ(swiped.copy(right), m_newer.copy(right));

    const QPoint hold(line.width() / 2, 20);
    QTest::mousePress(&line, Qt::LeftButton, {}, hold);
    movePointer(line, hold - QPoint(middle + 100, 0), Qt::LeftButton);
    QTest::mouseRelease(&line, Qt::LeftButton, {}, hold);
    EXPECT_EQ(picture(), m_newer) << "dragged out of the picture";
    QTest::keyClick(&line, Qt::Key_End);
    EXPECT_EQ(picture(), older);
    choose(Comparison::Off);
    EXPECT_FALSE(line.isVisible());
    EXPECT_FALSE(child<QLabel>("swipeLeft").isVisible());
    EXPECT_EQ(picture(), m_newer);
}

TEST_F(EpochComparisonTest, IsNotInThePictureOfAReport) {
    choose(Comparison::Swipe);
    const QImage swiped = picture();
    ASSERT_NE(swiped, m_newer);
    EXPECT_EQ(m_window.findChild<EpochComparison*>()->pictureWithout(), m_newer);
    EXPECT_EQ(picture(), swiped);
}

TEST_F(EpochComparisonTest, FollowsTheShownEpoch) {
    choose(Comparison::Swipe);
    m_window.showEpoch("2024-05-18");
    EXPECT_EQ(child<QLabel>("swipeLeft").text(), "2025-05-20");
    EXPECT_EQ(child<QLabel>("swipeRight").text(), "2024-05-18");
    QTest::keyClick(&child<QWidget>("swipeLine"), Qt::Key_Home);
    const QImage older = picture();
    choose(Comparison::Off);
    EXPECT_EQ(picture(), older);
}

} // namespace
