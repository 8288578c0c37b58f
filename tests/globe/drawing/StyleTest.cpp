#include <gtest/gtest.h>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>
#include <osgEarthSymbology/RenderSymbol>
#include <osgEarthSymbology/Style>
#include <osgEarthSymbology/TextSymbol>

using namespace osgEarth;
using namespace osgEarth::Symbology;

TEST(Style, IsEmptyUntilASymbolIsMade) {
    Style style("areas");
    EXPECT_TRUE(style.empty());
    EXPECT_EQ(style.getName(), "areas");
    EXPECT_FALSE(style.has<PolygonSymbol>());
    PolygonSymbol* symbol = style.getOrCreate<PolygonSymbol>();
    EXPECT_FALSE(style.empty());
    EXPECT_EQ(style.get<PolygonSymbol>(), symbol);
    EXPECT_EQ(style.getOrCreateSymbol<PolygonSymbol>(), symbol);
}

TEST(Style, CopiesDoNotFollowLaterChanges) {
    Style style;
    style.getOrCreate<PolygonSymbol>()->fill()->color() = Color(1.0f, 0.0f, 0.0f, 0.5f);
    const Style copied(style);
    Style assigned;
    assigned = style;
    style.get<PolygonSymbol>()->fill()->color() = Color::Blue;
    EXPECT_EQ(copied.get<PolygonSymbol>()->fill()->color(), Color(1.0f, 0.0f, 0.0f, 0.5f));
    EXPECT_EQ(assigned.get<PolygonSymbol>()->fill()->color(), Color(1.0f, 0.0f, 0.0f, 0.5f));
}

TEST(Style, CopiesCarryEveryValue) {
    Style style;
    AltitudeSymbol* altitude = style.getOrCreate<AltitudeSymbol>();
    altitude->clamping() = AltitudeSymbol::CLAMP_TO_TERRAIN;
    altitude->technique() = AltitudeSymbol::TECHNIQUE_DRAPE;
    altitude->verticalOffset() = 0.1;
    TextSymbol* text = style.getOrCreate<TextSymbol>();
    text->size() = 15.0;
    text->font() = "simhei.ttf";
    text->encoding() = TextSymbol::ENCODING_UTF8;
    style.getOrCreate<RenderSymbol>()->depthOffset()->minBias() = 100.0;
    style.getOrCreate<LineSymbol>()->stroke()->widthUnits() = Units::PIXELS;
    const Style copy(style);
    EXPECT_EQ(copy.get<AltitudeSymbol>()->technique().get(), AltitudeSymbol::TECHNIQUE_DRAPE);
    EXPECT_DOUBLE_EQ(copy.get<AltitudeSymbol>()->verticalOffset()->eval(), 0.1);
    EXPECT_DOUBLE_EQ(copy.get<TextSymbol>()->size()->eval(), 15.0);
    EXPECT_EQ(copy.get<TextSymbol>()->font().get(), "simhei.ttf");
    EXPECT_EQ(copy.get<TextSymbol>()->encoding().get(), TextSymbol::ENCODING_UTF8);
    EXPECT_TRUE(copy.get<RenderSymbol>()->depthOffset().isSet());
    EXPECT_DOUBLE_EQ(copy.get<RenderSymbol>()->depthOffset()->minBias()->as(Units::METERS), 100.0);
    EXPECT_TRUE(copy.get<LineSymbol>()->stroke()->widthUnits().isSetTo(Units::PIXELS));
}

TEST(Style, AddedSymbolReplacesOneOfItsClass) {
    Style style;
    style.getOrCreate<LineSymbol>()->stroke()->color() = Color::Red;
    osg::ref_ptr<LineSymbol> other = new LineSymbol;
    other->stroke()->color() = Color::Cyan;
    style.addSymbol(other);
    EXPECT_EQ(style.get<LineSymbol>(), other.get());
    EXPECT_TRUE(style.remove<LineSymbol>());
    EXPECT_FALSE(style.remove<LineSymbol>());
    EXPECT_TRUE(style.empty());
}

TEST(Symbols, AreUsableBeforeAnythingIsSet) {
    const osg::ref_ptr<const AltitudeSymbol> altitude = new AltitudeSymbol;
    EXPECT_EQ(altitude->clamping().get(), AltitudeSymbol::CLAMP_NONE);
    EXPECT_EQ(altitude->technique().get(), AltitudeSymbol::TECHNIQUE_MAP);
    EXPECT_DOUBLE_EQ(altitude->verticalScale()->eval(), 1.0);
    const osg::ref_ptr<const TextSymbol> text = new TextSymbol;
    EXPECT_DOUBLE_EQ(text->size()->eval(), 16.0);
    EXPECT_EQ(text->encoding().get(), TextSymbol::ENCODING_ASCII);
    EXPECT_TRUE(text->declutter().get());
    EXPECT_FALSE(text->halo().isSet());
    const Stroke stroke;
    EXPECT_EQ(stroke.color(), Color::White);
    EXPECT_FLOAT_EQ(stroke.width().get(), 1.0f);
    EXPECT_EQ(stroke.widthUnits().get(), Units::PIXELS);
    EXPECT_EQ(stroke.stipplePattern().get(), 0xFFFF);
    const osg::ref_ptr<const PolygonSymbol> polygon = new PolygonSymbol;
    EXPECT_TRUE(polygon->outline().get());
    const osg::ref_ptr<const RenderSymbol> render = new RenderSymbol;
    EXPECT_FALSE(render->depthOffset().isSet());
}

TEST(Color, NamedColoursHaveTheirHtmlValues) {
    EXPECT_EQ(Color::Red, Color(1.0f, 0.0f, 0.0f, 1.0f));
    EXPECT_EQ(Color::Cyan, Color::Aqua);
    EXPECT_NEAR(Color::Green.g(), 0.502f, 0.001f);
    EXPECT_EQ(Color::Lime, Color(0.0f, 1.0f, 0.0f, 1.0f));
}

TEST(Color, ReadsHtmlText) {
    EXPECT_EQ(Color("#ff0000"), Color::Red);
    EXPECT_EQ(Color("00ff0000"), Color(0.0f, 1.0f, 0.0f, 0.0f));
    EXPECT_EQ(Color("#40ff0000", Color::ABGR), Color(0.0f, 0.0f, 1.0f, 64.0f / 255.0f));
    EXPECT_EQ(Color("no colour"), Color::White);
}

TEST(Color, KeepsComponentsBeyondOne) {
    Style style;
    style.getOrCreate<PolygonSymbol>()->fill()->color() = Color(1.0f, 1.0f, 0.0f, 5.0f);
    const Fill fill = Style(style).get<PolygonSymbol>()->fill().get();
    EXPECT_FLOAT_EQ(fill.color().a(), 5.0f);
}

TEST(NumericExpression, ReadsNumbersInCNotation) {
    EXPECT_DOUBLE_EQ(NumericExpression("2.5").eval(), 2.5);
    EXPECT_DOUBLE_EQ(NumericExpression("-1e3").eval(), -1000.0);
    EXPECT_DOUBLE_EQ(NumericExpression("[height]").eval(), 0.0);
}
