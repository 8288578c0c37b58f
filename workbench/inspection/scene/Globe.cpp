#include "workbench/inspection/scene/Globe.h"

#include "host/viewer/CXViewer.h"

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

void redrawGlobe() {
    if (g_pCXviewer && g_pCXviewer->getViewer()) {
        g_pCXviewer->getViewer()->requestRedraw();
    }
}

} // namespace inspection
