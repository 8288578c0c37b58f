#pragma once

#include "tests/plugin/special/SpecialFixture.h"

#include <osgEarthFeatures/Feature>

#include <vector>

/// The tool that adds special areas.
class AreaTool : public SpecialTest {
protected:
    AreaTool() : SpecialTest("添加特殊面", "CdrawPolygonDlg", "ROIArea") {}

    using FeatureNode = osgEarth::Annotation::FeatureNode;

    FeatureNode* area() const { return child<FeatureNode>(0); }
    FeatureNode* rubberBand() const { return child<FeatureNode>(1); }
    static std::vector<osg::Vec3d> vertices(FeatureNode& node) {
        const auto* geometry = node.getFeature()->getGeometry();
        return {geometry->begin(), geometry->end()};
    }
    static void expectNear(const osg::Vec3d& vertex, const osg::Vec2d& place) {
        EXPECT_NEAR(vertex.x(), place.x(), 1e-5);
        EXPECT_NEAR(vertex.y(), place.y(), 1e-5);
    }
    /// The drawing of a rectangle whose last corner closes it.
    void drawRectangle() {
        leftClick(ground(60, 20));
        leftClick(ground(120, 20));
        leftClick(ground(120, 60));
        rightClick(ground(60, 60));
    }
    int storedAreas() const { return readStored("select count(*) from special_area").value(0).toInt(); }
};
