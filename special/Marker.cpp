#include "special/Marker.h"

#include "host/Gbk.h"
#include "plugin/Globe.h"

#include <osgDB/ReadFile>
#include <osgEarth/GeoData>
#include <osgEarthSymbology/TextSymbol>

using osgEarth::Symbology::TextSymbol;

osg::ref_ptr<osgEarth::Annotation::PlaceNode> makeMarker(const osg::Vec3d& position,
                                                         const std::string& label) {
    const osgEarth::MapNode* mapNode = globeMapNode();
    if (!mapNode) {
        return nullptr;
    }
    const osgEarth::GeoPoint point(mapNode->getMapSRS(), position, osgEarth::ALTMODE_ABSOLUTE);
    osgEarth::Symbology::Style style;
    auto* text = style.getOrCreate<TextSymbol>();
    text->size() = 15.0;
    text->font() = "simhei.ttf";
    text->encoding() = TextSymbol::ENCODING_UTF8;
    text->halo() = osgEarth::Symbology::Stroke(0, 0, 0, 1); // white alone is lost on pale ground
    const osg::ref_ptr<osg::Image> pin = osgDB::readRefImageFile("icon/Placemark_32.png");
    return new osgEarth::Annotation::PlaceNode(point, gbkToUtf8(label), style, pin.get());
}
