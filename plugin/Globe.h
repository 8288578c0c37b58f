#pragma once

#include "host/viewer/CXViewer.h"

#include <osg/Group>
#include <osgEarth/GLUtils>
#include <osgEarth/MapNode>

/// The host's globe. Everything here answers null, or does nothing, while the host has none.

inline osgEarth::MapNode* globeMapNode() {
    return g_pCXviewer ? g_pCXviewer->getMapNode() : nullptr;
}

inline osgViewer::View* globeView() {
    return g_pCXviewer ? g_pCXviewer->getViewer() : nullptr;
}

inline osgEarth::Util::EarthManipulator* globeManipulator() {
    return g_pCXviewer ? g_pCXviewer->getManipulator() : nullptr;
}

/// Between frames only. A group that is there already is not added twice.
inline void addToGlobe(osg::Group* group) {
    if (osgEarth::MapNode* mapNode = globeMapNode(); mapNode && group && !mapNode->containsNode(group)) {
        mapNode->addChild(group);
    }
}

/// Between frames only.
inline void removeFromGlobe(osg::Node* node) {
    if (osgEarth::MapNode* mapNode = globeMapNode(); mapNode && node) {
        mapNode->removeChild(node);
    }
}

inline void applyGlobalDefaults(osg::Node* node) {
    if (node) {
        osgEarth::GLUtils::setGlobalDefaults(node->getOrCreateStateSet());
    }
}
