/// Fonts by file name.
#pragma once

#include <osgText/Font>

#include <string>

namespace osgEarth {
namespace Annotation {

/// The font of that file name, searched in the current folder, the OSG file path and the system's font
/// folders, else the registry's default font. Each file is read once per process.
osg::ref_ptr<osgText::Font> fontNamed(const std::string& name);

} // namespace Annotation
} // namespace osgEarth
