#include "PlaceContent.h"
#include "Fonts.h"
#include "HaloedText.h"
#include "SharedState.h"

#include <osg/Texture2D>
#include <osgEarth/Registry>
#include <osgEarth/VirtualProgram>

#include <array>
#include <map>
#include <mutex>

namespace osgEarth {
namespace Annotation {
namespace {

using namespace Symbology;

constexpr float kGapPixels = 3.0f; // between icon and text
constexpr float kHalfHeightOfCapitals =
    0.37f; // of the size; Chinese characters reach a little farther both ways

const char* const kTexCoordSource =
    "out vec2 oe_place_tc;\n"
    "vec4 vp_Color;\n"
    "void oe_place_vertex(inout vec4 vertex) {\n"
    "    oe_place_tc = gl_MultiTexCoord0.st;\n"
    "    vp_Color.a *= gl_ModelViewMatrix[2][2];\n" // faded by the bin of labels
    "}\n";
const char* const kIconSource =
    "in vec2 oe_place_tc;\n"
    "uniform sampler2D oe_place_tex;\n"
    "void oe_place_icon(inout vec4 color) { color *= texture(oe_place_tex, oe_place_tc); }\n";
const char* const kTextSource =
    "in vec2 oe_place_tc;\n"
    "uniform sampler2D oe_place_tex;\n"
    "// Thin strokes of small letters cover no pixel wholly; without this they would be grey.\n"
    "void oe_place_text(inout vec4 color) { color.a *= min(1.5 * texture(oe_place_tex, oe_place_tc).a, 1.0); "
    "}\n";

osg::ref_ptr<osg::StateSet> screenState(const char* function, const char* source) {
    osg::ref_ptr<osg::StateSet> stateSet = new osg::StateSet;
    VirtualProgram* program = VirtualProgram::getOrCreate(stateSet);
    program->setFunction("oe_place_vertex", kTexCoordSource, ShaderComp::LOCATION_VERTEX_MODEL);
    program->setFunction(function, source, ShaderComp::LOCATION_FRAGMENT_COLORING);
    stateSet->addUniform(new osg::Uniform("oe_place_tex", 0));
    return stateSet;
}

osg::ref_ptr<osg::StateSet> textState() {
    static SharedState shared;
    return shared.get([] { return screenState("oe_place_text", kTextSource); });
}

osg::ref_ptr<osg::StateSet> makeIconState(osg::Image& image) {
    const osg::ref_ptr<osg::Texture2D> texture = new osg::Texture2D(&image);
    texture->setResizeNonPowerOfTwoHint(false);
    texture->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR);
    texture->setFilter(osg::Texture::MAG_FILTER, osg::Texture::LINEAR);
    texture->setWrap(osg::Texture::WRAP_S, osg::Texture::CLAMP_TO_EDGE);
    texture->setWrap(osg::Texture::WRAP_T, osg::Texture::CLAMP_TO_EDGE);
    osg::ref_ptr<osg::StateSet> stateSet = screenState("oe_place_icon", kIconSource);
    stateSet->setTextureAttributeAndModes(0, texture);
    return stateSet;
}

/// Of that image. Its texture keeps the image, so that no other one can have its address meanwhile.
osg::ref_ptr<osg::StateSet> iconState(osg::Image& image) {
    static std::mutex mutex;
    static std::map<const osg::Image*, SharedState> states;
    const std::lock_guard<std::mutex> lock(mutex);
    return states[&image].get([&image] { return makeIconState(image); });
}

/// Where the lower left corner of an image of that size lies.
osg::Vec2f lowerLeft(IconSymbol::Alignment alignment, const osg::Vec2f& size) {
    const int column = alignment / 3; // left, centre, right
    const int row = alignment % 3;    // top, centre, bottom
    return {-size.x() * static_cast<float>(column) / 2.0f, -size.y() * static_cast<float>(2 - row) / 2.0f};
}

osgText::String::Encoding encodingOf(TextSymbol::Encoding encoding) {
    switch (encoding) {
    case TextSymbol::ENCODING_UTF8:
        return osgText::String::ENCODING_UTF8;
    case TextSymbol::ENCODING_UTF16:
        return osgText::String::ENCODING_UTF16;
    case TextSymbol::ENCODING_UTF32:
        return osgText::String::ENCODING_UTF32;
    case TextSymbol::ENCODING_ASCII:
        break;
    }
    return osgText::String::ENCODING_ASCII;
}

// osgText has the same fifteen kinds in the same order.
osgText::Text::AlignmentType alignmentOf(TextSymbol::Alignment alignment) {
    return static_cast<osgText::Text::AlignmentType>(alignment);
}

} // namespace

osg::ref_ptr<osg::Geometry> iconDrawable(osg::Image& image, const IconSymbol* symbol) {
    const float scale = Registry::instance()->getDevicePixelRatio() *
                        static_cast<float>(symbol ? symbol->scale()->eval() : 1.0);
    const osg::Vec2f size(static_cast<float>(image.s()) * scale, static_cast<float>(image.t()) * scale);
    const osg::Vec2f corner =
        lowerLeft(symbol ? symbol->alignment().get() : IconSymbol::ALIGN_CENTER_BOTTOM, size);
    const osg::Quat rotation(osg::DegreesToRadians(symbol ? -symbol->heading()->eval() : 0.0),
                             osg::Vec3d(0, 0, 1));
    const bool topDown = image.getOrigin() == osg::Image::TOP_LEFT;

    osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    osg::ref_ptr<osg::Vec2Array> texCoords = new osg::Vec2Array;
    const std::array<osg::Vec2f, 4> units{{{0, 0}, {1, 0}, {0, 1}, {1, 1}}};
    for (const osg::Vec2f& unit : units) {
        const osg::Vec3f vertex(corner.x() + unit.x() * size.x(), corner.y() + unit.y() * size.y(), 0.0f);
        vertices->push_back(rotation * vertex);
        texCoords->push_back(osg::Vec2f(unit.x(), topDown ? 1.0f - unit.y() : unit.y()));
    }
    const osg::Vec4 white(1.0f, 1.0f, 1.0f, 1.0f);
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setUseDisplayList(false);
    geometry->setUseVertexBufferObjects(true);
    geometry->setVertexArray(vertices);
    geometry->setTexCoordArray(0, texCoords, osg::Array::BIND_PER_VERTEX);
    geometry->setColorArray(new osg::Vec4Array(1, &white), osg::Array::BIND_OVERALL);
    geometry->addPrimitiveSet(new osg::DrawArrays(GL_TRIANGLE_STRIP, 0, 4));
    geometry->setStateSet(iconState(image));
    return geometry;
}

osg::ref_ptr<osg::Group> textContent(const std::string& text, const TextSymbol* symbol,
                                     const osg::Geometry* icon) {
    static const osg::ref_ptr<const TextSymbol> plain = new TextSymbol;
    const TextSymbol& look = symbol ? *symbol : *plain;
    const float ratio = Registry::instance()->getDevicePixelRatio();
    const float size = static_cast<float>(look.size()->eval()) * ratio;
    osg::Vec3f position(static_cast<float>(look.pixelOffset()->x()) * ratio,
                        static_cast<float>(look.pixelOffset()->y()) * ratio, 0.0f);
    osgText::TextBase::AlignmentType alignment = alignmentOf(look.alignment().get());
    if (icon) {
        const osg::BoundingBox box = icon->getBoundingBox();
        const float baseLine = box.center().y() - kHalfHeightOfCapitals * size;
        position += osg::Vec3f(std::round(box.xMax() + kGapPixels * ratio), std::round(baseLine), 0.0f);
        alignment = osgText::TextBase::LEFT_BASE_LINE;
    }
    const osg::ref_ptr<HaloedText> line = new HaloedText;
    line->setShaderTechnique(osgText::NO_TEXT_SHADER); // the composed functions draw it
    line->setFont(fontNamed(look.font().isSet() ? look.font().get() : std::string()));
    // A texel for each pixel: places lie on whole pixels, and nothing else is as crisp.
    const unsigned resolution = static_cast<unsigned>(std::lround(std::max(size, 4.0f)));
    line->setFontResolution(resolution, resolution);
    line->setCharacterSize(size);
    line->setCharacterSizeMode(osgText::TextBase::OBJECT_COORDS);
    line->setAxisAlignment(osgText::TextBase::XY_PLANE);
    line->setAlignment(alignment);
    line->setFill(look.fill()->color());
    if (look.halo().isSet()) {
        line->setHalo(look.halo()->color(), ratio);
    }
    line->setPosition(position);
    line->setText(text, encodingOf(look.encoding().get()));
    // The font's own state, which the content's makes needless, would look through all texts of the font for each that goes.
    line->setStateSet(nullptr);
    osg::ref_ptr<osg::Group> content = new osg::Group;
    content->setStateSet(textState());
    content->addChild(line);
    return content;
}

} // namespace Annotation
} // namespace osgEarth
