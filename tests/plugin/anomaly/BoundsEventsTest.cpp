// What pointer and keys do to the anomaly tool while it picks by the bounds of the anomalies.

#include "tests/plugin/anomaly/AnomalyFixture.h"
#include "tests/support/WaitUntil.h"

#include <QTest>

#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

namespace {

using osgGA::GUIEventAdapter;

class BoundsEvents : public AnomalyTest {
protected:
    BoundsEvents() {
        pickByBounds(true);
        startTool();
    }
    /// On the line between the centres of the two overlapping anomalies; 0 is the left one's centre, 1 the
    /// right one's.
    QPoint between(double share) const {
        return pixelAt(SmallProject::kLeft + 54.0 + 12.0 * share, SmallProject::kTop - 16.0);
    }
};

TEST_F(BoundsEvents, APressInTheBoundsHighlights) {
    leftClick(pixelOf(known::fill));
    EXPECT_EQ(highlighted(), QStringList{known::fill});
    const QColor yellow = colourOf(known::fill);
    EXPECT_GT(yellow.green(), yellow.blue() + 80) << "what is judged is seen through it";
}

TEST_F(BoundsEvents, OfTwoOverlappingOnlyTheOneWithTheNearerCentreIsHighlighted) {
    leftClick(between(0.3));
    EXPECT_EQ(highlighted(), QStringList{known::left});
    leftClick(between(0.7));
    EXPECT_EQ(highlighted(), QStringList{known::right});
}

TEST_F(BoundsEvents, APressBesideAllBoundsClears) {
    leftClick(pixelOf(known::fill));
    leftClick(emptyGround());
    EXPECT_TRUE(highlighted().isEmpty());
}

TEST_F(BoundsEvents, WithCtrlEveryHitJoinsAndAllStayHighlighted) {
    keyDown(Qt::Key_Control);
    leftClick(pixelOf(known::fill));
    leftClick(between(0.5));
    EXPECT_EQ(highlighted(), (QStringList{known::fill, known::left, known::right}));
    leftClick(emptyGround());
    EXPECT_EQ(highlighted(), (QStringList{known::fill, known::left, known::right}));
    keyUp(Qt::Key_Control);
    leftClick(pixelOf(known::cut));
    EXPECT_EQ(highlighted(), QStringList{known::cut});
}

TEST_F(BoundsEvents, HighlightingTwiceLooksLikeOnce) {
    keyDown(Qt::Key_Control);
    leftClick(pixelOf(known::fill));
    const QColor once = colourOf(known::fill);
    EXPECT_GT(once.green(), once.blue() + 80);
    leftClick(pixelOf(known::fill)); // which joins and is highlighted a second time
    EXPECT_EQ(highlighted(), QStringList{known::fill});
    EXPECT_EQ(colourOf(known::fill), once);
    keyUp(Qt::Key_Control);
}

TEST_F(BoundsEvents, APressShowsTheElevationDifferenceAsWell) {
    leftClick(pixelOf(known::cut));
    ASSERT_NE(valueLabel(), nullptr);
    EXPECT_NEAR(QString::fromStdString(valueLabel()->getText()).toDouble(), -2.0, 0.05);
    EXPECT_EQ(valueLabelCount(), 1);
}

TEST_F(BoundsEvents, AShiftDragDrawsNoRectangle) {
    keyDown(Qt::Key_Shift);
    moveTo(emptyGround());
    press(emptyGround());
    moveTo(emptyGround() + QPoint(60, 60));
    EXPECT_EQ(frameNode(), nullptr);
    release(emptyGround() + QPoint(60, 60));
    keyUp(Qt::Key_Shift);
}

TEST_F(BoundsEvents, ARightClickOpensNoMenuBecauseNothingWasPickedByHovering) {
    leftClick(pixelOf(known::fill));
    const MenuChooser menus;
    rightClick(pixelOf(known::fill));
    EXPECT_TRUE(menus.menus.empty());
}

TEST_F(BoundsEvents, DeleteHeldAsksWhereAnAnomalyIsHitAndNotWhereNoneIs) {
    BoxAnswerer boxes(BoxAnswerer::No);
    keyDown(Qt::Key_Delete);
    leftClick(emptyGround());
    EXPECT_TRUE(boxes.texts.isEmpty());
    leftClick(pixelOf(known::fill));
    EXPECT_EQ(boxes.texts, QStringList{"是否删除变形信息?"});
    EXPECT_EQ(storedCount(), 9);
}

TEST_F(BoundsEvents, WithCtrlAndDeleteHeldAPressAsksWhereverItIs) {
    sendAt(GUIEventAdapter::KEYDOWN, outside(), 0, GUIEventAdapter::KEY_Delete);
    sendAt(GUIEventAdapter::KEYDOWN, outside(), 0, GUIEventAdapter::KEY_Control_L);
    const BoxAnswerer boxes(BoxAnswerer::No);
    sendAt(GUIEventAdapter::PUSH, emptyGround(), GUIEventAdapter::LEFT_MOUSE_BUTTON);
    EXPECT_EQ(boxes.texts.size(), 1);
    sendAt(GUIEventAdapter::PUSH, pixelOf(known::fill), GUIEventAdapter::LEFT_MOUSE_BUTTON);
    EXPECT_EQ(boxes.texts.size(), 2);
    EXPECT_EQ(highlighted(), QStringList{known::fill});
    for (const int key : {GUIEventAdapter::KEY_Delete, GUIEventAdapter::KEY_Control_L}) {
        sendAt(GUIEventAdapter::KEYUP, outside(), 0, key);
    }
}

TEST_F(BoundsEvents, WithoutAMapSystemAPressOnlyForgetsWhatHoveringPickedAndAsksWithDelete) {
    pickByBounds(false);
    leftClick(pixelOf(known::fill));
    ASSERT_EQ(highlighted(), QStringList{known::fill});
    pickByBounds(true);
    const osgEarth::SpatialReference* mapSystem = m_engine.GetMapSRS();
    m_engine.setMapSRS(nullptr);
    const BoxAnswerer boxes(BoxAnswerer::No);
    sendAt(GUIEventAdapter::PUSH, pixelOf(known::cut), GUIEventAdapter::LEFT_MOUSE_BUTTON);
    EXPECT_TRUE(boxes.texts.isEmpty());
    EXPECT_EQ(highlighted(), QStringList{known::fill}) << "what was picked by hovering keeps its colour";
    sendAt(GUIEventAdapter::KEYDOWN, outside(), 0, GUIEventAdapter::KEY_Delete);
    sendAt(GUIEventAdapter::PUSH, emptyGround(), GUIEventAdapter::LEFT_MOUSE_BUTTON);
    EXPECT_EQ(boxes.texts, QStringList{"是否删除变形信息?"});
    m_engine.setMapSRS(mapSystem);
    sendAt(GUIEventAdapter::KEYUP, outside(), 0, GUIEventAdapter::KEY_Delete);

    const MenuChooser menus;
    rightClick(pixelOf(known::fill));
    EXPECT_TRUE(menus.menus.empty()) << "but is no longer chosen";
}

TEST_F(BoundsEvents, ADoubleClickWorksAsInTheOtherMode) {
    doubleClick(pixelOf(known::cut));
    EXPECT_EQ(selectedRows(), QStringList{known::cut});
}

TEST_F(BoundsEvents, BackToHoveringTheNextPressClearsWhatTheBoundsHighlighted) {
    leftClick(pixelOf(known::fill));
    stopTool();
    EXPECT_EQ(highlighted(), QStringList{known::fill}) << "leaving clears what hovering picked only";
    pickByBounds(false);
    startTool();
    leftClick(pixelOf(known::quoted));
    EXPECT_EQ(highlighted(), QStringList{known::quoted});
    EXPECT_EQ(valueLabelCount(), 1);
}

TEST_F(BoundsEvents, TheTableAndTheHighlightAreInStep) {
    showStation(0);
    leftClick(between(0.3));
    EXPECT_EQ(selectedRows(), QStringList{known::left});
    for (int row = 0; row < table().model()->rowCount(); ++row) {
        const QModelIndex index = table().model()->index(row, 0);
        if (index.data().toString() == known::quoted) {
            QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, table().visualRect(index).center());
        }
    }
    EXPECT_TRUE(waitUntil([&] { return highlighted() == QStringList{known::quoted}; }));
    leftClick(pixelOf(known::fill));
    EXPECT_EQ(highlighted(), QStringList{known::fill});
}

} // namespace
