// Navigation, driven by real events through the viewer's queue.
#include "ManipulatorFixture.h"

using namespace osgEarth;
using namespace osgEarth::Util;
using osgGA::GUIEventAdapter;

TEST_F(ManipulatorTest, ReadsBackTheViewpointThatWasSet) {
    for (const double heading : {-179.0, -45.0, 0.0, 90.0, 180.0}) {
        for (const double pitch : {-89.9, -45.0, -1.0}) {
            for (const double range : {5.0, 2000.0, 2.0e7}) {
                const Viewpoint wanted("", 108.9, 34.3, 450.0, heading, pitch, range);
                manipulator().setViewpoint(wanted);
                const Viewpoint got = manipulator().getViewpoint();
                EXPECT_NEAR(std::remainder(got.getHeading() - heading, 360.0), 0.0, 1e-9);
                EXPECT_NEAR(got.getPitch(), pitch, 1e-9);
                EXPECT_NEAR(got.getRange(), range, 1e-6);
                EXPECT_NEAR(got.focalPoint()->x(), 108.9, 1e-12);
                EXPECT_NEAR(got.focalPoint()->z(), 450.0, 1e-9);
                EXPECT_TRUE(got.focalPoint()->isAbsolute());
                // The camera really stands there.
                const osg::Vec3d eye = manipulator().getMatrix().getTrans();
                osg::Vec3d focal;
                got.focalPoint()->toWorld(focal);
                EXPECT_NEAR((eye - focal).length(), range, 1e-6 * range + 1e-6);
            }
        }
    }
}

TEST_F(ManipulatorTest, ClampsThePitchToItsLimits) {
    Viewpoint down = manipulator().getViewpoint();
    down.setPitch(-90.0);
    manipulator().setViewpoint(down);
    EXPECT_NEAR(manipulator().getViewpoint().getPitch(), -89.9, 1e-9);
    down.setPitch(30.0);
    manipulator().setViewpoint(down);
    EXPECT_NEAR(manipulator().getViewpoint().getPitch(), -1.0, 1e-9);
}

TEST_F(ManipulatorTest, KeepsWhatAViewpointLeavesUnset) {
    const Viewpoint before = manipulator().getViewpoint();
    Viewpoint turn;
    turn.setHeading(77.0);
    manipulator().setViewpoint(turn);
    Viewpoint expected = before;
    expected.setHeading(77.0);
    expectSame(manipulator().getViewpoint(), expected);
}

TEST_F(ManipulatorTest, FliesAndEndsExactlyThere) {
    const Viewpoint target("", 108.95, 34.35, 100.0, -30.0, -60.0, 5000.0);
    manipulator().setViewpoint(target, 0.3);
    EXPECT_TRUE(manipulator().isSettingViewpoint());
    ASSERT_TRUE(m_globe.frameUntil([&] { return !manipulator().isSettingViewpoint(); }));
    expectSame(manipulator().getViewpoint(), target);
}

TEST_F(ManipulatorTest, AsksForFramesOnlyWhileSomethingMoves) {
    m_globe.viewer().setRunFrameScheme(osgViewer::ViewerBase::ON_DEMAND);
    ASSERT_TRUE(m_globe.settle());
    m_globe.frame();
    EXPECT_FALSE(m_globe.viewer().checkNeedToDoFrame());
    manipulator().setViewpoint(Viewpoint("", 108.95, 34.35, 100.0, -30.0, -60.0, 5000.0), 0.2);
    EXPECT_TRUE(m_globe.viewer().checkNeedToDoFrame());
    m_globe.frame();
    EXPECT_TRUE(m_globe.viewer().checkNeedToDoFrame());
    ASSERT_TRUE(m_globe.frameUntil([&] { return !manipulator().isSettingViewpoint(); }));
    ASSERT_TRUE(m_globe.settle());
    m_globe.frame();
    EXPECT_FALSE(m_globe.viewer().checkNeedToDoFrame());
}

TEST_F(ManipulatorTest, DragsTheGrabbedPointWithThePointer) {
    manipulator().getSettings()->bindMouse(EarthManipulator::ACTION_EARTH_DRAG,
                                           GUIEventAdapter::LEFT_MOUSE_BUTTON);
    const osg::Vec3d grabbed = worldUnder(150.0F, 120.0F);
    drag(150.0F, 120.0F, 260.0F, 170.0F, 1);
    const osg::Vec3d window = windowOf(grabbed);
    EXPECT_NEAR(window.x(), 260.0, 0.2);
    EXPECT_NEAR(window.y(), 170.0, 0.2);
    EXPECT_NEAR(manipulator().getViewpoint().getHeading(), 20.0, 0.1);
    release(260.0F, 170.0F, 1);
}

TEST_F(ManipulatorTest, DragsTheWholeGlobe) {
    manipulator().getSettings()->bindMouse(EarthManipulator::ACTION_EARTH_DRAG,
                                           GUIEventAdapter::LEFT_MOUSE_BUTTON);
    manipulator().setViewpoint(Viewpoint("", 100.0, 20.0, 0.0, 0.0, -89.9, 2.0e7));
    ASSERT_TRUE(m_globe.settle());
    const osg::Vec3d grabbed = worldUnder(180.0F, 140.0F);
    drag(180.0F, 140.0F, 240.0F, 170.0F, 1);
    const osg::Vec3d window = windowOf(grabbed);
    EXPECT_NEAR(window.x(), 240.0, 0.5);
    EXPECT_NEAR(window.y(), 170.0, 0.5);
    release(240.0F, 170.0F, 1);
}

TEST_F(ManipulatorTest, ZoomsToThePointer) {
    const osg::Vec3d under = worldUnder(90.0F, 200.0F);
    const double before = manipulator().getDistance();
    queue().mouseMotion(90.0F, 200.0F);
    for (int i = 0; i < 3; ++i) {
        queue().mouseScroll(GUIEventAdapter::SCROLL_DOWN);
        m_globe.frame();
    }
    m_globe.frame();
    EXPECT_LT(manipulator().getDistance(), before * 0.7);
    EXPECT_NEAR(windowOf(under).x(), 90.0, 3.0);
    EXPECT_NEAR(windowOf(under).y(), 200.0, 3.0);
    queue().mouseScroll(GUIEventAdapter::SCROLL_UP);
    const double near = manipulator().getDistance();
    m_globe.frame();
    EXPECT_GT(manipulator().getDistance(), near);
}

TEST_F(ManipulatorTest, TurnsAboutTheMiddle) {
    const osg::Vec3d middle = worldUnder(200.0F, 150.0F);
    drag(200.0F, 150.0F, 260.0F, 130.0F, 2);
    EXPECT_NEAR(windowOf(middle).x(), 200.0, 1.0);
    EXPECT_NEAR(windowOf(middle).y(), 150.0, 1.0);
    EXPECT_GT(std::abs(manipulator().getViewpoint().getHeading() - 20.0), 5.0);
    release(260.0F, 130.0F, 2);
}

TEST_F(ManipulatorTest, PansWithTheArrowKeys) {
    look(m_place, -89.9, 300.0);
    Viewpoint north = manipulator().getViewpoint();
    north.setHeading(0.0);
    manipulator().setViewpoint(north);
    press(GUIEventAdapter::KEY_Up);
    EXPECT_GT(manipulator().getViewpoint().focalPoint()->y(), north.focalPoint()->y());
    press(GUIEventAdapter::KEY_Right);
    EXPECT_GT(manipulator().getViewpoint().focalPoint()->x(), north.focalPoint()->x());
}

TEST_F(ManipulatorTest, FliesToADoubleClickedPoint) {
    const osg::Vec3d clicked = worldUnder(120.0F, 180.0F);
    const double before = manipulator().getDistance();
    queue().mouseDoubleButtonPress(120.0F, 180.0F, 1);
    ASSERT_TRUE(m_globe.frameUntil(
        [&] { return !manipulator().isSettingViewpoint() && manipulator().getDistance() < before; }));
    EXPECT_NEAR(windowOf(clicked).x(), 200.0, 1.0);
    EXPECT_NEAR(windowOf(clicked).y(), 150.0, 1.0);
    EXPECT_NEAR(manipulator().getDistance(), before * 0.4, before * 0.02);
}

TEST_F(ManipulatorTest, IgnoresWhatIsBoundToNothing) {
    manipulator().getSettings()->bindMouse(EarthManipulator::ACTION_NULL, GUIEventAdapter::LEFT_MOUSE_BUTTON);
    manipulator().getSettings()->bindKey(EarthManipulator::ACTION_NULL, GUIEventAdapter::KEY_Up);
    const osg::Vec3d middle = worldUnder(200.0F, 150.0F);
    drag(150.0F, 120.0F, 260.0F, 170.0F, 1);
    release(260.0F, 170.0F, 1);
    press(GUIEventAdapter::KEY_Up);
    press(GUIEventAdapter::KEY_F5);
    EXPECT_NEAR(windowOf(middle).x(), 200.0, 0.5);
    EXPECT_NEAR(windowOf(middle).y(), 150.0, 0.5);
}

TEST_F(ManipulatorTest, MatchesModifiersExactly) {
    auto* settings = manipulator().getSettings();
    settings->bindKey(EarthManipulator::ACTION_HOME, 'h', GUIEventAdapter::MODKEY_CTRL);
    const int down = GUIEventAdapter::KEYDOWN;
    EXPECT_EQ(settings->find(down, 'h', 0).type, EarthManipulator::ACTION_NULL);
    EXPECT_EQ(settings->find(down, 'h', GUIEventAdapter::MODKEY_LEFT_CTRL).type,
              EarthManipulator::ACTION_HOME);
    EXPECT_EQ(settings->find(down, 'h', GUIEventAdapter::MODKEY_RIGHT_CTRL).type,
              EarthManipulator::ACTION_HOME);
    EXPECT_EQ(
        settings->find(down, 'h', GUIEventAdapter::MODKEY_LEFT_CTRL | GUIEventAdapter::MODKEY_NUM_LOCK).type,
        EarthManipulator::ACTION_HOME);
    EXPECT_EQ(
        settings->find(down, 'h', GUIEventAdapter::MODKEY_LEFT_CTRL | GUIEventAdapter::MODKEY_LEFT_SHIFT)
            .type,
        EarthManipulator::ACTION_NULL);
    const int dragging = GUIEventAdapter::DRAG;
    EXPECT_EQ(settings->find(dragging, 1, 0).type, EarthManipulator::ACTION_PAN);
    EXPECT_EQ(settings->find(dragging, 1, GUIEventAdapter::MODKEY_LEFT_SHIFT).type,
              EarthManipulator::ACTION_NULL);
    EXPECT_EQ(settings->find(dragging, 5, 0).type, EarthManipulator::ACTION_ROTATE);
    settings->bindMouse(EarthManipulator::ACTION_EARTH_DRAG, 1);
    EXPECT_EQ(settings->find(dragging, 1, 0).type, EarthManipulator::ACTION_EARTH_DRAG);
    manipulator().applySettings(nullptr);
    EXPECT_EQ(manipulator().getSettings()->find(dragging, 1, 0).type, EarthManipulator::ACTION_PAN);
}

TEST_F(ManipulatorTest, NeverDivesBelowTheGround) {
    look(m_place, -20.0, 30.0);
    queue().mouseMotion(200.0F, 150.0F);
    for (int i = 0; i < 30; ++i) {
        queue().mouseScroll(GUIEventAdapter::SCROLL_DOWN);
        m_globe.frame();
        drag(200.0F, 150.0F, 200.0F, 200.0F, 2);
        release(200.0F, 200.0F, 2);
        osg::Vec3d eye;
        SpatialReference::get("wgs84")->transformFromWorld(manipulator().getMatrix().getTrans(), eye);
        double ground = 0.0;
        ASSERT_TRUE(m_globe.mapNode()->getTerrain()->getHeight(nullptr, eye.x(), eye.y(), &ground));
        EXPECT_GT(eye.z(), ground + 0.5);
    }
}

TEST(Manipulator, WaitsForTheMapNode) {
    osg::ref_ptr<EarthManipulator> manipulator = new EarthManipulator();
    EXPECT_FALSE(manipulator->getViewpoint().isValid());
    manipulator->setViewpoint(Viewpoint("", 108.9, 34.3, 450.0, 10.0, -45.0, 900.0));
    EXPECT_TRUE(manipulator->isSettingViewpoint());
    osg::ref_ptr<MapNode> mapNode = new MapNode();
    manipulator->setNode(mapNode);
    EXPECT_FALSE(manipulator->isSettingViewpoint());
    EXPECT_NEAR(manipulator->getViewpoint().getRange(), 900.0, 1e-6);
}

TEST(Manipulator, StartsAtHome) {
    osg::ref_ptr<EarthManipulator> manipulator = new EarthManipulator();
    osg::ref_ptr<MapNode> mapNode = new MapNode();
    manipulator->setNode(mapNode);
    const Viewpoint home = manipulator->getViewpoint();
    EXPECT_NEAR(home.focalPoint()->x(), -90.0, 1e-9);
    EXPECT_NEAR(home.getPitch(), -89.0, 1e-9);
    EXPECT_NEAR(home.getRange(), 3.0 * 6378137.0, 1.0);
    manipulator->setHomeViewpoint(Viewpoint("", 108.9, 34.3, 450.0, 10.0, -45.0, 900.0));
    manipulator->home(0.0);
    EXPECT_NEAR(manipulator->getViewpoint().getRange(), 900.0, 1e-6);
}
