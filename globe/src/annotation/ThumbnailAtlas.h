/// Small copies of many pictures in few textures.
#pragma once

#include <osg/Image>
#include <osg/Texture2D>
#include <osg/Vec2f>

#include <vector>

namespace osgEarth {
namespace Annotation {

/// Pictures reduced to squares of 32 by 32 pixels, on pages of 1,024. Belongs to the thread that runs the
/// frames.
class ThumbnailAtlas : public osg::Referenced {
public:
    static constexpr int kSidePixels = 32;

    /// A reduced picture's place; it is free again with the last reference.
    class Thumbnail : public osg::Referenced {
    public:
        Thumbnail(ThumbnailAtlas* atlas, unsigned slot) : m_atlas(atlas), m_slot(slot) {}

        unsigned page() const;
        /// Texture coordinates of the lower left and upper right corners that keep to the picture when a
        /// level of the page's mipmap is read.
        void corners(int level, osg::Vec2f& lowerLeft, osg::Vec2f& upperRight) const;

    protected:
        ~Thumbnail() override;

    private:
        osg::ref_ptr<ThumbnailAtlas> m_atlas;
        unsigned m_slot;
    };

    osg::ref_ptr<Thumbnail> add(const osg::Image& picture);

    /// The texture of a page. Levels are chosen by the shader; between them nothing is interpolated.
    osg::Texture2D* texture(unsigned page) const { return m_pages[page].get(); }

    /// The coarsest level: a thumbnail is one pixel.
    static constexpr int kLastLevel = 5;

protected:
    ~ThumbnailAtlas() override = default;

private:
    void addPage();

    std::vector<osg::ref_ptr<osg::Texture2D>> m_pages;
    std::vector<unsigned> m_freeSlots;
};

} // namespace Annotation
} // namespace osgEarth
