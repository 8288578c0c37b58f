#include "LayerStack.h"

#include "HeightApron.h"
#include "RasterSource.h"

#include <osgEarth/ElevationLayer>
#include <osgEarth/ImageLayer>

#include <array>
#include <cmath>

namespace osgEarth {
namespace {

// Ground without any picture.
constexpr std::array<std::uint8_t, 3> kPlainColour = {196, 192, 180};

bool isOpaque(const std::vector<std::uint8_t>& rgba) {
    for (std::size_t i = 3; i < rgba.size(); i += 4) {
        if (rgba[i] != 255) {
            return false;
        }
    }
    return true;
}

void blendOver(const std::vector<std::uint8_t>& rgba, float opacity, unsigned char* rgb) {
    for (std::size_t i = 0; i + 3 < rgba.size(); i += 4, rgb += 3) {
        const float alpha = static_cast<float>(rgba[i + 3]) * opacity / 255.0F;
        for (std::size_t c = 0; c < 3; ++c) {
            const auto below = static_cast<float>(rgb[c]);
            const auto above = static_cast<float>(rgba[i + c]);
            rgb[c] = static_cast<unsigned char>(below + (above - below) * alpha + 0.5F);
        }
    }
}

int revisionOf(const RasterSource& raster, const DistantRaster* distant) {
    return raster.revision() + (distant ? distant->revision() : 0);
}

// Extents of the entries that stand in one list only, or of all when the order changed.
template<typename List, typename BoxesOf>
void addDifferences(const List& a, const List& b, BoxesOf boxesOf, std::vector<GeoExtent>& out) {
    if (a == b) {
        return;
    }
    const auto contains = [](const List& list, const auto& entry) {
        return std::find(list.begin(), list.end(), entry) != list.end();
    };
    const auto onlyCommon = [&](const List& list, const List& other) {
        List common;
        std::copy_if(list.begin(), list.end(), std::back_inserter(common),
                     [&](const auto& entry) { return contains(other, entry); });
        return common;
    };
    const bool sameOrder = onlyCommon(a, b) == onlyCommon(b, a);
    for (const auto& [list, other] : {std::pair(&a, &b), std::pair(&b, &a)}) {
        for (const auto& entry : *list) {
            if (!sameOrder || !contains(*other, entry)) {
                const std::vector<GeoExtent> boxes = boxesOf(entry);
                out.insert(out.end(), boxes.begin(), boxes.end());
            }
        }
    }
}

std::vector<GeoExtent> boxesOf(const LayerStack::Image& image) {
    return image.raster.source->footprint().boxes();
}

bool hasFinerApron(RasterSource& source, const GeoExtent& here, int cells) {
    const double reach = source.heightApron().widthDegrees();
    return reach > 0.0 && here.height() / cells > source.heightApron().resolutionDegrees() &&
           source.footprint().touches(here, reach);
}

} // namespace

bool LayerLook::Layer::isPossible() const {
    const auto raster = source.lock();
    return raster && revisionOf(*raster, distant.lock().get()) == revision;
}

bool LayerLook::Layer::operator==(const Layer& other) const {
    const auto raster = source.lock();
    return raster && raster == other.source.lock() && revision == other.revision && opacity == other.opacity;
}

bool LayerLook::isPossible() const {
    return std::all_of(m_layers.begin(), m_layers.end(),
                       [](const Layer& layer) { return layer.isPossible(); });
}

bool LayerLook::operator==(const LayerLook& other) const {
    return std::equal(m_layers.begin(), m_layers.end(), other.m_layers.begin(), other.m_layers.end());
}

LayerStack::LayerStack(const Map& map, int revision) : m_revision(revision) {
    std::vector<osg::ref_ptr<TerrainLayer>> layers;
    map.getLayers(layers);
    for (const auto& layer : layers) {
        if (!layer->getEnabled() || !layer->raster()) {
            continue;
        }
        if (const auto* image = dynamic_cast<const ImageLayer*>(layer.get())) {
            const std::shared_ptr<DistantRaster> distant = layer->distantRaster();
            const int state = revisionOf(*layer->raster(), distant.get());
            const Image entry{{layer->raster(), state}, image->getOpacity(), distant};
            if (image->getVisible()) {
                m_images.push_back(entry);
            }
            if (image->getVisibleInComparison()) {
                m_compared.push_back(entry);
            }
        } else if (dynamic_cast<const ElevationLayer*>(layer.get()) && layer->getVisible()) {
            m_elevations.insert(m_elevations.begin(), {layer->raster(), layer->raster()->revision()});
        }
    }
    addDifferences(m_images, m_compared, boxesOf, m_different);
}

bool LayerStack::Image::warp(const SampleGrid& grid, std::vector<std::uint8_t>& rgba,
                             const PictureNews& news) const {
    return distant ? distant->image(grid, rgba, news)
                   : warpImage(*raster.source, grid, rgba) == Warped::Something;
}

osg::ref_ptr<osg::Image> LayerStack::composeImage(const GeoExtent& extent, int pixels,
                                                  const PictureNews& news) const {
    return compose(m_images, {extent, pixels, pixels, false}, news);
}

osg::ref_ptr<osg::Image> LayerStack::composeComparedImage(const GeoExtent& extent, int pixels,
                                                          const PictureNews& news) const {
    const GeoExtent here = extent.transform(SpatialReference::get("wgs84"));
    const bool isDifferent = std::any_of(m_different.begin(), m_different.end(),
                                         [&](const GeoExtent& box) { return box.intersects(here); });
    return isDifferent ? compose(m_compared, {extent, pixels, pixels, false}, news) : nullptr;
}

osg::ref_ptr<osg::Image> LayerStack::compose(const std::vector<Image>& images, const SampleGrid& grid,
                                             const PictureNews& news) {
    osg::ref_ptr<osg::Image> image = new osg::Image();
    image->allocateImage(grid.width, grid.height, 1, GL_RGB, GL_UNSIGNED_BYTE);
    unsigned char* const colours = image->data();
    const std::size_t bytes =
        std::size_t{3} * static_cast<std::size_t>(grid.width) * static_cast<std::size_t>(grid.height);
    for (std::size_t i = 0; i < bytes; ++i) {
        colours[i] = kPlainColour[i % 3];
    }
    // From the top down, as far as anything shows through; then painted from the bottom up.
    std::vector<std::pair<std::vector<std::uint8_t>, float>> visible;
    for (auto layer = images.rbegin(); layer != images.rend(); ++layer) {
        std::vector<std::uint8_t> rgba;
        if (layer->opacity > 0.0F && layer->warp(grid, rgba, news)) {
            const bool covers = layer->opacity >= 1.0F && isOpaque(rgba);
            visible.emplace_back(std::move(rgba), layer->opacity);
            if (covers) {
                break;
            }
        }
    }
    for (auto layer = visible.rbegin(); layer != visible.rend(); ++layer) {
        blendOver(layer->first, layer->second, colours);
    }
    return image;
}

LayerStack::Heights LayerStack::composeHeights(const SampleGrid& grid) const {
    const auto count = static_cast<std::size_t>(grid.width) * static_cast<std::size_t>(grid.height);
    Heights heights{std::vector<float>(count, std::nanf("")), std::vector<bool>(count)};
    std::vector<float>& metres = heights.metres;
    std::vector<float> layer;
    for (const Raster& raster : m_elevations) {
        if (!warpHeights(*raster.source, grid, layer)) {
            continue;
        }
        for (std::size_t i = 0; i < count; ++i) {
            metres[i] = std::isnan(metres[i]) ? layer[i] : metres[i];
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        heights.measured[i] = !std::isnan(metres[i]);
    }
    for (const Raster& raster : m_elevations) {
        fillFromApron(*raster.source, grid, metres);
    }
    std::replace_if(metres.begin(), metres.end(), [](float h) { return std::isnan(h); }, 0.0F);
    return heights;
}

bool LayerStack::hasFinerData(const GeoExtent& extent, int pixels, int posts) const {
    const GeoExtent here = extent.transform(SpatialReference::get("wgs84"));
    const auto isFiner = [&](const RasterSource& source, double samples) {
        // Half as fine as the data is fine enough to stop: bilinear sampling shows no more.
        return here.height() / samples > source.resolutionDegrees() * 1.2 && source.footprint().touches(here);
    };
    // A server that never answered is no reason for finer tiles, which would show nothing more.
    const auto isFinerImage = [&](const Image& image) {
        return (!image.distant || image.distant->hasAnswered()) && isFiner(*image.raster.source, pixels);
    };
    return std::any_of(m_images.begin(), m_images.end(), isFinerImage) ||
           std::any_of(m_compared.begin(), m_compared.end(), isFinerImage) ||
           std::any_of(m_elevations.begin(), m_elevations.end(), [&](const Raster& raster) {
               return isFiner(*raster.source, posts - 1) || hasFinerApron(*raster.source, here, posts - 1);
           });
}

LayerLook LayerStack::look() const {
    LayerLook look;
    for (const Image& image : m_images) {
        look.add(image.raster.source, image.distant, image.raster.revision, image.opacity);
    }
    if (isComparing()) {
        for (const Image& image : m_compared) {
            const float beside = -1.0F - image.opacity; // no opacity that the others can have
            look.add(image.raster.source, image.distant, image.raster.revision, beside);
        }
    }
    for (const Raster& raster : m_elevations) {
        look.add(raster.source, nullptr, raster.revision, 1.0F);
    }
    return look;
}

std::vector<GeoExtent> LayerStack::differencesTo(const LayerStack& other) const {
    std::vector<GeoExtent> extents;
    addDifferences(m_images, other.m_images, boxesOf, extents);
    if (isComparing() || other.isComparing()) {
        addDifferences(m_compared, other.m_compared, boxesOf, extents);
    }
    addDifferences(
        m_elevations, other.m_elevations,
        [](const Raster& raster) {
            return raster.source->footprint().boxes(raster.source->heightApron().widthDegrees());
        },
        extents);
    return extents;
}

} // namespace osgEarth
