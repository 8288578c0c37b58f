#include "host/viewmanager/pick.h"

#include <osgEarth/MapNode>
#include <osgEarth/Terrain>
#include <osgGA/GUIEventAdapter>
#include <osgViewer/View>

osg::Vec3d pick(osgViewer::View* view, const osgGA::GUIEventAdapter& ea) {
    if (!view) {
        return kPickNoHit;
    }
    osgEarth::MapNode* mapNode = osgEarth::MapNode::findMapNode(view->getSceneData());
    osg::Vec3d world;
    if (!mapNode || !mapNode->getTerrain()->getWorldCoordsUnderMouse(view, ea.getX(), ea.getY(), world)) {
        return kPickNoHit;
    }
    return world;
}
