#include <osgDB/ReadFile>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/IconSymbol>
#include <osgEarthSymbology/InstanceSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/RenderSymbol>
#include <osgEarthSymbology/TextSymbol>

namespace osgEarth {
namespace Symbology {

Stroke::Stroke() : Stroke(Color()) {}
Stroke::Stroke(float r, float g, float b, float a) : Stroke(Color(r, g, b, a)) {}
Stroke::Stroke(const Color& color)
    : m_color(color), m_width(1.0f), m_widthUnits(Units::PIXELS), m_minPixels(0.0f), m_stipplePattern(0xFFFF),
      m_stippleFactor(1u) {}

PolygonSymbol::PolygonSymbol() : m_outline(true) {}
PolygonSymbol::PolygonSymbol(const PolygonSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), m_fill(rhs.m_fill), m_outline(rhs.m_outline) {}

LineSymbol::LineSymbol() : m_tessellation(0u), m_tessellationSize(Distance(0.0, Units::METERS)) {}
LineSymbol::LineSymbol(const LineSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), m_stroke(rhs.m_stroke), m_tessellation(rhs.m_tessellation),
      m_tessellationSize(rhs.m_tessellationSize) {}

AltitudeSymbol::AltitudeSymbol()
    : m_clamping(CLAMP_NONE), m_technique(TECHNIQUE_MAP), m_binding(BINDING_VERTEX),
      m_verticalOffset(NumericExpression(0.0)), m_verticalScale(NumericExpression(1.0)) {}
AltitudeSymbol::AltitudeSymbol(const AltitudeSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), m_clamping(rhs.m_clamping), m_technique(rhs.m_technique), m_binding(rhs.m_binding),
      m_verticalOffset(rhs.m_verticalOffset), m_verticalScale(rhs.m_verticalScale) {}

RenderSymbol::RenderSymbol()
    : m_depthTest(true), m_lighting(true), m_backfaceCulling(true), m_transparent(false),
      m_order(NumericExpression(0.0)), m_minAlpha(0.0f), m_maxAltitude(Distance(0.0, Units::METERS)) {}
RenderSymbol::RenderSymbol(const RenderSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), m_depthTest(rhs.m_depthTest), m_lighting(rhs.m_lighting),
      m_backfaceCulling(rhs.m_backfaceCulling), m_transparent(rhs.m_transparent),
      m_depthOffset(rhs.m_depthOffset), m_order(rhs.m_order), m_renderBin(rhs.m_renderBin),
      m_minAlpha(rhs.m_minAlpha), m_maxAltitude(rhs.m_maxAltitude) {}

TextSymbol::TextSymbol()
    : m_size(NumericExpression(16.0)), m_encoding(ENCODING_ASCII), m_alignment(ALIGN_BASE_LINE),
      m_pixelOffset(osg::Vec2s(0, 0)), m_priority(NumericExpression(0.0)), m_declutter(true),
      m_occlusionCull(false) {}
TextSymbol::TextSymbol(const TextSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), m_size(rhs.m_size), m_font(rhs.m_font), m_encoding(rhs.m_encoding), m_fill(rhs.m_fill),
      m_halo(rhs.m_halo), m_alignment(rhs.m_alignment), m_pixelOffset(rhs.m_pixelOffset),
      m_content(rhs.m_content), m_priority(rhs.m_priority), m_declutter(rhs.m_declutter),
      m_occlusionCull(rhs.m_occlusionCull) {}

InstanceSymbol::InstanceSymbol() : m_scale(NumericExpression(1.0)) {}
InstanceSymbol::InstanceSymbol(const InstanceSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), m_url(rhs.m_url), m_scale(rhs.m_scale) {}

IconSymbol::IconSymbol()
    : m_alignment(ALIGN_CENTER_BOTTOM), m_heading(NumericExpression(0.0)), m_declutter(true) {}
IconSymbol::IconSymbol(const IconSymbol& rhs, const osg::CopyOp& op)
    : InstanceSymbol(rhs, op), m_alignment(rhs.m_alignment), m_heading(rhs.m_heading),
      m_declutter(rhs.m_declutter), m_image(rhs.m_image) {}

osg::Image* IconSymbol::getImage() const {
    if (!m_image.valid() && url().isSet()) {
        m_image = osgDB::readRefImageFile(url()->eval());
    }
    return m_image.get();
}

} // namespace Symbology
} // namespace osgEarth
