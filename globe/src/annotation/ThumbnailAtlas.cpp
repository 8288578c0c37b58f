#include "ThumbnailAtlas.h"

#include <algorithm>
#include <cmath>

namespace osgEarth {
namespace Annotation {
namespace {

constexpr int kSide = ThumbnailAtlas::kSidePixels;
constexpr int kPageColumns = 32;
constexpr int kPageSide = kPageColumns * kSide;
constexpr unsigned kSlotsPerPage = kPageColumns * kPageColumns;

/// Pixels of a picture of `length` that fall on one of the thumbnail's; at least one.
struct Span {
    Span(int index, int length)
        : first(index * length / kSide), last(std::max(first + 1, (index + 1) * length / kSide)) {}
    int first;
    int last;
};

/// The pictures that are usual are read in place; others go by way of OSG's colours, which takes long.
osg::ref_ptr<const osg::Image> withBytes(const osg::Image& picture) {
    if (picture.getPixelFormat() == GL_RGBA && picture.getDataType() == GL_UNSIGNED_BYTE) {
        return &picture;
    }
    osg::ref_ptr<osg::Image> copy = new osg::Image;
    copy->allocateImage(picture.s(), picture.t(), 1, GL_RGBA, GL_UNSIGNED_BYTE);
    for (int row = 0; row < picture.t(); ++row) {
        for (int column = 0; column < picture.s(); ++column) {
            copy->setColor(picture.getColor(static_cast<unsigned>(column), static_cast<unsigned>(row)),
                           static_cast<unsigned>(column), static_cast<unsigned>(row));
        }
    }
    return copy;
}

/// Mean colour of a box of pixels in 0..255; each counts as much as it covers.
osg::Vec4 meanColor(const osg::Image& picture, const Span& columns, const Span& rows) {
    osg::Vec4 sum;
    int pixels = 0;
    for (int row = rows.first; row < rows.last; ++row) {
        const unsigned char* pixel =
            picture.data(static_cast<unsigned>(columns.first), static_cast<unsigned>(row));
        for (int column = columns.first; column < columns.last; ++column, pixel += 4, ++pixels) {
            const auto alpha = static_cast<float>(pixel[3]);
            sum += osg::Vec4(static_cast<float>(pixel[0]) * alpha, static_cast<float>(pixel[1]) * alpha,
                             static_cast<float>(pixel[2]) * alpha, alpha);
        }
    }
    if (sum.a() <= 0.0f) {
        return {};
    }
    return {sum.r() / sum.a(), sum.g() / sum.a(), sum.b() / sum.a(), sum.a() / static_cast<float>(pixels)};
}

} // namespace

unsigned ThumbnailAtlas::Thumbnail::page() const {
    return m_slot / kSlotsPerPage;
}

// Half a pixel of the level within the edges: there the hardware reads that pixel alone.
void ThumbnailAtlas::Thumbnail::corners(int level, osg::Vec2f& lowerLeft, osg::Vec2f& upperRight) const {
    const unsigned place = m_slot % kSlotsPerPage;
    const unsigned column = place % kPageColumns;
    const unsigned row = place / kPageColumns;
    const osg::Vec2f corner(static_cast<float>(column), static_cast<float>(row));
    const float inset = 0.5f * static_cast<float>(1 << level) / kSide;
    lowerLeft = (corner + osg::Vec2f(inset, inset)) / kPageColumns;
    upperRight = (corner + osg::Vec2f(1.0f - inset, 1.0f - inset)) / kPageColumns;
}

ThumbnailAtlas::Thumbnail::~Thumbnail() {
    m_atlas->m_freeSlots.push_back(m_slot);
}

void ThumbnailAtlas::addPage() {
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(kPageSide, kPageSide, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    osg::ref_ptr<osg::Texture2D> page = new osg::Texture2D(image);
    page->setFilter(osg::Texture::MIN_FILTER, osg::Texture::LINEAR_MIPMAP_NEAREST);
    page->setFilter(osg::Texture::MAG_FILTER, osg::Texture::LINEAR);
    page->setMaxLOD(static_cast<float>(kLastLevel));
    page->setDataVariance(osg::Object::DYNAMIC);
    const auto firstSlot = static_cast<unsigned>(m_pages.size()) * kSlotsPerPage;
    for (unsigned slot = firstSlot + kSlotsPerPage; slot-- > firstSlot;) {
        m_freeSlots.push_back(slot);
    }
    m_pages.push_back(page);
}

osg::ref_ptr<ThumbnailAtlas::Thumbnail> ThumbnailAtlas::add(const osg::Image& picture) {
    if (m_freeSlots.empty()) {
        addPage();
    }
    const unsigned slot = m_freeSlots.back();
    m_freeSlots.pop_back();
    osg::Image& page = *m_pages[slot / kSlotsPerPage]->getImage();
    const unsigned left = slot % kSlotsPerPage % kPageColumns * kSide;
    const unsigned bottom = slot % kSlotsPerPage / kPageColumns * kSide;
    const bool topDown = picture.getOrigin() == osg::Image::TOP_LEFT;
    const osg::ref_ptr<const osg::Image> source = withBytes(picture);
    for (int row = 0; row < kSide; ++row) {
        const Span rows(topDown ? kSide - 1 - row : row, source->t());
        unsigned char* pixel = page.data(left, bottom + static_cast<unsigned>(row));
        for (int column = 0; column < kSide; ++column) {
            const osg::Vec4 color = meanColor(*source, Span(column, source->s()), rows);
            for (unsigned channel = 0; channel < 4; ++channel) {
                *pixel++ = static_cast<unsigned char>(std::lround(color[channel]));
            }
        }
    }
    page.dirty();
    return new Thumbnail(this, slot);
}

} // namespace Annotation
} // namespace osgEarth
