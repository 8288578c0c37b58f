#include <osgDB/FileUtils>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgText/Font>

namespace osgEarth {
namespace {

std::mutex& instanceMutex() {
    static std::mutex mutex;
    return mutex;
}

osg::ref_ptr<Registry>& instanceSlot() {
    static osg::ref_ptr<Registry> slot;
    return slot;
}

// Fonts with CJK glyphs that Debian and Windows ship, best first. By their paths: osgText answers an unknown
// name with whatever font the system likes best, which may lack the glyphs.
osgText::Font* readSystemFont() {
    for (const char* path : {"/usr/share/fonts/truetype/wqy/wqy-zenhei.ttc",
                             "/usr/share/fonts/opentype/noto/NotoSansCJK-Regular.ttc",
                             "C:/Windows/Fonts/simhei.ttf", "C:/Windows/Fonts/msyh.ttc"}) {
        osg::ref_ptr<osgText::Font> font;
        if (osgDB::fileExists(path)) {
            font = osgText::readRefFontFile(path);
        }
        if (font.valid()) {
            return font.release();
        }
    }
    return osgText::Font::getDefaultFont().get();
}

} // namespace

Registry* Registry::instance(bool reset) {
    const std::lock_guard lock(instanceMutex());
    auto& slot = instanceSlot();
    if (reset) {
        slot = nullptr;
        return nullptr;
    }
    if (!slot.valid()) {
        slot = new Registry();
    }
    return slot.get();
}

ObjectIndex* Registry::objectIndex() {
    return instance()->m_objectIndex.get();
}

Registry::Registry()
    : m_geodetic(Profile::create("global-geodetic")), m_mercator(Profile::create("spherical-mercator")),
      m_objectIndex(new ObjectIndex()) {}

Registry::~Registry() = default;

osgText::Font* Registry::getDefaultFont() {
    const std::lock_guard lock(m_fontMutex);
    if (!m_defaultFont.valid()) {
        m_defaultFont = readSystemFont();
    }
    return m_defaultFont.get();
}

void Registry::setDefaultFont(osgText::Font* font) {
    const std::lock_guard lock(m_fontMutex);
    m_defaultFont = font;
}

} // namespace osgEarth
