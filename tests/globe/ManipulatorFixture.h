#pragma once
#include "OffscreenGlobe.h"
#include "TestRaster.h"

#include <osgEarth/SpatialReference>

#include <gtest/gtest.h>

#include <cmath>

/// A small window over hilly ground, driven by real events through the viewer's queue.
class ManipulatorTest : public ::testing::Test {
protected:
    using GUIEventAdapter = osgGA::GUIEventAdapter;
    using GeoPoint = osgEarth::GeoPoint;
    using Viewpoint = osgEarth::Viewpoint;

    static double hills(double x, double y) {
        return 420.0 + 12.0 * std::sin((x - 582400.0) / 40.0) + 9.0 * std::cos((y - 3796800.0) / 30.0);
    }

    void SetUp() override {
        ASSERT_TRUE(m_globe.isUsable()) << "these tests need a display (xvfb-run will do)";
        m_globe.addElevation("hills", globetest::writeHeights("navigation.tif", {}, hills));
        m_globe.mapNode();
        queue().getCurrentEventState()->setMouseYOrientation(GUIEventAdapter::Y_INCREASING_UPWARDS);
        queue().getCurrentEventState()->setInputRange(0.0F, 0.0F, kWidth, kHeight);
        look(m_place, -50.0, 300.0);
        ASSERT_TRUE(m_globe.settle());
    }

    osgGA::EventQueue& queue() { return *m_globe.viewer().getEventQueue(); }
    osgEarth::Util::EarthManipulator& manipulator() { return *m_globe.manipulator(); }
    void look(const GeoPoint& focal, double pitch, double range) {
        manipulator().setViewpoint(Viewpoint("", focal.x(), focal.y(), focal.z(), 20.0, pitch, range));
        m_globe.frame();
    }
    osg::Vec3d worldUnder(float x, float y) {
        osg::Vec3d world;
        EXPECT_TRUE(manipulator().screenToWorld(x, y, &m_globe.viewer(), world));
        return world;
    }
    osg::Vec3d windowOf(const osg::Vec3d& world) {
        const osg::Camera* camera = m_globe.viewer().getCamera();
        return world * camera->getViewMatrix() * camera->getProjectionMatrix() *
               camera->getViewport()->computeWindowMatrix();
    }
    void drag(float x0, float y0, float x1, float y1, unsigned button) {
        queue().mouseButtonPress(x0, y0, button);
        m_globe.frame();
        constexpr int kSteps = 5;
        for (int i = 1; i <= kSteps; ++i) {
            const float part = static_cast<float>(i) / kSteps;
            queue().mouseMotion(x0 + (x1 - x0) * part, y0 + (y1 - y0) * part);
            m_globe.frame();
        }
    }
    void release(float x, float y, unsigned button) {
        queue().mouseButtonRelease(x, y, button);
        m_globe.frame();
    }
    void press(int key) {
        queue().keyPress(key);
        queue().keyRelease(key);
        m_globe.frame();
    }
    void expectSame(const Viewpoint& a, const Viewpoint& b) {
        EXPECT_NEAR(a.focalPoint()->x(), b.focalPoint()->x(), 1e-10);
        EXPECT_NEAR(a.focalPoint()->y(), b.focalPoint()->y(), 1e-10);
        EXPECT_NEAR(a.focalPoint()->z(), b.focalPoint()->z(), 1e-6);
        EXPECT_NEAR(a.getHeading(), b.getHeading(), 1e-9);
        EXPECT_NEAR(a.getPitch(), b.getPitch(), 1e-9);
        EXPECT_NEAR(a.getRange(), b.getRange(), 1e-6);
    }

    static constexpr int kWidth = 400;
    static constexpr int kHeight = 300;
    globetest::OffscreenGlobe m_globe{kWidth, kHeight};
    const GeoPoint m_place =
        GeoPoint(osgEarth::SpatialReference::get("epsg:4545"), 582656.0, 3797056.0, 420.0)
            .transform(osgEarth::SpatialReference::get("wgs84"));
};
