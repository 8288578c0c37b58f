#include "anomaly/GlobeOverlays.h"

#include "plugin/Globe.h"

#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>

using osgEarth::Annotation::ImageOverlay;

namespace {

constexpr char kGroupName[] = "diffImageOverlay";

std::vector<osg::Group*> overlayGroups() {
    std::vector<osg::Group*> groups;
    osgEarth::MapNode* mapNode = globeMapNode();
    for (unsigned child = 0; mapNode && child < mapNode->getNumChildren(); ++child) {
        osg::Group* group = mapNode->getChild(child)->asGroup();
        if (group && group->getName() == kGroupName) {
            groups.push_back(group);
        }
    }
    return groups;
}

} // namespace

Overlays overlaysOnGlobe() {
    Overlays overlays;
    for (osg::Group* group : overlayGroups()) {
        for (unsigned index = 0; index < group->getNumChildren(); ++index) {
            if (auto* overlay = dynamic_cast<ImageOverlay*>(group->getChild(index))) {
                overlays.emplace_back(overlay);
            }
        }
    }
    return overlays;
}

Overlay overlayOfId(int objectId) {
    return osgEarth::Registry::objectIndex()->get<ImageOverlay>(static_cast<osgEarth::ObjectID>(objectId));
}

anomaly::Box boundsOf(const ImageOverlay& overlay) {
    const osgEarth::Bounds bounds = overlay.getBounds();
    return {bounds.xMin(), bounds.yMin(), bounds.xMax(), bounds.yMax()};
}

anomaly::Place centreOf(const ImageOverlay& overlay) {
    const osg::Vec2d centre = overlay.getCenter();
    return {centre.x(), centre.y()};
}
