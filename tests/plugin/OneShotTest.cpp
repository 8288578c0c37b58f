#include "tests/plugin/PluginHost.h"

#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

namespace {

/// Notes what it is told and moves nothing.
class NotingManipulator : public osgEarth::Util::EarthManipulator {
public:
    void setViewpoint(const osgEarth::Viewpoint& viewpoint, double seconds) override {
        viewpoints.push_back(viewpoint);
        durations.push_back(seconds);
    }
    std::vector<osgEarth::Viewpoint> viewpoints;
    std::vector<double> durations;
};

/// The host's viewer with another manipulator, for as long as it lives.
class ViewerWith : public CXViewer {
public:
    explicit ViewerWith(osgEarth::Util::EarthManipulator* manipulator)
        : m_manipulator(manipulator), m_before(g_pCXviewer) {
        g_pCXviewer = this;
    }
    virtual ~ViewerWith() { g_pCXviewer = m_before; }
    osgViewer::View* getViewer() override { return m_before->getViewer(); }
    osgEarth::Util::EarthManipulator* getManipulator() override { return m_manipulator; }
    osgEarth::MapNode* getMapNode() override { return m_before->getMapNode(); }

private:
    osgEarth::Util::EarthManipulator* const m_manipulator;
    CXViewer* const m_before;
};

class OneShot : public PluginTest {
protected:
    osgEarth::Util::EarthManipulator& manipulator() { return *m_host.globe->getManipulator(); }
    void turnTo(double headingDegrees, double pitchDegrees) {
        manipulator().setViewpoint(
            osgEarth::Viewpoint("", 109.0, 34.0, 0.0, headingDegrees, pitchDegrees, 250000.0));
        m_host.settle();
    }
};

void expectSamePlace(const osgEarth::Viewpoint& before, const osgEarth::Viewpoint& after) {
    EXPECT_NEAR(after.focalPoint()->x(), before.focalPoint()->x(), 1e-6);
    EXPECT_NEAR(after.focalPoint()->y(), before.focalPoint()->y(), 1e-6);
    EXPECT_NEAR(after.focalPoint()->z(), before.focalPoint()->z(), 1.0);
    EXPECT_NEAR(after.range()->as(osgEarth::Units::METERS), before.range()->as(osgEarth::Units::METERS), 1.0);
}

TEST_F(OneShot, NorthUpTurnsAnyViewAtOnceAndKeepsPlaceAndRange) {
    for (const double heading : {45.0, -120.0, 179.0, 0.0}) {
        turnTo(heading, -30.0);
        const osgEarth::Viewpoint before = manipulator().getViewpoint();
        m_host.click("正北视图");
        EXPECT_FALSE(manipulator().isSettingViewpoint()) << "no flight";
        const osgEarth::Viewpoint after = manipulator().getViewpoint();
        EXPECT_NEAR(after.heading()->as(osgEarth::Units::DEGREES), 0.0, 1e-6) << heading;
        EXPECT_NEAR(after.pitch()->as(osgEarth::Units::DEGREES), -90.0, 1e-6) << heading;
        expectSamePlace(before, after);
        EXPECT_FALSE(m_host.button("正北视图").isChecked());
    }
}

TEST_F(OneShot, NorthUpAsksForExactlyStraightDownAndNorthWithoutAFlight) {
    const osg::ref_ptr<NotingManipulator> noting = new NotingManipulator;
    noting->setNode(m_host.globe->getMapNode());
    const osgEarth::Viewpoint before = noting->getViewpoint();
    ASSERT_TRUE(before.isValid());
    noting->viewpoints.clear();
    noting->durations.clear();
    {
        const ViewerWith viewer(noting);
        m_host.click("正北视图");
    }
    ASSERT_EQ(noting->viewpoints.size(), 1U);
    EXPECT_EQ(noting->durations, std::vector<double>{0.0});
    const osgEarth::Viewpoint& asked = noting->viewpoints.front();
    EXPECT_EQ(asked.pitch()->as(osgEarth::Units::DEGREES), -90.0);
    EXPECT_EQ(asked.heading()->as(osgEarth::Units::DEGREES), 0.0);
    EXPECT_EQ(asked.focalPoint()->vec3d(), before.focalPoint()->vec3d());
    EXPECT_EQ(asked.range()->as(osgEarth::Units::METERS), before.range()->as(osgEarth::Units::METERS));
}

TEST_F(OneShot, NorthUpWithoutAManipulatorOnlyLetsItsButtonUp) {
    turnTo(45.0, -30.0);
    const osgEarth::Viewpoint before = manipulator().getViewpoint();
    {
        const ViewerWith viewer(nullptr);
        m_host.click("正北视图");
    }
    EXPECT_FALSE(m_host.button("正北视图").isChecked());
    EXPECT_NEAR(manipulator().getViewpoint().heading()->as(osgEarth::Units::DEGREES),
                before.heading()->as(osgEarth::Units::DEGREES), 1e-6);
}

TEST_F(OneShot, NorthUpTwiceLeavesTheViewUnchangedTheSecondTime) {
    turnTo(77.0, -40.0);
    m_host.click("正北视图");
    const osgEarth::Viewpoint first = manipulator().getViewpoint();
    m_host.click("正北视图");
    const osgEarth::Viewpoint second = manipulator().getViewpoint();
    EXPECT_NEAR(second.heading()->as(osgEarth::Units::DEGREES), first.heading()->as(osgEarth::Units::DEGREES),
                1e-6);
    EXPECT_NEAR(second.pitch()->as(osgEarth::Units::DEGREES), first.pitch()->as(osgEarth::Units::DEGREES),
                1e-6);
    expectSamePlace(first, second);
}

TEST_F(OneShot, TheOthersReachTheInspectionLibraryAndLeaveTheirButtonUp) {
    for (const char* command : {"计算异常", "输出报告", "输出shape", "参数设置"}) {
        const DialogCloser closer;
        m_host.click(command);
        EXPECT_EQ(closer.objectNames, QStringList{"myMessageBox"}) << command << ": no project is open";
        EXPECT_FALSE(m_host.button(command).isChecked()) << command;
    }
}

TEST_F(OneShot, ComputingTwiceAsksTheLibraryTwice) {
    const DialogCloser closer;
    m_host.click("计算异常");
    EXPECT_FALSE(m_host.button("计算异常").isChecked());
    m_host.click("计算异常");
    EXPECT_FALSE(m_host.button("计算异常").isChecked());
    EXPECT_EQ(closer.objectNames.size(), 2);
}

TEST_F(OneShot, ComputingLeavesTheAnomalyToolActive) {
    m_host.click("查看\\编辑异常");
    const DialogCloser closer;
    m_host.click("计算异常");
    EXPECT_EQ(m_engine.GetActiveTool(), &m_host.command("查看\\编辑异常"));
    EXPECT_TRUE(m_host.button("查看\\编辑异常").isChecked());
    EXPECT_EQ(m_handlers.activeHandler(), &m_host.handler("查看\\编辑异常"));
}

} // namespace
