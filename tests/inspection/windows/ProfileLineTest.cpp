#include "tests/inspection/windows/ImageWindowFixture.h"
#include "tests/support/Pointer.h"
#include "tests/support/WaitUntil.h"

#include "workbench/inspection/images/GroundPane.h"
#include "workbench/inspection/images/LatestRead.h"
#include "workbench/inspection/images/ProfileLineEditor.h"

#include <QAbstractButton>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

namespace {

using inspection::LatestRead;
using inspection::ProfileLineEditor;
using Grip = ProfileLineEditor::Grip;

/// Two pixels for each metre, y up.
const QTransform kToPane(2.0, 0.0, 0.0, -2.0, 0.0, 100.0);

ProfileLineEditor editorOf(const QLineF& line) {
    ProfileLineEditor editor;
    editor.setLine(line);
    return editor;
}

TEST(ProfileLineEditor, FindsEndsBeforeTheBodyAndNothingElsewhere) {
    const ProfileLineEditor editor = editorOf({10.0, 10.0, 60.0, 10.0}); // pixels 20..120 at row 80
    EXPECT_EQ(editor.gripAt({20.0, 80.0}, kToPane), Grip::Start);
    EXPECT_EQ(editor.gripAt({26.0, 84.0}, kToPane), Grip::Start);
    EXPECT_EQ(editor.gripAt({118.0, 78.0}, kToPane), Grip::End);
    EXPECT_EQ(editor.gripAt({70.0, 85.0}, kToPane), Grip::Body);
    EXPECT_EQ(editor.gripAt({70.0, 95.0}, kToPane), Grip::None);
    EXPECT_EQ(editor.gripAt({140.0, 80.0}, kToPane), Grip::None);
}

TEST(ProfileLineEditor, AShortLineCanStillBeMovedAsAWhole) {
    const ProfileLineEditor editor = editorOf({10.0, 10.0, 16.0, 10.0}); // 12 pixels
    EXPECT_EQ(editor.gripAt({26.0, 80.0}, kToPane), Grip::Body);
    EXPECT_EQ(editor.gripAt({20.0, 80.0}, kToPane), Grip::Start);
}

TEST(ProfileLineEditor, ALineWithoutLengthHasNoParts) {
    ProfileLineEditor editor = editorOf({10.0, 10.0, 10.0, 10.0});
    EXPECT_FALSE(editor.begin({20.0, 80.0}, kToPane));
    EXPECT_FALSE(editor.moveTo({50.0, 50.0}, kToPane));
}

TEST(ProfileLineEditor, AnEndFollowsThePointerFromWhereItWasTakenHoldOf) {
    ProfileLineEditor editor = editorOf({10.0, 10.0, 60.0, 10.0});
    ASSERT_TRUE(editor.begin({122.0, 82.0}, kToPane));
    EXPECT_TRUE(editor.moveTo({142.0, 42.0}, kToPane));
    EXPECT_EQ(editor.line(), QLineF(10.0, 10.0, 70.0, 30.0));
    EXPECT_FALSE(editor.moveTo({142.0, 42.0}, kToPane)) << "nothing changes";
}

TEST(ProfileLineEditor, TheBodyTakesBothEndsAlongAlsoWhenTheViewZoomsMeanwhile) {
    ProfileLineEditor editor = editorOf({10.0, 10.0, 60.0, 10.0});
    ASSERT_TRUE(editor.begin({70.0, 80.0}, kToPane));
    EXPECT_TRUE(editor.moveTo({80.0, 60.0}, kToPane));
    EXPECT_EQ(editor.line(), QLineF(15.0, 20.0, 65.0, 20.0));
    const QTransform nearer(4.0, 0.0, 0.0, -4.0, 0.0, 100.0);
    EXPECT_TRUE(editor.moveTo(nearer.map(QPointF(42.0, 20.0)), nearer));
    EXPECT_EQ(editor.line(), QLineF(17.0, 20.0, 67.0, 20.0));
}

TEST(ProfileLineEditor, TheEndsNeverMeet) {
    ProfileLineEditor editor = editorOf({10.0, 10.0, 60.0, 10.0});
    ASSERT_TRUE(editor.begin({120.0, 80.0}, kToPane));
    editor.moveTo({23.0, 80.0}, kToPane);
    EXPECT_NEAR(editor.line().length(), ProfileLineEditor::kLeastPixels / 2.0, 1e-9);
    const QLineF least = editor.line();
    editor.moveTo({20.0, 80.0}, kToPane); // exactly on the other end
    EXPECT_EQ(editor.line(), least);
}

TEST(ProfileLineEditor, CancellingPutsTheLineBack) {
    const QLineF line(10.0, 10.0, 60.0, 10.0);
    ProfileLineEditor editor = editorOf(line);
    ASSERT_TRUE(editor.begin({20.0, 80.0}, kToPane));
    editor.moveTo({40.0, 20.0}, kToPane);
    editor.cancel();
    EXPECT_EQ(editor.line(), line);
    EXPECT_FALSE(editor.moveTo({40.0, 20.0}, kToPane));
}

TEST(LatestRead, OfWhatIsAskedForDuringAReadOnlyTheLatestIsRead) {
    LatestRead reads;
    QSemaphore gate;
    std::vector<int> done;
    std::atomic<int> begun{0};
    const auto read = [&](int number) {
        reads.ask([&, number]() -> LatestRead::Delivery {
            ++begun;
            gate.acquire();
            return [&done, number] { done.push_back(number); };
        });
    };
    for (int number = 0; number < 50; ++number) {
        read(number);
    }
    gate.release(50);
    ASSERT_TRUE(::waitUntil([&] { return !reads.isReading(); }));
    EXPECT_EQ(done, (std::vector<int>{0, 49}));
    EXPECT_EQ(begun, 2);
}

TEST(LatestRead, WhatWasDroppedIsNotDelivered) {
    LatestRead reads;
    std::vector<int> done;
    QSemaphore gate;
    const auto read = [&](int number) {
        reads.ask([&, number]() -> LatestRead::Delivery {
            gate.acquire();
            return [&done, number] { done.push_back(number); };
        });
    };
    read(1);
    read(2);
    reads.drop();
    read(3);
    gate.release(3);
    ASSERT_TRUE(::waitUntil([&] { return !reads.isReading(); }));
    EXPECT_EQ(done, std::vector<int>{3});
}

class ProfileLineTest : public ImageWindowTest {
protected:
    /// The cursor that a pane shows at a place on the ground.
    Qt::CursorShape cursorAt(QWidget& pane, const QPointF& ground) {
        const QPoint pixel = pixelOf(pane, ground);
        movePointer(pane, pixel);
        return pane.cursor().shape();
    }
    void drag(QWidget& pane, const QPoint& from, const QPoint& by) {
        QTest::mousePress(&pane, Qt::LeftButton, {}, from);
        movePointer(pane, from + by / 2, Qt::LeftButton);
        movePointer(pane, from + by, Qt::LeftButton);
    }
};

TEST_F(ProfileLineTest, DraggingAnEndInAnyPaneReadsTheProfileAnewAndMovesItInAllPanes) {
    showAnomaly();
    QLineF line = firstLine();
    for (const char* name : {"oldPane", "newPane", "differencePane", "swipePane"}) {
        if (QString(name) == "swipePane") {
            QTest::mouseClick(m_window->findChild<QAbstractButton*>("swipeButton"), Qt::LeftButton);
            ASSERT_TRUE(waitUntil([&] { return pane(name).isVisible(); }));
            ASSERT_TRUE(shown());
        }
        const QImage before = pictureOf(pane("profileChart"));
        const QPointF centre = view().centre();
        const QPoint from = pixelOf(pane(name), line.p1());
        EXPECT_EQ(cursorAt(pane(name), line.p1()), Qt::PointingHandCursor) << name;
        drag(pane(name), from, QPoint(8, -14));
        QTest::mouseRelease(&pane(name), Qt::LeftButton, {}, from + QPoint(8, -14));
        ASSERT_TRUE(shown());
        EXPECT_EQ(view().centre(), centre) << "the ground stays";
        EXPECT_NE(pictureOf(pane("profileChart")), before) << name;
        line.setP1(line.p1() + QPointF(8.0, 14.0) * view().metresPerPixel());
        EXPECT_EQ(cursorAt(pane("differencePane"), line.p1()), Qt::PointingHandCursor) << name;
        EXPECT_EQ(cursorAt(pane("differencePane"), line.p2()), Qt::PointingHandCursor) << name;
    }
    keepPicture(images(), "image-window-swipe-dragged");
}

TEST_F(ProfileLineTest, DraggingTheBodyMovesTheLineWhole) {
    showAnomaly();
    const QLineF line = firstLine();
    QWidget& old = pane("oldPane");
    const QPointF grabbed = line.pointAt(0.3);
    EXPECT_EQ(cursorAt(old, grabbed), Qt::SizeAllCursor);
    QSignalSpy moved(&old, SIGNAL(profileLineDragged(QLineF)));
    drag(old, pixelOf(old, grabbed), QPoint(0, 30));
    QTest::mouseRelease(&old, Qt::LeftButton, {}, pixelOf(old, grabbed) + QPoint(0, 30));
    ASSERT_FALSE(moved.isEmpty());
    const QLineF now = moved.last().at(0).toLineF();
    EXPECT_NEAR(now.length(), line.length(), 1e-6);
    EXPECT_NEAR(now.y1(), line.y1() - 30.0 * view().metresPerPixel(), 1e-6);
    EXPECT_EQ(cursorAt(pane("newPane"), now.pointAt(0.3)), Qt::SizeAllCursor);
    EXPECT_EQ(cursorAt(pane("newPane"), now.pointAt(0.3) + QPointF(0.0, 20.0) * view().metresPerPixel()),
              Qt::CrossCursor);
    ASSERT_TRUE(shown());
    keepPicture(images(), "image-window-dragged");
}

TEST_F(ProfileLineTest, EscapePutsTheLineBackWhileItIsDragged) {
    showAnomaly();
    const QLineF line = firstLine();
    QWidget& old = pane("oldPane");
    const QImage before = pictureOf(pane("profileChart"));
    const QPointF centre = view().centre();
    const QPoint from = pixelOf(old, line.p2());
    drag(old, from, QPoint(-40, -40));
    ASSERT_TRUE(shown());
    EXPECT_NE(pictureOf(pane("profileChart")), before);
    ASSERT_TRUE(old.hasFocus());
    QTest::keyClick(&old, Qt::Key_Escape);
    movePointer(old, from + QPoint(-60, -60), Qt::LeftButton);
    QTest::mouseRelease(&old, Qt::LeftButton, {}, from + QPoint(-60, -60));
    ASSERT_TRUE(shown());
    EXPECT_EQ(pictureOf(pane("profileChart")), before);
    EXPECT_EQ(cursorAt(pane("newPane"), line.p2()), Qt::PointingHandCursor);
    EXPECT_EQ(view().centre(), centre) << "the rest of the gesture moves nothing";
}

TEST_F(ProfileLineTest, ADoubleClickOnTheLineStillFits) {
    showAnomaly();
    const QPointF centre = view().centre();
    view().moveBy(QPointF(1.0, 0.0));
    QWidget& old = pane("oldPane");
    QTest::mouseDClick(&old, Qt::LeftButton, {}, pixelOf(old, firstLine().center()));
    QTest::mouseRelease(&old, Qt::LeftButton, {}, pixelOf(old, firstLine().center()));
    EXPECT_NEAR(view().centre().x(), centre.x(), 1e-6);
    EXPECT_EQ(cursorAt(old, firstLine().p1()), Qt::PointingHandCursor) << "the line stays";
}

TEST_F(ProfileLineTest, TheNextAnomalyHasALineOfItsOwn) {
    showAnomaly();
    QWidget& old = pane("oldPane");
    const QPoint from = pixelOf(old, firstLine().p1());
    drag(old, from, QPoint(20, 40));
    images().CreatZoomItem(m_item, m_item->m_diffData.m_anomalies.at(1)); // in the midst of the drag
    movePointer(old, from, Qt::LeftButton);
    QTest::mouseRelease(&old, Qt::LeftButton, {}, from);
    images().CreatZoomItem(m_item, anomaly());
    ASSERT_TRUE(shown());
    EXPECT_EQ(cursorAt(pane("newPane"), firstLine().p1()), Qt::PointingHandCursor);
}

TEST_F(ProfileLineTest, ThePointerAlongTheProfileIsMarkedInThePanes) {
    showAnomaly();
    QWidget& chart = pane("profileChart");
    const QImage before = pictureOf(pane("newPane"));
    movePointer(chart, QPoint(chart.width() / 2, chart.height() / 2));
    ASSERT_TRUE(view().pointer().has_value());
    const QLineF line = firstLine();
    const QPointF first = *view().pointer();
    EXPECT_NEAR(QLineF(line.p1(), first).length() + QLineF(first, line.p2()).length(), line.length(), 1e-6)
        << "on the line";
    EXPECT_NE(pictureOf(pane("newPane")), before) << "a crosshair";
    movePointer(chart, QPoint(chart.width() * 3 / 4, chart.height() / 2));
    EXPECT_LT(QLineF(*view().pointer(), line.p2()).length(), QLineF(first, line.p2()).length());
    keepPicture(images(), "image-window-crosshair");

    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&chart, &leave);
    EXPECT_FALSE(view().pointer().has_value());
    EXPECT_EQ(pictureOf(pane("newPane")), before);
}

} // namespace
