#include "Fonts.h"

#include <osg/Notify>
#include <osgDB/FileUtils>
#include <osgEarth/Registry>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <vector>

namespace osgEarth {
namespace Annotation {
namespace {

std::vector<std::filesystem::path> systemFontFolders() {
    std::vector<std::filesystem::path> folders;
    if (const char* windows = std::getenv("WINDIR")) {
        folders.emplace_back(std::filesystem::path(windows) / "Fonts");
    }
    if (const char* home = std::getenv("HOME")) {
        folders.emplace_back(std::filesystem::path(home) / ".fonts");
        folders.emplace_back(std::filesystem::path(home) / ".local/share/fonts");
    }
    folders.emplace_back("/usr/local/share/fonts");
    folders.emplace_back("/usr/share/fonts");
    return folders;
}

/// File name to path of everything in the font folders.
std::map<std::string, std::string> systemFonts() {
    std::map<std::string, std::string> fonts;
    for (const std::filesystem::path& folder : systemFontFolders()) {
        std::error_code error;
        std::filesystem::recursive_directory_iterator entry(folder, error);
        for (; !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
            fonts.emplace(entry->path().filename().string(), entry->path().string());
        }
    }
    return fonts;
}

/// The font's file; empty if there is none of that name.
std::string fontFile(const std::string& name) {
    std::string file = osgDB::findDataFile(name);
    if (!file.empty()) {
        return file;
    }
    static const std::map<std::string, std::string> installed = systemFonts();
    const auto found = installed.find(name);
    return found != installed.end() ? found->second : std::string();
}

// Only existing files are read: for other names OSG may offer any font, which need not have the wanted
// characters.
osg::ref_ptr<osgText::Font> readFont(const std::string& name) {
    const std::string file = fontFile(name);
    osg::ref_ptr<osgText::Font> font = file.empty() ? nullptr : osgText::readRefFontFile(file);
    if (font.valid()) {
        return font;
    }
    OSG_INFO << "[osgEarth] Font \"" << name << "\" not found, using the default font" << std::endl;
    return Registry::instance()->getDefaultFont();
}

} // namespace

osg::ref_ptr<osgText::Font> fontNamed(const std::string& name) {
    if (name.empty()) {
        return Registry::instance()->getDefaultFont();
    }
    static std::mutex mutex;
    static std::map<std::string, osg::ref_ptr<osgText::Font>> fonts;
    const std::lock_guard<std::mutex> lock(mutex);
    osg::ref_ptr<osgText::Font>& font = fonts[name];
    if (!font.valid()) {
        font = readFont(name);
    }
    return font;
}

} // namespace Annotation
} // namespace osgEarth
