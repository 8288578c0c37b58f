#pragma once

#include <osg/Image>
#include <osgEarthUtil/RTTPicker>
#include <osgViewer/View>

#include <string>
#include <vector>

/// Starts a pick with each picker of the view and answers the widths of their pictures, pixels. Right after
/// they were installed: later pictures are as small as what they show.
inline std::vector<int> pickCameraPixels(osgViewer::View& view) {
    for (const auto& handler : view.getEventHandlers()) {
        if (auto* picker = dynamic_cast<osgEarth::Util::RTTPicker*>(handler.get())) {
            picker->pick(&view, 100.0F, 100.0F);
        }
    }
    std::vector<int> widths;
    for (unsigned index = 0; index < view.getNumSlaves(); ++index) {
        osg::Camera& camera = *view.getSlave(index)._camera;
        if (camera.getName() != "osgEarth::RTTPicker") {
            continue;
        }
        for (const auto& [buffer, attachment] : camera.getBufferAttachmentMap()) {
            if (attachment._image) {
                widths.push_back(attachment._image->s());
            }
        }
    }
    return widths;
}
