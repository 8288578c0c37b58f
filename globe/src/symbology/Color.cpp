#include <osgEarthSymbology/Color>

namespace osgEarth {
namespace Symbology {
namespace {

float component(unsigned value, int shift) {
    return static_cast<float>((value >> shift) & 0xFFu) / 255.0f;
}

std::string hexDigits(const std::string& html) {
    std::size_t start = 0;
    if (!html.empty() && html[0] == '#') {
        start = 1;
    } else if (html.size() > 1 && html[0] == '0' && (html[1] == 'x' || html[1] == 'X')) {
        start = 2;
    }
    return html.substr(start);
}

} // namespace

Color::Color() : osg::Vec4f(1.0f, 1.0f, 1.0f, 1.0f) {}
Color::Color(float r, float g, float b, float a) : osg::Vec4f(r, g, b, a) {}
Color::Color(const osg::Vec4f& rgba) : osg::Vec4f(rgba) {}
Color::Color(const Color& rgb, float a) : osg::Vec4f(rgb.r(), rgb.g(), rgb.b(), a) {}

Color::Color(unsigned value, Format format) {
    if (format == RGBA) {
        set(component(value, 24), component(value, 16), component(value, 8), component(value, 0));
    } else {
        set(component(value, 0), component(value, 8), component(value, 16), component(value, 24));
    }
}

Color::Color(const std::string& html, Format format) : Color() {
    std::string digits = hexDigits(html);
    if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        return;
    }
    if (digits.size() == 6) {
        digits = format == RGBA ? digits + "ff" : "ff" + digits;
    }
    if (digits.size() == 8) {
        *this = Color(static_cast<unsigned>(std::stoul(digits, nullptr, 16)), format);
    }
}

// The sixteen colours of HTML 4 and a few more.
Color Color::White(0xffffffffu);
Color Color::Silver(0xc0c0c0ffu);
Color Color::Gray(0x808080ffu);
Color Color::Black(0x000000ffu);
Color Color::Red(0xff0000ffu);
Color Color::Maroon(0x800000ffu);
Color Color::Yellow(0xffff00ffu);
Color Color::Olive(0x808000ffu);
Color Color::Lime(0x00ff00ffu);
Color Color::Green(0x008000ffu);
Color Color::Aqua(0x00ffffffu);
Color Color::Teal(0x008080ffu);
Color Color::Blue(0x0000ffffu);
Color Color::Navy(0x000080ffu);
Color Color::Fuchsia(0xff00ffffu);
Color Color::Purple(0x800080ffu);
Color Color::Orange(0xffa500ffu);
Color Color::Cyan(0x00ffffffu);
Color Color::DarkGray(0x404040ffu);
Color Color::Magenta(0xff00ffffu);
Color Color::Brown(0xa52a2affu);

} // namespace Symbology
} // namespace osgEarth
