#include "Offers.h"

#include <gtest/gtest.h>

#include <osgEarthFeatures/Feature>
#include <osgEarthFeatures/GeometryCompiler>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/Color>
#include <osgEarthSymbology/Expression>
#include <osgEarthSymbology/Fill>
#include <osgEarthSymbology/Geometry>
#include <osgEarthSymbology/IconSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/RenderSymbol>
#include <osgEarthSymbology/Stroke>
#include <osgEarthSymbology/Style>
#include <osgEarthSymbology/TextSymbol>

namespace globetest {
namespace {

using namespace osgEarth;
using namespace osgEarth::Symbology;
using Number = NumericExpression;

TEST(StyleInterface, Style) {
    static_assert(std::is_base_of_v<osg::Object, Symbol>);
    static_assert(kMakes<Style> && kMakes<Style, const std::string&> && kMakes<Style, const Style&> &&
                  kMakes<Style, const Style&, const osg::CopyOp&>);
    offers<Style& (Style::*)(const Style&)>(&Style::operator=);
    offers<const std::string& (Style::*)() const>(&Style::getName);
    offers<void (Style::*)(const std::string&)>(&Style::setName);
    offers<bool (Style::*)() const>(&Style::empty);
    offers<void (Style::*)(Symbol*)>(&Style::addSymbol);
    offers<void (Style::*)(Symbol*)>(&Style::add);
    offers<LineSymbol* (Style::*)()>(&Style::getOrCreate<LineSymbol>);
    offers<LineSymbol* (Style::*)()>(&Style::getOrCreateSymbol<LineSymbol>);
    offers<LineSymbol* (Style::*)()>(&Style::get<LineSymbol>);
    offers<const LineSymbol* (Style::*)() const>(&Style::get<LineSymbol>);
    offers<bool (Style::*)() const>(&Style::has<LineSymbol>);
    offers<bool (Style::*)()>(&Style::remove<LineSymbol>);
}

TEST(StyleInterface, Color) {
    static_assert(std::is_base_of_v<osg::Vec4f, Color> && Color::RGBA < Color::ABGR);
    static_assert(kMakes<Color> && kMakes<Color, float, float, float> &&
                  kMakes<Color, float, float, float, float> && kMakes<Color, const osg::Vec4f&> &&
                  kMakes<Color, const Color&, float> && kMakes<Color, unsigned> &&
                  kMakes<Color, unsigned, Color::Format> && kMakes<Color, const std::string&> &&
                  kMakes<Color, const std::string&, Color::Format>);
    for (Color* named :
         {&Color::White,    &Color::Silver,  &Color::Gray,    &Color::Black,  &Color::Red,    &Color::Maroon,
          &Color::Yellow,   &Color::Olive,   &Color::Lime,    &Color::Green,  &Color::Aqua,   &Color::Teal,
          &Color::Blue,     &Color::Navy,    &Color::Fuchsia, &Color::Purple, &Color::Orange, &Color::Cyan,
          &Color::DarkGray, &Color::Magenta, &Color::Brown}) {
        offers(named);
    }
}

TEST(StyleInterface, FillAndStroke) {
    static_assert(kMakes<Fill> && kMakes<Fill, float, float, float, float> && kMakes<Fill, const Color&>);
    offers<Color& (Fill::*)()>(&Fill::color);
    offers<const Color& (Fill::*)() const>(&Fill::color);
    static_assert(kMakes<Stroke> && kMakes<Stroke, float, float, float, float> &&
                  kMakes<Stroke, const Color&>);
    static_assert(Stroke::LINECAP_FLAT < Stroke::LINECAP_SQUARE &&
                  Stroke::LINECAP_SQUARE < Stroke::LINECAP_ROUND);
    static_assert(Stroke::LINEJOIN_MITRE < Stroke::LINEJOIN_ROUND);
    offers<Color& (Stroke::*)()>(&Stroke::color);
    offersOption<Stroke, float>(&Stroke::width);
    offersOption<Stroke, Units>(&Stroke::widthUnits);
    offersOption<Stroke, float>(&Stroke::minPixels);
    offersOption<Stroke, unsigned short>(&Stroke::stipplePattern);
    offersOption<Stroke, unsigned>(&Stroke::stippleFactor);
}

TEST(StyleInterface, ShapeSymbols) {
    static_assert(kMakes<PolygonSymbol> && std::is_base_of_v<Symbol, PolygonSymbol>);
    offersOption<PolygonSymbol, Fill>(&PolygonSymbol::fill);
    offersOption<PolygonSymbol, bool>(&PolygonSymbol::outline);
    static_assert(kMakes<LineSymbol> && std::is_base_of_v<Symbol, LineSymbol>);
    offersOption<LineSymbol, Stroke>(&LineSymbol::stroke);
    offersOption<LineSymbol, unsigned>(&LineSymbol::tessellation);
    offersOption<LineSymbol, Distance>(&LineSymbol::tessellationSize);
}

TEST(StyleInterface, AltitudeSymbol) {
    using Altitude = AltitudeSymbol;
    static_assert(kMakes<Altitude> && std::is_base_of_v<Symbol, Altitude>);
    static_assert(Altitude::CLAMP_NONE == 0 && Altitude::CLAMP_TO_TERRAIN == 1 &&
                  Altitude::CLAMP_RELATIVE_TO_TERRAIN == 2 && Altitude::CLAMP_ABSOLUTE == 3);
    static_assert(Altitude::TECHNIQUE_MAP == 0 && Altitude::TECHNIQUE_SCENE == 1 &&
                  Altitude::TECHNIQUE_GPU == 2 && Altitude::TECHNIQUE_DRAPE == 3);
    static_assert(Altitude::BINDING_VERTEX == 0 && Altitude::BINDING_CENTROID == 1);
    offersOption<Altitude, Altitude::Clamping>(&Altitude::clamping);
    offersOption<Altitude, Altitude::Technique>(&Altitude::technique);
    offersOption<Altitude, Altitude::Binding>(&Altitude::binding);
    offersOption<Altitude, Number>(&Altitude::verticalOffset);
    offersOption<Altitude, Number>(&Altitude::verticalScale);
}

TEST(StyleInterface, RenderSymbol) {
    static_assert(kMakes<RenderSymbol> && std::is_base_of_v<Symbol, RenderSymbol>);
    offersOption<RenderSymbol, bool>(&RenderSymbol::depthTest);
    offersOption<RenderSymbol, bool>(&RenderSymbol::lighting);
    offersOption<RenderSymbol, bool>(&RenderSymbol::backfaceCulling);
    offersOption<RenderSymbol, bool>(&RenderSymbol::transparent);
    offersOption<RenderSymbol, DepthOffsetOptions>(&RenderSymbol::depthOffset);
    offersOption<RenderSymbol, Number>(&RenderSymbol::order);
    offersOption<RenderSymbol, std::string>(&RenderSymbol::renderBin);
    offersOption<RenderSymbol, float>(&RenderSymbol::minAlpha);
    offersOption<RenderSymbol, Distance>(&RenderSymbol::maxAltitude);
}

TEST(StyleInterface, TextSymbol) {
    using Text = TextSymbol;
    static_assert(kMakes<Text> && std::is_base_of_v<Symbol, Text>);
    static_assert(Text::ENCODING_ASCII == 0 && Text::ENCODING_UTF8 == 1 && Text::ENCODING_UTF16 == 2 &&
                  Text::ENCODING_UTF32 == 3);
    static_assert(Text::ALIGN_LEFT_TOP == 0 && Text::ALIGN_LEFT_CENTER == 1 && Text::ALIGN_LEFT_BOTTOM == 2 &&
                  Text::ALIGN_CENTER_TOP == 3 && Text::ALIGN_CENTER_CENTER == 4 &&
                  Text::ALIGN_CENTER_BOTTOM == 5 && Text::ALIGN_RIGHT_TOP == 6 &&
                  Text::ALIGN_RIGHT_CENTER == 7 && Text::ALIGN_RIGHT_BOTTOM == 8 &&
                  Text::ALIGN_LEFT_BASE_LINE == 9 && Text::ALIGN_CENTER_BASE_LINE == 10 &&
                  Text::ALIGN_RIGHT_BASE_LINE == 11 && Text::ALIGN_BASE_LINE == Text::ALIGN_LEFT_BASE_LINE);
    static_assert(Text::ALIGN_LEFT_BOTTOM_BASE_LINE == 12 && Text::ALIGN_CENTER_BOTTOM_BASE_LINE == 13 &&
                  Text::ALIGN_RIGHT_BOTTOM_BASE_LINE == 14);
    offersOption<Text, Number>(&Text::size);
    offersOption<Text, std::string>(&Text::font);
    offersOption<Text, Text::Encoding>(&Text::encoding);
    offersOption<Text, Fill>(&Text::fill);
    offersOption<Text, Stroke>(&Text::halo);
    offersOption<Text, Text::Alignment>(&Text::alignment);
    offersOption<Text, osg::Vec2s>(&Text::pixelOffset);
    offersOption<Text, StringExpression>(&Text::content);
    offersOption<Text, Number>(&Text::priority);
    offersOption<Text, bool>(&Text::declutter);
    offersOption<Text, bool>(&Text::occlusionCull);
}

TEST(StyleInterface, IconSymbol) {
    using Icon = IconSymbol;
    static_assert(std::is_base_of_v<Symbol, InstanceSymbol> && std::is_base_of_v<InstanceSymbol, Icon>);
    offersOption<InstanceSymbol, StringExpression>(&InstanceSymbol::url);
    offersOption<InstanceSymbol, Number>(&InstanceSymbol::scale);
    static_assert(Icon::ALIGN_LEFT_TOP == 0 && Icon::ALIGN_LEFT_CENTER == 1 && Icon::ALIGN_LEFT_BOTTOM == 2 &&
                  Icon::ALIGN_CENTER_TOP == 3 && Icon::ALIGN_CENTER_CENTER == 4 &&
                  Icon::ALIGN_CENTER_BOTTOM == 5 && Icon::ALIGN_RIGHT_TOP == 6 &&
                  Icon::ALIGN_RIGHT_CENTER == 7 && Icon::ALIGN_RIGHT_BOTTOM == 8);
    static_assert(kMakes<Icon>);
    offersOption<Icon, Icon::Alignment>(&Icon::alignment);
    offersOption<Icon, Number>(&Icon::heading);
    offersOption<Icon, bool>(&Icon::declutter);
    offers<void (Icon::*)(osg::Image*)>(&Icon::setImage);
}

TEST(StyleInterface, Expressions) {
    static_assert(kMakes<Number> && kMakes<Number, double> && kMakes<Number, const std::string&>);
    offers<double (Number::*)() const>(&Number::eval);
    static_assert(kMakes<StringExpression> && kMakes<StringExpression, const std::string&>);
    offers<const std::string& (StringExpression::*)() const>(&StringExpression::eval);
}

template<typename Shape>
void offersShape() {
    static_assert(std::is_base_of_v<Geometry, Shape>);
    static_assert(kMakes<Shape> && kMakes<Shape, int> && kMakes<Shape, const Vec3dVector*>);
    offers<void (Shape::*)(const osg::Vec3d&)>(&Shape::push_back);
    offers<void (Shape::*)(double, double)>(&Shape::push_back);
    offers<void (Shape::*)(double, double, double)>(&Shape::push_back);
    offers<Bounds (Shape::*)() const>(&Shape::getBounds);
    offers<int (Shape::*)() const>(&Shape::getTotalPointCount);
    offers<Geometry* (Shape::*)() const>(&Shape::clone);
    offers<Geometry* (Shape::*)(const Geometry::Type&) const>(&Shape::cloneAs);
    offers<Geometry::Type (Shape::*)() const>(&Shape::getType);
    offers<bool (Shape::*)() const>(&Shape::isValid);
    offers<void (Shape::*)(Geometry::Orientation)>(&Shape::rewind);
    offers<void (Shape::*)()>(&Shape::close);
    offers<void (Shape::*)()>(&Shape::removeDuplicates);
}

TEST(StyleInterface, Geometry) {
    static_assert(std::is_same_v<Vec3dVector, std::vector<osg::Vec3d>>);
    static_assert(std::is_base_of_v<osg::Referenced, Geometry>);
    static_assert(Geometry::TYPE_UNKNOWN < Geometry::TYPE_POINTSET &&
                  Geometry::TYPE_POINTSET < Geometry::TYPE_LINESTRING &&
                  Geometry::TYPE_LINESTRING < Geometry::TYPE_RING &&
                  Geometry::TYPE_RING < Geometry::TYPE_POLYGON &&
                  Geometry::TYPE_POLYGON < Geometry::TYPE_MULTI);
    static_assert(Geometry::ORIENTATION_CCW < Geometry::ORIENTATION_CW &&
                  Geometry::ORIENTATION_CW < Geometry::ORIENTATION_DEGENERATE);
    offersShape<Geometry>();
    offersShape<PointSet>();
    offersShape<LineString>();
    offersShape<Ring>();
    offersShape<Polygon>();
    offers<bool (Ring::*)(double, double) const>(&Ring::contains2D);
    offers<double (Ring::*)() const>(&Ring::getSignedArea2D);
    offers<void (Ring::*)()>(&Ring::open);
    offers<bool (Ring::*)() const>(&Ring::isOpen);
    static_assert(std::is_base_of_v<Ring, Polygon>);
    static_assert(std::is_same_v<RingCollection, std::vector<osg::ref_ptr<Ring>>>);
    offers<RingCollection& (Polygon::*)()>(&Polygon::getHoles);
}

TEST(StyleInterface, AGeometryIsAVectorOfPoints) {
    const osg::ref_ptr<Geometry> points = new LineString;
    points->reserve(3);
    points->resize(2);
    points->insert(points->begin(), osg::Vec3d(1.0, 2.0, 3.0));
    points->erase(points->begin() + 1);
    EXPECT_EQ(points->front(), (*points)[0]);
    EXPECT_EQ(points->at(1), points->back());
    EXPECT_EQ(points->end() - points->begin(), 2);
    EXPECT_EQ(points->asVector().size(), points->size());
    points->pop_back();
    points->clear();
    EXPECT_TRUE(points->empty());
}

TEST(StyleInterface, Feature) {
    using Features::Feature;
    using Features::FeatureID;
    static_assert(std::is_same_v<FeatureID, unsigned long>);
    static_assert(std::is_same_v<Features::FeatureList, std::list<osg::ref_ptr<Feature>>>);
    static_assert(std::is_base_of_v<osg::Object, Feature>);
    using SRS = const SpatialReference*;
    static_assert(kMakes<Feature, Geometry*, SRS> && kMakes<Feature, Geometry*, SRS, const Style&> &&
                  kMakes<Feature, Geometry*, SRS, const Style&, FeatureID> &&
                  kMakes<Feature, const Feature&> && kMakes<Feature, const Feature&, const osg::CopyOp&>);
    offers<FeatureID (Feature::*)() const>(&Feature::getFID);
    offers<Geometry* (Feature::*)()>(&Feature::getGeometry);
    offers<const Geometry* (Feature::*)() const>(&Feature::getGeometry);
    offers<void (Feature::*)(Geometry*)>(&Feature::setGeometry);
    offersProperty<Feature, SRS>(&Feature::getSRS, &Feature::setSRS);
    offersOption<Feature, Style>(&Feature::style);
    offers<GeoExtent (Feature::*)() const>(&Feature::getExtent);
    offersOption<Feature, GeoInterpolation>(&Feature::geoInterp);
}

TEST(StyleInterface, GeometryCompilerOptions) {
    using Options = Features::GeometryCompilerOptions;
    static_assert(kMakes<Options> && kMakes<Options, const Options&>);
    offersOption<Options, double>(&Options::maxGranularity);
    offersOption<Options, GeoInterpolation>(&Options::geoInterp);
    offersOption<Options, bool>(&Options::mergeGeometry);
    offersOption<Options, bool>(&Options::ignoreAltitudeSymbol);
}

} // namespace
} // namespace globetest
