/// Text with a rim of another colour.
#pragma once

#include <osg/Vec4>
#include <osgText/Text>

#include <optional>

namespace osgEarth {
namespace Annotation {

/// Draws itself a unit away on every side in the colour of its halo before itself: the library's own outlines need its
/// shaders, and eight more texts for each would hold eight times the memory.
class HaloedText : public osgText::Text {
public:
    /// The text's own colour; `setColor` is of no use here.
    void setFill(const osg::Vec4& color) { m_fill = color; }
    /// So wide, in units of the text's coordinates.
    void setHalo(const osg::Vec4& color, float width);

    void drawImplementation(osg::RenderInfo& renderInfo) const override;
    osg::BoundingBox computeBoundingBox() const override;

protected:
    ~HaloedText() override = default;

private:
    osg::Vec4 m_fill{1.0f, 1.0f, 1.0f, 1.0f};
    std::optional<osg::Vec4> m_halo;
    float m_width = 0.0f;
};

} // namespace Annotation
} // namespace osgEarth
