/// The icon and the text of a place, as drawables in pixels about the position.
#pragma once

#include <osg/Geometry>
#include <osg/Group>
#include <osg/Image>
#include <osgEarthSymbology/IconSymbol>
#include <osgEarthSymbology/TextSymbol>

#include <string>

namespace osgEarth {
namespace Annotation {

/// A textured rectangle at the image's pixel size; bottom centre on the origin unless the symbol says
/// otherwise.
osg::ref_ptr<osg::Geometry> iconDrawable(osg::Image& image, const Symbology::IconSymbol* symbol);

/// A line of text: right of the icon and vertically centred on it, or at the origin when there is none. The
/// text is the group's only child; its state set is the group's.
osg::ref_ptr<osg::Group> textContent(const std::string& text, const Symbology::TextSymbol* symbol,
                                     const osg::Geometry* icon);

} // namespace Annotation
} // namespace osgEarth
