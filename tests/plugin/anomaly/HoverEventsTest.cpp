// What pointer and keys do to the anomaly tool while it picks by hovering.

#include "tests/plugin/anomaly/AnomalyFixture.h"
#include "tests/support/WaitUntil.h"

#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"

#include <QLabel>
#include <QTest>
#include <QTreeWidget>

#include <osgEarth/Viewpoint>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthSymbology/Geometry>
#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/View>

namespace {

using osgGA::GUIEventAdapter;

class HoverEvents : public AnomalyTest {
protected:
    HoverEvents() { startTool(); }

    osg::Vec3d eye() const {
        return m_host.globe->getViewer()->getCamera()->getInverseViewMatrix().getTrans();
    }
    /// How far the eye has gone since `before`, metres.
    double moved(const osg::Vec3d& before) const { return (eye() - before).length(); }
    /// Presses at `from` and drags to `to` in steps; the button stays down.
    void dragTo(const QPoint& from, const QPoint& to) {
        moveTo(from);
        press(from);
        for (int step = 1; step <= 4; ++step) {
            moveTo(from + (to - from) * step / 4);
        }
    }
    int frameVertices() const {
        return frameNode() ? static_cast<int>(frameNode()->getFeature()->getGeometry()->size()) : 0;
    }
};

TEST_F(HoverEvents, APressOnAnAnomalyTurnsItYellow) {
    const QColor before = colourOf(known::fill);
    leftClick(pixelOf(known::fill));
    EXPECT_EQ(highlighted(), QStringList{known::fill});
    const QColor after = colourOf(known::fill);
    EXPECT_LT(before.green(), before.red() / 2) << "fill is shown in red";
    EXPECT_GT(after.green(), after.blue() + 80);
    EXPECT_NEAR(after.red(), after.green(), 40);

    leftClick(emptyGround());
    EXPECT_EQ(colourOf(known::fill), before) << "and back";
}

TEST_F(HoverEvents, APressOnAnotherAnomalyMovesTheHighlight) {
    leftClick(pixelOf(known::fill));
    leftClick(pixelOf(known::quoted));
    EXPECT_EQ(highlighted(), QStringList{known::quoted});
}

TEST_F(HoverEvents, APressBesideAllAnomaliesClearsTheSelection) {
    leftClick(pixelOf(known::fill));
    leftClick(emptyGround());
    EXPECT_TRUE(highlighted().isEmpty());
    leftClick(pixelOf(known::fill));
    EXPECT_EQ(highlighted(), QStringList{known::fill}) << "and it can be taken again";
}

TEST_F(HoverEvents, APressOnTheSelectedAnomalyKeepsTheOthers) {
    leftClick(pixelOf(known::fill));
    ctrlClick(pixelOf(known::cut));
    leftClick(pixelOf(known::fill));
    EXPECT_EQ(highlighted(), (QStringList{known::fill, known::cut}));
}

TEST_F(HoverEvents, OnlyMovementChangesWhatIsPicked) {
    moveTo(pixelOf(known::fill));
    // Without a move in between the press still takes what the pointer was over.
    press(emptyGround());
    EXPECT_EQ(highlighted(), QStringList{known::fill});
    release(emptyGround());
}

TEST_F(HoverEvents, CtrlClickingTheSameAnomalyTwiceHighlightsItAndClearsItAgain) {
    ctrlClick(pixelOf(known::fill));
    EXPECT_EQ(highlighted(), QStringList{known::fill});
    ctrlClick(pixelOf(known::fill));
    EXPECT_TRUE(highlighted().isEmpty());
}

TEST_F(HoverEvents, CtrlAddsToTheSelectionAndBesideAllAnomaliesLeavesIt) {
    leftClick(pixelOf(known::fill));
    ctrlClick(pixelOf(known::cut));
    ctrlClick(emptyGround());
    EXPECT_EQ(highlighted(), (QStringList{known::fill, known::cut}));
    leftClick(pixelOf(known::quoted));
    EXPECT_EQ(highlighted(), QStringList{known::quoted}) << "Ctrl was released";
}

TEST_F(HoverEvents, APressShowsTheElevationDifferenceThere) {
    leftClick(pixelOf(known::fill));
    ASSERT_NE(valueLabel(), nullptr);
    EXPECT_NEAR(QString::fromStdString(valueLabel()->getText()).toDouble(), 3.0, 0.05);
    leftClick(pixelOf(known::cut));
    EXPECT_NEAR(QString::fromStdString(valueLabel()->getText()).toDouble(), -2.0, 0.05);
    EXPECT_EQ(valueLabelCount(), 1);
}

TEST_F(HoverEvents, APressWhereNoStationContainsThePointShowsZero) {
    leftClick(outside());
    ASSERT_NE(valueLabel(), nullptr);
    EXPECT_EQ(valueLabel()->getText(), "0");
}

TEST_F(HoverEvents, WithShiftHeldAPressLeavesTheLabel) {
    leftClick(pixelOf(known::fill));
    const osg::ref_ptr<osgEarth::Annotation::PlaceNode> label = valueLabel();
    keyDown(Qt::Key_Shift);
    leftClick(outside());
    EXPECT_EQ(valueLabel(), label.get());
    keyUp(Qt::Key_Shift);
}

TEST_F(HoverEvents, LeavingTheToolTakesLabelHighlightAndPickerAway) {
    leftClick(pixelOf(known::fill));
    stopTool();
    EXPECT_EQ(valueLabel(), nullptr);
    EXPECT_TRUE(highlighted().isEmpty());
    EXPECT_EQ(m_host.pickerCount(), 0);
    EXPECT_TRUE(selectedRows().isEmpty());
    leftClick(pixelOf(known::fill));
    EXPECT_TRUE(highlighted().isEmpty()) << "a tool that was left hears nothing";
    startTool();
    leftClick(pixelOf(known::fill));
    EXPECT_EQ(highlighted(), QStringList{known::fill});
}

TEST_F(HoverEvents, ADragWithoutShiftMovesTheGlobe) {
    const osg::Vec3d before = eye();
    dragTo(emptyGround(), emptyGround() + QPoint(80, 40));
    release(emptyGround() + QPoint(80, 40));
    EXPECT_GT(moved(before), 5.0);
    EXPECT_EQ(frameVertices(), 0);
}

TEST_F(HoverEvents, AShiftDragDrawsTheRectangleSelectsWhatItHoldsAndTheGlobeStandsStill) {
    const osg::Vec3d before = eye();
    const QPoint corner = pixelAt(SmallProject::kLeft + 16.0, SmallProject::kTop - 4.0);
    keyDown(Qt::Key_Shift);
    dragTo(corner, pixelAt(SmallProject::kLeft + 95.0, SmallProject::kTop - 30.0));
    EXPECT_LT(moved(before), 0.01);
    EXPECT_EQ(highlighted(), (QStringList{known::fill, known::left, known::right}));
    ASSERT_EQ(frameVertices(), 5);
    const auto& line = *frameNode()->getFeature()->getGeometry();
    EXPECT_EQ(line[0], line[4]) << "closed by repeating the first point";
    EXPECT_EQ(line[1].x(), line[0].x());
    EXPECT_EQ(line[1].y(), line[2].y());
    EXPECT_EQ(line[3].x(), line[2].x());
    EXPECT_EQ(line[3].y(), line[0].y());
    EXPECT_EQ(line[1].z(), 0.0);
    EXPECT_EQ(line[3].z(), 0.0);
    EXPECT_EQ(pixelOf(osg::Vec2d(line[0].x(), line[0].y())), corner);

    // Larger takes in more, smaller lets go.
    moveTo(pixelAt(SmallProject::kLeft + 95.0, SmallProject::kTop - 78.0));
    EXPECT_EQ(highlighted(),
              (QStringList{known::quoted, known::fill, known::left, known::right, known::longName()}));
    moveTo(pixelAt(SmallProject::kLeft + 40.0, SmallProject::kTop - 35.0));
    EXPECT_EQ(highlighted(), QStringList{known::fill});
    release(pixelAt(SmallProject::kLeft + 40.0, SmallProject::kTop - 35.0));
    keyUp(Qt::Key_Shift);
}

TEST_F(HoverEvents, ReleasingShiftEndsTheRectangleAndLeavesTheSelection) {
    keyDown(Qt::Key_Shift);
    dragTo(pixelAt(SmallProject::kLeft + 16.0, SmallProject::kTop - 4.0),
           pixelAt(SmallProject::kLeft + 40.0, SmallProject::kTop - 35.0));
    ASSERT_EQ(frameVertices(), 5);
    keyUp(Qt::Key_Shift);
    EXPECT_EQ(frameVertices(), 0);
    EXPECT_EQ(m_host.groupsNamed("FrameSelect").size(), 1U) << "the empty group is back";
    EXPECT_EQ(highlighted(), QStringList{known::fill});
    release(pixelAt(SmallProject::kLeft + 40.0, SmallProject::kTop - 35.0));
}

TEST_F(HoverEvents, ReleasingTheButtonWithShiftHeldStartsTheNextRectangleThere) {
    keyDown(Qt::Key_Shift);
    const QPoint end = pixelAt(SmallProject::kLeft + 40.0, SmallProject::kTop - 35.0);
    dragTo(pixelAt(SmallProject::kLeft + 16.0, SmallProject::kTop - 4.0), end);
    release(end);
    EXPECT_EQ(frameVertices(), 0);
    EXPECT_EQ(highlighted(), QStringList{known::fill});
    press(end);
    moveTo(end + QPoint(60, 40));
    ASSERT_EQ(frameVertices(), 5);
    const auto& start = (*frameNode()->getFeature()->getGeometry())[0];
    EXPECT_EQ(pixelOf(osg::Vec2d(start.x(), start.y())), end);
    release(end + QPoint(60, 40));
    keyUp(Qt::Key_Shift);
}

TEST_F(HoverEvents, ADragBeyondTheHorizonDrawsNoRectangle) {
    m_host.globe->getManipulator()->setViewpoint(
        osgEarth::Viewpoint("", 114.0, 30.7, 0.0, 0.0, -89.9, 3.0e7));
    m_host.settle();
    const QPoint onGlobe = m_host.globe->rect().center();
    keyDown(Qt::Key_Shift);
    moveTo(onGlobe);
    press(onGlobe);
    moveTo(QPoint(3, 3));
    EXPECT_EQ(frameVertices(), 0);
    moveTo(onGlobe + QPoint(30, 30));
    ASSERT_EQ(frameVertices(), 5);
    release(onGlobe);
    keyUp(Qt::Key_Shift);
}

TEST_F(HoverEvents, AfterAnotherDragWithoutShiftTheGlobeMovesAgain) {
    keyDown(Qt::Key_Shift);
    dragTo(emptyGround(), emptyGround() + QPoint(30, 30));
    release(emptyGround() + QPoint(30, 30));
    keyUp(Qt::Key_Shift);
    const osg::Vec3d before = eye();
    dragTo(emptyGround(), emptyGround() + QPoint(80, 40));
    moveTo(emptyGround() + QPoint(120, 60));
    release(emptyGround() + QPoint(120, 60));
    dragTo(emptyGround(), emptyGround() + QPoint(80, 40));
    release(emptyGround() + QPoint(80, 40));
    EXPECT_GT(moved(before), 5.0);
}

TEST_F(HoverEvents, ADoubleClickShowsTheAnomalyInTheImageWindowAndSelectsItsRow) {
    doubleClick(pixelOf(known::cut));
    EXPECT_TRUE(tableNames().contains(known::cut)) << "the table shows the second station now";
    EXPECT_EQ(selectedRows(), QStringList{known::cut});
    const auto* caption = m_host.window.findChild<QLabel*>("imageCaption");
    ASSERT_NE(caption, nullptr);
    EXPECT_TRUE(caption->text().contains(known::cut)) << caption->text().toStdString();
}

TEST_F(HoverEvents, ADoubleClickOutsideAllStationsShowsNothing) {
    const QString before = m_host.window.findChild<QLabel*>("imageCaption")->text();
    doubleClick(outside());
    EXPECT_EQ(m_host.window.findChild<QLabel*>("imageCaption")->text(), before);
}

TEST_F(HoverEvents, ADoubleClickTooFarFromItsPressIsNone) {
    const QString before = m_host.window.findChild<QLabel*>("imageCaption")->text();
    const QPoint at = pixelOf(known::cut);
    const auto y = static_cast<float>(m_host.globe->height() - 1 - at.y());
    send(GUIEventAdapter::MOVE, static_cast<float>(at.x() - 4), y);
    send(GUIEventAdapter::DOUBLECLICK, static_cast<float>(at.x()), y, GUIEventAdapter::LEFT_MOUSE_BUTTON);
    EXPECT_EQ(m_host.window.findChild<QLabel*>("imageCaption")->text(), before);
}

TEST_F(HoverEvents, AStationWhoseAnomaliesAreNotShownIsNotHit) {
    auto* tree = IORVAContext::Instance()->GetStationWindow()->findChild<QTreeWidget*>();
    const QPoint at = pixelOf(known::cut);
    tree->topLevelItem(0)->child(1)->setCheckState(0, Qt::Unchecked);
    leftClick(at);
    EXPECT_EQ(valueLabel()->getText(), "0");
    doubleClick(at);
    EXPECT_FALSE(tableNames().contains(known::cut));
}

TEST_F(HoverEvents, ThatDoNotComeFromAViewDoNothing) {
    struct NoView : osgGA::GUIActionAdapter {
        void requestRedraw() override {}
        void requestContinuousUpdate(bool) override {}
        void requestWarpPointer(float, float) override {}
    } nobody;
    leftClick(pixelOf(known::fill));
    const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
    event->setEventType(GUIEventAdapter::PUSH);
    event->setButton(GUIEventAdapter::LEFT_MOUSE_BUTTON);
    const osg::ref_ptr<osgEarth::Annotation::PlaceNode> label = valueLabel();
    EXPECT_FALSE(m_host.handler("查看\\编辑异常").handle(*event, nobody));
    EXPECT_EQ(valueLabel(), label.get());
}

TEST_F(HoverEvents, TheRowsOfTheTableFollowTheHighlight) {
    leftClick(pixelOf(known::fill));
    showStation(1);
    EXPECT_TRUE(selectedRows().isEmpty()) << "it is of another station";
    showStation(0);
    EXPECT_EQ(selectedRows(), QStringList{known::fill});
    ctrlClick(pixelOf(known::quoted));
    EXPECT_EQ(selectedRows(), (QStringList{known::quoted, known::fill}));
    ctrlClick(pixelOf(known::fill));
    EXPECT_EQ(selectedRows(), QStringList{known::quoted});
    leftClick(emptyGround());
    EXPECT_TRUE(selectedRows().isEmpty());
}

TEST_F(HoverEvents, TheHighlightFollowsTheRowsOfTheTable) {
    showStation(0);
    const auto rowOf = [&](const QString& name) {
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            if (table().model()->index(row, 0).data().toString() == name) {
                return table().visualRect(table().model()->index(row, 0)).center();
            }
        }
        ADD_FAILURE() << name.toStdString();
        return QPoint();
    };
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, rowOf(known::left));
    EXPECT_TRUE(waitUntil([&] { return highlighted() == QStringList{known::left}; }));
    QTest::mouseClick(table().viewport(), Qt::LeftButton, Qt::ControlModifier, rowOf(known::right));
    EXPECT_TRUE(waitUntil([&] { return highlighted() == (QStringList{known::left, known::right}); }));
    // It is the tool's own selection then: Ctrl takes one away, a press on another replaces it.
    m_host.settle();
    ctrlClick(pixelAt(SmallProject::kLeft + 48.0, SmallProject::kTop - 16.0));
    EXPECT_EQ(highlighted(), QStringList{known::right});
    leftClick(pixelOf(known::quoted));
    EXPECT_EQ(highlighted(), QStringList{known::quoted});
}

TEST_F(HoverEvents, NewOverlaysInPlaceOfOldOnesKeepTheHighlight) {
    leftClick(pixelOf(known::fill));
    auto* tree = IORVAContext::Instance()->GetStationWindow()->findChild<QTreeWidget*>();
    tree->topLevelItem(0)->child(0)->setCheckState(0, Qt::Unchecked);
    tree->topLevelItem(0)->child(0)->setCheckState(0, Qt::Checked);
    EXPECT_TRUE(waitUntil([&] { return highlighted() == QStringList{known::fill}; }));
}

} // namespace
