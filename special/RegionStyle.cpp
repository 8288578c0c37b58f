#include "special/RegionStyle.h"

#include "host/Gbk.h"

#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/RenderSymbol>

using osgEarth::Symbology::AltitudeSymbol;
using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::PolygonSymbol;
using osgEarth::Symbology::RenderSymbol;

namespace {

constexpr float kBorderAlpha = 0.65F;

osg::Vec3 toChannels(const QColor& color) {
    return {static_cast<float>(color.red() / 255.0), static_cast<float>(color.green() / 255.0),
            static_cast<float>(color.blue() / 255.0)};
}

Color withAlpha(const osg::Vec3& channels, float alpha) {
    return {channels.x(), channels.y(), channels.z(), alpha};
}

} // namespace

osgEarth::Symbology::Style makeRegionStyle(const CdrawPolygonDlg& dialog) {
    osgEarth::Symbology::Style style;
    style.getOrCreate<PolygonSymbol>()->fill()->color() =
        withAlpha(toChannels(dialog.m_fillColor), dialog.m_opacity);

    auto* altitude = style.getOrCreate<AltitudeSymbol>();
    altitude->clamping() = AltitudeSymbol::CLAMP_TO_TERRAIN;
    altitude->technique() = AltitudeSymbol::TECHNIQUE_GPU;
    altitude->verticalOffset() = 0.1;

    auto* line = style.getOrCreate<LineSymbol>();
    line->stroke()->color() = withAlpha(toChannels(dialog.m_borderColor), kBorderAlpha);
    line->stroke()->width() = static_cast<float>(dialog.m_borderWidth);
    line->stroke()->widthUnits() = osgEarth::Units::PIXELS;
    return style;
}

osgEarth::Symbology::Style makeDigitisedStyle(const CdrawPolygonDlg& dialog) {
    osgEarth::Symbology::Style style = makeRegionStyle(dialog);
    style.getOrCreate<RenderSymbol>()->depthOffset()->minBias() =
        osgEarth::Distance(100.0, osgEarth::Units::METERS);
    return style;
}

void copyStyle(const CdrawPolygonDlg& dialog, Special_Region& record) {
    record.m_fillColor = toChannels(dialog.m_fillColor);
    record.m_borderColor = toChannels(dialog.m_borderColor);
    record.m_borderWidth = dialog.m_borderWidth;
    record.m_opacity = dialog.m_opacity;
    record.m_level = dialog.m_level;
    record.m_attribute = toGbk(dialog.m_attribute);
}
