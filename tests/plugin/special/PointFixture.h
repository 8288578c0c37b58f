#pragma once

#include "tests/plugin/special/SpecialFixture.h"

#include <osgEarth/GeoData>

/// The tool that adds special points.
class PointTool : public SpecialTest {
protected:
    PointTool() : SpecialTest("添加特殊点", "CDrawPointDlg", "ROIPoint") {}

    using PlaceNode = osgEarth::Annotation::PlaceNode;

    /// In all groups of the tool.
    unsigned markersOnGlobe() {
        unsigned count = 0;
        for (const osg::Group* group : m_host.groupsNamed("ROIPoint")) {
            count += group->getNumChildren();
        }
        return count;
    }
    PlaceNode* marker() const { return child<PlaceNode>(0); }
    /// Degrees.
    osg::Vec2d markerPlace() const {
        const osgEarth::GeoPoint& at = marker()->getPosition();
        return {at.x(), at.y()};
    }
    /// About 0.1 m in degrees of latitude, and what single precision leaves of a longitude near 114.
    static void expectNear(const osg::Vec2d& place, const osg::Vec2d& expected) {
        EXPECT_NEAR(place.x(), expected.x(), 2e-5);
        EXPECT_NEAR(place.y(), expected.y(), 1e-5);
    }
    int storedPoints() const { return readStored("select count(*) from special_point").value(0).toInt(); }
};
