#include "anomaly/DifferenceLabel.h"

#include "plugin/Globe.h"

#include <QString>

#include <osgDB/ReadFile>
#include <osgEarth/ElevationQuery>
#include <osgEarth/GeoData>
#include <osgEarthSymbology/TextSymbol>

using osgEarth::Annotation::PlaceNode;
using osgEarth::Symbology::TextSymbol;

namespace {

osgEarth::Symbology::Style makeLabelStyle() {
    osgEarth::Symbology::Style style;
    auto* text = style.getOrCreate<TextSymbol>();
    text->size() = 14.0;
    text->font() = "simhei.ttf";
    text->encoding() = TextSymbol::ENCODING_UTF8;
    text->fill()->color() = osgEarth::Symbology::Color(1, 1, 1, 1);
    text->halo() = osgEarth::Symbology::Stroke(0, 0, 0, 1); // white alone is lost on a highlighted anomaly
    return style;
}

/// 0 where the terrain has no elevation.
float terrainMetres(const osgEarth::MapNode& mapNode, const osgEarth::GeoPoint& point) {
    constexpr double kResolution = 0.1;
    constexpr float kLowestMetres = -9999.0F;
    const float metres = osgEarth::ElevationQuery(mapNode.getMap()).getElevation(point, kResolution);
    return metres < kLowestMetres ? 0.0F : metres;
}

} // namespace

osg::ref_ptr<PlaceNode> makeDifferenceLabel(const osg::Vec3d& world, double differenceMetres) {
    osgEarth::MapNode* mapNode = globeMapNode();
    osgEarth::GeoPoint point;
    if (!mapNode || !point.fromWorld(mapNode->getMapSRS(), world) || !point.makeGeographic()) {
        return nullptr;
    }
    constexpr double kAboveTerrainMetres = 0.2;
    const double height = static_cast<double>(terrainMetres(*mapNode, point)) + kAboveTerrainMetres;
    const osgEarth::GeoPoint position(mapNode->getMapSRS(), point.x(), point.y(), height,
                                      osgEarth::ALTMODE_ABSOLUTE);
    const std::string text = QString::number(differenceMetres, 'g', 6).toStdString();
    const osg::ref_ptr<osg::Image> icon = osgDB::readRefImageFile("icon/PlacePoint.png");
    osg::ref_ptr<PlaceNode> label = new PlaceNode(position, text, makeLabelStyle(), icon.get());
    label->setPriority(1.0F); // it was just asked for, so labels around it give way
    return label;
}
