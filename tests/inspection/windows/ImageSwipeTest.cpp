#include "tests/inspection/windows/ImageWindowFixture.h"
#include "tests/support/Pointer.h"

#include "workbench/inspection/images/SwipePane.h"

#include <QAbstractButton>
#include <QApplication>
#include <QTest>
#include <QWheelEvent>

#include <algorithm>

namespace {

class ImageSwipeTest : public ImageWindowTest {
protected:
    inspection::SwipePane& swipe() { return *m_window->findChild<inspection::SwipePane*>(); }
    QAbstractButton& button(const char* name) { return *m_window->findChild<QAbstractButton*>(name); }
    void startSwiping() {
        showAnomaly();
        QTest::mouseClick(&button("swipeButton"), Qt::LeftButton);
        ASSERT_TRUE(waitUntil([this] { return swipe().isVisible() && images().isComplete(); }));
    }
    /// The pane as it looks with the divider at one side.
    QImage withDividerAt(Qt::Key side) {
        QTest::keyClick(&swipe(), side);
        return pictureOf(swipe());
    }
    /// Where the divider does not cover it, one side of the pane is the same in both pictures. Plates and
    /// handle are left out.
    static bool sameWithin(const QImage& one, const QImage& other, int fromX, int toX) {
        const int top = one.height() / 4;
        const QRect area(fromX, top, toX - fromX, one.height() / 3);
        return one.copy(area) == other.copy(area);
    }
};

TEST_F(ImageSwipeTest, TheSwitchIsReachedWithTheKeyboard) {
    showAnomaly();
    EXPECT_TRUE(pane("oldPane").isVisible());
    EXPECT_FALSE(swipe().isVisible());
    button("sideBySideButton").setFocus();
    ASSERT_TRUE(waitUntil([this] { return button("sideBySideButton").hasFocus(); }));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
    EXPECT_TRUE(button("swipeButton").isChecked());
    EXPECT_TRUE(swipe().isVisible());
    EXPECT_FALSE(pane("oldPane").isVisible());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(swipe().hasFocus());

    button("swipeButton").setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Left);
    EXPECT_TRUE(pane("oldPane").isVisible());
}

TEST_F(ImageSwipeTest, OldIsLeftOfTheDividerAndNewRightOfIt) {
    startSwiping();
    const QImage half = pictureOf(swipe());
    const QImage allNew = withDividerAt(Qt::Key_Home);
    const QImage allOld = withDividerAt(Qt::Key_End);
    const int middle = half.width() / 2;
    EXPECT_TRUE(sameWithin(half, allOld, 0, middle - 5));
    EXPECT_TRUE(sameWithin(half, allNew, middle + 5, half.width() - 5));
    EXPECT_FALSE(sameWithin(half, allNew, 0, middle - 5));
    EXPECT_FALSE(sameWithin(half, allOld, middle + 5, half.width() - 5));
    keepPicture(images(), "image-window-swipe-old");
}

TEST_F(ImageSwipeTest, TheDividerIsDraggedByItsHandleAndByItself) {
    startSwiping();
    const QPointF centre = view().centre();
    keepPicture(images(), "image-window-swipe");
    QPoint from = swipe().handle().toPoint();
    movePointer(swipe(), from);
    EXPECT_EQ(swipe().cursor().shape(), Qt::SplitHCursor);
    QTest::mousePress(&swipe(), Qt::LeftButton, {}, from + QPoint(6, 0));
    movePointer(swipe(), from + QPoint(66, 10), Qt::LeftButton);
    QTest::mouseRelease(&swipe(), Qt::LeftButton, {}, from + QPoint(66, 10));
    EXPECT_NEAR(swipe().handle().x(), from.x() + 60, 1.0);
    EXPECT_EQ(view().centre(), centre) << "the ground stays";

    from = QPoint(swipe().handle().toPoint().x(), 30);
    QTest::mousePress(&swipe(), Qt::LeftButton, {}, from);
    movePointer(swipe(), QPoint(-500, 30), Qt::LeftButton);
    QTest::mouseRelease(&swipe(), Qt::LeftButton, {}, QPoint(-500, 30));
    EXPECT_EQ(swipe().dividerShare(), 0.0) << "it stays within the pane";
}

TEST_F(ImageSwipeTest, ArrowKeysMoveTheDivider) {
    startSwiping();
    QTest::mouseClick(&swipe(), Qt::LeftButton, {}, QPoint(20, 60));
    ASSERT_TRUE(swipe().hasFocus());
    QTest::keyClick(&swipe(), Qt::Key_Left);
    const double step = 0.5 - swipe().dividerShare();
    EXPECT_GT(step, 0.0);
    QTest::keyClick(&swipe(), Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_GT(swipe().dividerShare(), 0.5 + step);
    for (int i = 0; i < 200; ++i) {
        QTest::keyClick(&swipe(), Qt::Key_Right);
    }
    EXPECT_EQ(swipe().dividerShare(), 1.0);
}

TEST_F(ImageSwipeTest, ItPansZoomsAndFitsAsTheOtherPanesDo) {
    startSwiping();
    QTest::mouseDClick(&swipe(), Qt::LeftButton, {}, QPoint(30, 60));
    const QPointF centre = view().centre();
    const double metresPerPixel = view().metresPerPixel();
    QTest::mousePress(&swipe(), Qt::LeftButton, {}, QPoint(40, 60));
    movePointer(swipe(), QPoint(60, 50), Qt::LeftButton);
    QTest::mouseRelease(&swipe(), Qt::LeftButton, {}, QPoint(60, 50));
    EXPECT_NEAR(view().centre().x(), centre.x() - 20.0 * metresPerPixel, 1e-6);
    EXPECT_NEAR(view().centre().y(), centre.y() - 10.0 * metresPerPixel, 1e-6);

    const QPoint at(50, 50);
    QWheelEvent wheel(at, swipe().mapToGlobal(at), {}, QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&swipe(), &wheel);
    EXPECT_LT(view().metresPerPixel(), metresPerPixel);
    ASSERT_TRUE(shown());

    QTest::mouseDClick(&swipe(), Qt::LeftButton, {}, QPoint(30, 60));
    EXPECT_NEAR(view().centre().x(), centre.x(), 1e-6);
    EXPECT_NEAR(view().metresPerPixel(), metresPerPixel, 1e-9);
}

TEST_F(ImageSwipeTest, TheChoiceStaysForTheNextAnomaly) {
    startSwiping();
    QTest::keyClick(&swipe(), Qt::Key_Left, Qt::ShiftModifier);
    const double share = swipe().dividerShare();
    const QImage first = pictureOf(swipe());
    images().CreatZoomItem(m_item, m_item->m_diffData.m_anomalies.at(1));
    ASSERT_TRUE(shown());
    EXPECT_TRUE(swipe().isVisible());
    EXPECT_EQ(swipe().dividerShare(), share);
    EXPECT_NE(pictureOf(swipe()), first);
}

} // namespace
