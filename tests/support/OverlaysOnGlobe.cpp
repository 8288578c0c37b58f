#include "tests/support/OverlaysOnGlobe.h"

#include "host/Gbk.h"
#include "workbench/viewer/GlobeWidget.h"

#include <gtest/gtest.h>
#include <osgEarth/SpatialReference>
#include <osgEarth/Terrain>
#include <osgViewer/View>

#include <cmath>

using osgEarth::Annotation::ImageOverlay;

osg::ref_ptr<ImageOverlay> overlayOnGlobe(GlobeWidget& globe, const QString& anomaly) {
    const std::string name = toGbk(anomaly);
    osgEarth::MapNode* map = globe.getMapNode();
    for (unsigned child = 0; child < map->getNumChildren(); ++child) {
        osg::Group* group = map->getChild(child)->asGroup();
        if (!group || group->getName() != "diffImageOverlay") {
            continue;
        }
        for (unsigned index = 0; index < group->getNumChildren(); ++index) {
            auto* found = dynamic_cast<ImageOverlay*>(group->getChild(index));
            if (found && found->getName() == name) {
                return found;
            }
        }
    }
    return nullptr;
}

bool isHighlighted(const osg::Node& node) {
    const auto hasColour = [&](const char* uniform, const osg::Vec4& colour) {
        const osg::Uniform* found = node.getStateSet() ? node.getStateSet()->getUniform(uniform) : nullptr;
        osg::Vec4 value;
        return found && found->get(value) && value == colour;
    };
    return hasColour("oe_anno_highlight_color", osg::Vec4(255, 255, 0, 1)) ||
           hasColour("corridor_selected_color", osg::Vec4(1, 1, 0, 1));
}

QPoint pixelOnGlobe(GlobeWidget& globe, const osg::Vec2d& lonLat) {
    osgEarth::MapNode* map = globe.getMapNode();
    const osgEarth::SpatialReference* geographic = map->getMapSRS()->getGeographicSRS();
    double metres = 0.0;
    EXPECT_TRUE(map->getTerrain()->getHeight(geographic, lonLat.x(), lonLat.y(), &metres));
    osg::Vec3d world;
    EXPECT_TRUE(geographic->transformToWorld(osg::Vec3d(lonLat, metres), world));
    const osg::Camera& camera = *globe.getViewer()->getCamera();
    const osg::Vec3d window = world * camera.getViewMatrix() * camera.getProjectionMatrix() *
                              camera.getViewport()->computeWindowMatrix();
    return {static_cast<int>(std::lround(window.x())),
            globe.height() - 1 - static_cast<int>(std::lround(window.y()))};
}
