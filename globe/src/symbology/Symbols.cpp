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
    : _color(color), _width(1.0f), _widthUnits(Units::PIXELS), _minPixels(0.0f), _stipplePattern(0xFFFF),
      _stippleFactor(1u), _lineCap(LINECAP_FLAT), _lineJoin(LINEJOIN_ROUND) {}

PolygonSymbol::PolygonSymbol() : _outline(true) {}
PolygonSymbol::PolygonSymbol(const PolygonSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), _fill(rhs._fill), _outline(rhs._outline) {}

LineSymbol::LineSymbol() : _tessellation(0u), _tessellationSize(Distance(0.0, Units::METERS)) {}
LineSymbol::LineSymbol(const LineSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), _stroke(rhs._stroke), _tessellation(rhs._tessellation),
      _tessellationSize(rhs._tessellationSize) {}

AltitudeSymbol::AltitudeSymbol()
    : _clamping(CLAMP_NONE), _technique(TECHNIQUE_MAP), _binding(BINDING_VERTEX),
      _verticalOffset(NumericExpression(0.0)), _verticalScale(NumericExpression(1.0)) {}
AltitudeSymbol::AltitudeSymbol(const AltitudeSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), _clamping(rhs._clamping), _technique(rhs._technique), _binding(rhs._binding),
      _verticalOffset(rhs._verticalOffset), _verticalScale(rhs._verticalScale) {}

RenderSymbol::RenderSymbol()
    : _depthTest(true), _lighting(true), _backfaceCulling(true), _transparent(false),
      _order(NumericExpression(0.0)), _minAlpha(0.0f), _maxAltitude(Distance(0.0, Units::METERS)) {}
RenderSymbol::RenderSymbol(const RenderSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), _depthTest(rhs._depthTest), _lighting(rhs._lighting),
      _backfaceCulling(rhs._backfaceCulling), _transparent(rhs._transparent), _depthOffset(rhs._depthOffset),
      _order(rhs._order), _renderBin(rhs._renderBin), _minAlpha(rhs._minAlpha),
      _maxAltitude(rhs._maxAltitude) {}

TextSymbol::TextSymbol()
    : _size(NumericExpression(16.0)), _encoding(ENCODING_ASCII), _alignment(ALIGN_BASE_LINE),
      _pixelOffset(osg::Vec2s(0, 0)), _priority(NumericExpression(0.0)), _declutter(true),
      _occlusionCull(false) {}
TextSymbol::TextSymbol(const TextSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), _size(rhs._size), _font(rhs._font), _encoding(rhs._encoding), _fill(rhs._fill),
      _halo(rhs._halo), _alignment(rhs._alignment), _pixelOffset(rhs._pixelOffset), _content(rhs._content),
      _priority(rhs._priority), _declutter(rhs._declutter), _occlusionCull(rhs._occlusionCull) {}

InstanceSymbol::InstanceSymbol() : _scale(NumericExpression(1.0)) {}
InstanceSymbol::InstanceSymbol(const InstanceSymbol& rhs, const osg::CopyOp& op)
    : Symbol(rhs, op), _url(rhs._url), _scale(rhs._scale) {}

IconSymbol::IconSymbol()
    : _alignment(ALIGN_CENTER_BOTTOM), _heading(NumericExpression(0.0)), _declutter(true) {}
IconSymbol::IconSymbol(const IconSymbol& rhs, const osg::CopyOp& op)
    : InstanceSymbol(rhs, op), _alignment(rhs._alignment), _heading(rhs._heading), _declutter(rhs._declutter),
      _image(rhs._image) {}

osg::Image* IconSymbol::getImage() const {
    if (!_image.valid() && url().isSet())
        _image = osgDB::readRefImageFile(url()->eval());
    return _image.get();
}

} // namespace Symbology
} // namespace osgEarth
