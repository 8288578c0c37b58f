#include "region/RegionRestyle.h"

#include "host/Gbk.h"
#include "plugin/Globe.h"

#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthFeatures/Feature>

using osgEarth::Features::Feature;

void restyleRegion(osg::Group& region, osgEarth::Annotation::FeatureNode& outline,
                   const osgEarth::Symbology::Style& style, const std::string& gbkName) {
    const osg::ref_ptr<osgEarth::Symbology::Geometry> ring = outline.getFeature()->getGeometry();
    outline.setFeature(new Feature(ring.get(), globeMapNode()->getMapSRS(), osgEarth::Symbology::Style(), 0));
    outline.setStyle(style);
    outline.init();

    if (region.getNumChildren() < 2) {
        return;
    }
    if (auto* label = dynamic_cast<osgEarth::Annotation::PlaceNode*>(region.getChild(1))) {
        // The terminating zero is part of the text.
        std::string text = gbkToUtf8(gbkName);
        text.push_back('\0');
        label->setText(text);
    }
}
