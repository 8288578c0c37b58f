// The rectangle that a Shift drag draws: its look, its corners, and what it does to the left mouse button.

#include "tests/plugin/anomaly/AnomalyFixture.h"

#include <osgEarth/GLUtils>
#include <osgEarth/Terrain>
#include <osgEarth/Viewpoint>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthUtil/EarthManipulator>

namespace {

using osgEarth::Symbology::AltitudeSymbol;
using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Util::EarthManipulator;
using osgGA::GUIEventAdapter;

class FrameSelection : public AnomalyTest {
protected:
    FrameSelection() { startTool(); }

    QPoint firstCorner() const { return pixelAt(SmallProject::kLeft + 16.0, SmallProject::kTop - 4.0); }
    QPoint lastCorner() const { return pixelAt(SmallProject::kLeft + 40.0, SmallProject::kTop - 35.0); }
    /// Shift and the button stay down.
    void drawFrame() {
        keyDown(Qt::Key_Shift);
        moveTo(firstCorner());
        press(firstCorner());
        moveTo(lastCorner());
    }
    void endFrame() {
        release(lastCorner());
        keyUp(Qt::Key_Shift);
    }
    const osgEarth::Symbology::Geometry& line() const { return *frameNode()->getFeature()->getGeometry(); }
    EarthManipulator::Action leftDrag() const {
        return m_host.globe->getManipulator()->getSettings()->find(GUIEventAdapter::DRAG,
                                                                   GUIEventAdapter::LEFT_MOUSE_BUTTON, 0);
    }
};

TEST_F(FrameSelection, IsARedLineOfTwoDrapedOnTheTerrain) {
    drawFrame();
    ASSERT_NE(frameNode(), nullptr);
    EXPECT_EQ(frameNode()->getName(), "FrameSelect");
    const auto& style = frameNode()->getStyle();
    ASSERT_NE(style.get<LineSymbol>(), nullptr);
    EXPECT_EQ(style.get<LineSymbol>()->stroke()->color(), Color::Red);
    EXPECT_EQ(style.get<LineSymbol>()->stroke()->width().get(), 2.0F);
    ASSERT_NE(style.get<AltitudeSymbol>(), nullptr);
    EXPECT_EQ(style.get<AltitudeSymbol>()->clamping().get(), AltitudeSymbol::CLAMP_TO_TERRAIN);
    EXPECT_EQ(style.get<AltitudeSymbol>()->technique().get(), AltitudeSymbol::TECHNIQUE_DRAPE);
    EXPECT_DOUBLE_EQ(style.get<AltitudeSymbol>()->verticalOffset()->eval(), 0.1);
    endFrame();
}

TEST_F(FrameSelection, IsSeenOnTheGlobeWhileItIsDrawnAndNotAfterwards) {
    const auto redPixelsNear = [this](const QPoint& place) {
        m_host.settle();
        const QImage picture = m_host.globe->grabFramebuffer();
        int count = 0;
        for (int dy = -4; dy <= 4; ++dy) {
            for (int dx = -4; dx <= 4; ++dx) {
                const QColor pixel = picture.pixelColor(place + QPoint(dx, dy));
                count += pixel.red() > 200 && pixel.green() < 80 && pixel.blue() < 80 ? 1 : 0;
            }
        }
        return count;
    };
    const QPoint onTheLeftEdge(firstCorner().x(), (firstCorner().y() + 3 * lastCorner().y()) / 4);
    EXPECT_EQ(redPixelsNear(onTheLeftEdge), 0);
    drawFrame();
    EXPECT_GT(redPixelsNear(onTheLeftEdge), 4);
    endFrame();
    EXPECT_EQ(redPixelsNear(onTheLeftEdge), 0);
}

TEST_F(FrameSelection, KeepsTheHeightsOfItsTwoPickedCorners) {
    drawFrame();
    ASSERT_EQ(line().size(), 5U);
    for (const std::size_t corner : {0U, 2U, 4U}) {
        double ground = 0.0;
        const osgEarth::MapNode& mapNode = *m_host.globe->getMapNode();
        ASSERT_TRUE(mapNode.getTerrain()->getHeight(mapNode.getMapSRS(), line()[corner].x(),
                                                    line()[corner].y(), &ground));
        ASSERT_GT(ground, 10.0);
        EXPECT_NEAR(line()[corner].z(), ground, 1.0) << corner;
    }
    endFrame();
}

TEST_F(FrameSelection, StartsAnewWhereShiftWasReleased) {
    drawFrame();
    keyUp(Qt::Key_Shift);
    keyDown(Qt::Key_Shift);
    moveTo(lastCorner() + QPoint(40, 30));
    ASSERT_NE(frameNode(), nullptr);
    ASSERT_EQ(line().size(), 5U);
    EXPECT_EQ(pixelOf(osg::Vec2d(line()[0].x(), line()[0].y())), lastCorner());
    endFrame();
}

TEST_F(FrameSelection, StartsAtTheLastPlaceOnTheGlobeThatThePointerWasAt) {
    m_host.globe->getManipulator()->setViewpoint(
        osgEarth::Viewpoint("", 114.0, 30.7, 0.0, 0.0, -89.9, 3.0e7));
    m_host.settle();
    const QPoint middle = m_host.globe->rect().center();
    const QPoint last = middle + QPoint(-25, 10);
    const QPoint sky(3, 3);
    moveTo(last);
    moveTo(sky);
    keyDown(Qt::Key_Shift);
    press(sky);
    moveTo(middle + QPoint(20, -15));
    ASSERT_NE(frameNode(), nullptr);
    ASSERT_EQ(line().size(), 5U);
    for (const std::size_t corner : {0U, 4U}) {
        const QPoint drawn = pixelOf(osg::Vec2d(line()[corner].x(), line()[corner].y()));
        EXPECT_LE((drawn - last).manhattanLength(), 2) << drawn.x() << ' ' << drawn.y();
    }
    release(middle);
    keyUp(Qt::Key_Shift);
}

TEST_F(FrameSelection, StandsInAGroupWithTheGlobesDefaultState) {
    const auto groups = m_host.groupsNamed("FrameSelect");
    ASSERT_EQ(groups.size(), 1U);
    ASSERT_NE(groups[0]->getStateSet(), nullptr);
    const osg::ref_ptr<osg::StateSet> defaults = new osg::StateSet;
    osgEarth::GLUtils::setGlobalDefaults(defaults);
    ASSERT_FALSE(defaults->getUniformList().empty());
    EXPECT_EQ(groups[0]->getStateSet()->compare(*defaults, true), 0);
}

TEST_F(FrameSelection, TakesTheLeftButtonFromTheGlobeUntilTheNextOrdinaryDrag) {
    EXPECT_EQ(static_cast<int>(leftDrag().type), 16);
    drawFrame();
    EXPECT_EQ(static_cast<int>(leftDrag().type), 0);
    endFrame();
    EXPECT_EQ(leftDrag().type, EarthManipulator::ACTION_NULL) << "nothing gives it back by itself";
    moveTo(emptyGround());
    press(emptyGround());
    moveTo(emptyGround() + QPoint(5, 5));
    EXPECT_EQ(leftDrag().type, EarthManipulator::ACTION_EARTH_DRAG);
    EXPECT_TRUE(leftDrag().options.empty());
    release(emptyGround() + QPoint(5, 5));
}

TEST_F(FrameSelection, GivesTheLeftButtonBackToTheGlobeWhenTheToolIsLeft) {
    drawFrame();
    endFrame();
    ASSERT_EQ(leftDrag().type, EarthManipulator::ACTION_NULL);
    stopTool();
    EXPECT_EQ(leftDrag().type, EarthManipulator::ACTION_EARTH_DRAG);
    EXPECT_TRUE(leftDrag().options.empty());
}

TEST_F(FrameSelection, AsksAtEachStepOfTheDragWhileDeleteIsHeld) {
    const BoxAnswerer boxes(BoxAnswerer::No);
    sendAt(GUIEventAdapter::MOVE, firstCorner(), 0);
    sendAt(GUIEventAdapter::KEYDOWN, firstCorner(), 0, GUIEventAdapter::KEY_Shift_L);
    sendAt(GUIEventAdapter::KEYDOWN, firstCorner(), 0, GUIEventAdapter::KEY_Delete);
    sendAt(GUIEventAdapter::PUSH, firstCorner(), GUIEventAdapter::LEFT_MOUSE_BUTTON);
    EXPECT_TRUE(boxes.texts.isEmpty());
    sendAt(GUIEventAdapter::DRAG, lastCorner(), 0);
    EXPECT_EQ(boxes.texts, QStringList{"是否删除变形信息?"});
    sendAt(GUIEventAdapter::DRAG, lastCorner() + QPoint(4, 4), 0);
    EXPECT_EQ(boxes.texts.size(), 2);
    sendAt(GUIEventAdapter::KEYUP, firstCorner(), 0, GUIEventAdapter::KEY_Delete);
    sendAt(GUIEventAdapter::DRAG, lastCorner(), 0);
    EXPECT_EQ(boxes.texts.size(), 2);
    sendAt(GUIEventAdapter::RELEASE, lastCorner(), GUIEventAdapter::LEFT_MOUSE_BUTTON);
    sendAt(GUIEventAdapter::KEYUP, lastCorner(), 0, GUIEventAdapter::KEY_Shift_L);
}

TEST_F(FrameSelection, AsksNothingWithoutShiftWhileDeleteIsHeld) {
    const BoxAnswerer boxes(BoxAnswerer::No);
    sendAt(GUIEventAdapter::KEYDOWN, emptyGround(), 0, GUIEventAdapter::KEY_Delete);
    sendAt(GUIEventAdapter::PUSH, emptyGround(), GUIEventAdapter::LEFT_MOUSE_BUTTON);
    sendAt(GUIEventAdapter::DRAG, emptyGround() + QPoint(5, 5), 0);
    EXPECT_TRUE(boxes.texts.isEmpty());
    sendAt(GUIEventAdapter::RELEASE, emptyGround(), GUIEventAdapter::LEFT_MOUSE_BUTTON);
}

} // namespace
