// A view along the vertical, where the line of sight alone tells no heading.
#include "ManipulatorFixture.h"

using namespace osgEarth;
using namespace osgEarth::Util;
using osgGA::GUIEventAdapter;

namespace {

class StraightDownTest : public ManipulatorTest {
protected:
    void SetUp() override {
        ManipulatorTest::SetUp();
        manipulator().getSettings()->setMinMaxPitch(-90.0, -1.0);
    }
    void lookDown(double heading) {
        manipulator().setViewpoint(
            Viewpoint("", m_place.x(), m_place.y(), m_place.z(), heading, -90.0, 300.0));
        m_globe.frame();
    }
    void expectStraightDown(double heading) {
        EXPECT_NEAR(manipulator().getViewpoint().getPitch(), -90.0, 1e-8);
        EXPECT_NEAR(std::remainder(manipulator().getViewpoint().getHeading() - heading, 360.0), 0.0, 1e-6);
    }
    /// The direction to the top of the window, clockwise from north, in degrees.
    double headingOfTheCamera() {
        const osg::Matrixd camera = manipulator().getMatrix();
        osg::Matrixd worldToLocal;
        m_place.getSRS()->createWorldToLocal(m_place.vec3d(), worldToLocal);
        const osg::Vec3d up =
            osg::Matrixd::transform3x3(osg::Vec3d(camera(1, 0), camera(1, 1), camera(1, 2)), worldToLocal);
        EXPECT_NEAR(up.z(), 0.0, 1e-9) << "the picture is not upright";
        return osg::RadiansToDegrees(std::atan2(up.x(), up.y()));
    }
};

} // namespace

TEST_F(StraightDownTest, ShowsTheHeadingThatWasSet) {
    for (const double heading : {0.0, 20.0, 90.0, -135.0}) {
        lookDown(heading);
        expectStraightDown(heading);
        EXPECT_NEAR(std::remainder(headingOfTheCamera() - heading, 360.0), 0.0, 1e-6);
        const osg::Vec3d middle = windowOf(worldUnder(200.0F, 150.0F));
        EXPECT_NEAR(middle.x(), 200.0, 0.1);
        EXPECT_NEAR(middle.y(), 150.0, 0.1);
    }
}

TEST_F(StraightDownTest, IsTheLowestLimitThereIs) {
    manipulator().getSettings()->setMinMaxPitch(-120.0, 120.0);
    EXPECT_EQ(manipulator().getSettings()->getMinPitch(), -90.0);
    EXPECT_EQ(manipulator().getSettings()->getMaxPitch(), 89.9);
}

TEST_F(StraightDownTest, IsReachedExactlyByAFlight) {
    Viewpoint down = manipulator().getViewpoint();
    down.setPitch(-90.0);
    down.setHeading(0.0);
    manipulator().setViewpoint(down, 0.3);
    ASSERT_TRUE(m_globe.frameUntil([&] { return !manipulator().isSettingViewpoint(); }));
    expectStraightDown(0.0);
}

TEST_F(StraightDownTest, PansToTheNorthAndTheEast) {
    lookDown(0.0);
    const Viewpoint before = manipulator().getViewpoint();
    press(GUIEventAdapter::KEY_Up);
    const Viewpoint north = manipulator().getViewpoint();
    EXPECT_GT(north.focalPoint()->y(), before.focalPoint()->y());
    EXPECT_NEAR(north.focalPoint()->x(), before.focalPoint()->x(), 1e-9);
    press(GUIEventAdapter::KEY_Right);
    EXPECT_GT(manipulator().getViewpoint().focalPoint()->x(), north.focalPoint()->x());
    expectStraightDown(0.0);
}

TEST_F(StraightDownTest, DragsTheGrabbedPointAndKeepsTheHeading) {
    manipulator().getSettings()->bindMouse(EarthManipulator::ACTION_EARTH_DRAG,
                                           GUIEventAdapter::LEFT_MOUSE_BUTTON);
    lookDown(0.0);
    const osg::Vec3d grabbed = worldUnder(150.0F, 120.0F);
    drag(150.0F, 120.0F, 260.0F, 170.0F, 1);
    EXPECT_NEAR(windowOf(grabbed).x(), 260.0, 0.2);
    EXPECT_NEAR(windowOf(grabbed).y(), 170.0, 0.2);
    release(260.0F, 170.0F, 1);
    expectStraightDown(0.0);
}

TEST_F(StraightDownTest, ZoomsToThePointer) {
    lookDown(0.0);
    const osg::Vec3d under = worldUnder(90.0F, 200.0F);
    queue().mouseMotion(90.0F, 200.0F);
    queue().mouseScroll(GUIEventAdapter::SCROLL_DOWN);
    m_globe.frame();
    EXPECT_LT(manipulator().getDistance(), 290.0);
    EXPECT_NEAR(windowOf(under).x(), 90.0, 1.0);
    EXPECT_NEAR(windowOf(under).y(), 200.0, 1.0);
    expectStraightDown(0.0);
}

TEST_F(StraightDownTest, IsTurnedSidewaysTiltedAndLookedDownFromAgain) {
    lookDown(0.0);
    const osg::Vec3d middle = worldUnder(200.0F, 150.0F);
    drag(200.0F, 150.0F, 260.0F, 150.0F, 2);
    release(260.0F, 150.0F, 2);
    const double turned = manipulator().getViewpoint().getHeading();
    EXPECT_GT(std::abs(turned), 5.0);
    expectStraightDown(turned);

    drag(200.0F, 150.0F, 200.0F, 190.0F, 2);
    release(200.0F, 190.0F, 2);
    EXPECT_GT(manipulator().getViewpoint().getPitch(), -85.0);
    EXPECT_NEAR(manipulator().getViewpoint().getHeading(), turned, 1e-6);
    EXPECT_NEAR(windowOf(middle).x(), 200.0, 1.0);
    EXPECT_NEAR(windowOf(middle).y(), 150.0, 1.0);

    drag(200.0F, 190.0F, 200.0F, 50.0F, 2);
    release(200.0F, 50.0F, 2);
    expectStraightDown(turned);
}
