#include "workbench/inspection/scene/Globe.h"

#include "host/viewer/CXViewer.h"

#include <osgEarth/MapNode>
#include <osgViewer/View>

namespace inspection {

osgEarth::MapNode* globeMapNode() {
    return g_pCXviewer ? g_pCXviewer->getMapNode() : nullptr;
}

osg::Vec3d globeEye() {
    return g_pCXviewer && g_pCXviewer->getViewer()
               ? g_pCXviewer->getViewer()->getCamera()->getInverseViewMatrix().getTrans()
               : osg::Vec3d();
}

bool isGlobeView(const osg::Camera& camera) {
    return g_pCXviewer && g_pCXviewer->getViewer() && g_pCXviewer->getViewer()->getCamera() == &camera;
}

// From the last to the first, those that follow each other together: each removal moves all that lie behind it.
void takeOffGlobe(const std::unordered_set<const osg::Node*>& nodes) {
    osgEarth::MapNode* map = globeMapNode();
    if (!map || nodes.empty()) {
        return;
    }
    const auto goes = [&](unsigned place) { return nodes.count(map->getChild(place)) != 0; };
    for (unsigned end = map->getNumChildren(); end > 0; --end) {
        unsigned first = end;
        while (first > 0 && goes(first - 1)) {
            --first;
        }
        if (first < end) {
            map->removeChildren(first, end - first);
            end = first + 1;
        }
    }
    redrawGlobe();
}

void redrawGlobe() {
    if (g_pCXviewer && g_pCXviewer->getViewer()) {
        g_pCXviewer->getViewer()->requestRedraw();
    }
}

} // namespace inspection
