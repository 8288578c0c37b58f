// What a terrain tile is made of: the map's layers at one moment.
#pragma once
#include "DistantRaster.h"
#include "RasterWarper.h"

#include <osg/Image>
#include <osgEarth/Map>
#include <osgEarth/TileKey>

#include <memory>
#include <vector>

namespace osgEarth {
class RasterSource;

/// How a stack of layers looks, bottom first: two are the same if their rasters are the same ones, in the same state.
class LayerLook {
public:
    void add(const std::shared_ptr<RasterSource>& source, const std::shared_ptr<DistantRaster>& distant,
             int revision, float opacity) {
        m_layers.push_back({source, distant, revision, opacity});
    }
    /// Whether all its rasters are still there, in that state; otherwise it cannot come back.
    bool isPossible() const;
    bool operator==(const LayerLook& other) const;

private:
    struct Layer {
        std::weak_ptr<RasterSource> source;
        std::weak_ptr<DistantRaster> distant;
        int revision;
        float opacity;
        bool isPossible() const;
        bool operator==(const Layer& other) const;
    };
    std::vector<Layer> m_layers;
};

/// Immutable list of the layers in use, so that background threads need no lock on the map.
class LayerStack {
public:
    struct Raster {
        std::shared_ptr<RasterSource> source;
        int revision = 0;
        bool operator==(const Raster& rhs) const { return source == rhs.source && revision == rhs.revision; }
    };
    struct Image {
        Raster raster;
        float opacity = 1.0F;
        std::shared_ptr<DistantRaster> distant; // set where the raster is read by threads of its own
        bool warp(const SampleGrid& grid, std::vector<std::uint8_t>& rgba, const PictureNews& news) const;
        bool operator==(const Image& rhs) const { return raster == rhs.raster && opacity == rhs.opacity; }
    };

    LayerStack() = default;
    LayerStack(const Map& map, int revision);

    /// Counts the stacks of one terrain.
    int revision() const { return m_revision; }
    /// The images composed bottom-up over a plain colour. What a distant raster has not got yet is left out;
    /// `news` tells later that it has come.
    osg::ref_ptr<osg::Image> composeImage(const GeoExtent& extent, int pixels, const PictureNews& news) const;
    /// The same of the layers that are visible in the comparison; null where that looks no different.
    osg::ref_ptr<osg::Image> composeComparedImage(const GeoExtent& extent, int pixels,
                                                  const PictureNews& news) const;
    /// Whether the two pictures may look different anywhere.
    bool isComparing() const { return !m_different.empty(); }
    struct Heights {
        std::vector<float> metres;
        std::vector<bool> measured; ///< false where the surface is continued beyond the data
    };
    /// Heights from the last layer with data at each post; holes and surroundings are continued smoothly, and
    /// far from any data the height is 0.
    Heights composeHeights(const SampleGrid& grid) const;
    /// Whether any layer within the extent is finer than a tile of so many pixels and posts shows.
    bool hasFinerData(const GeoExtent& extent, int pixels, int posts) const;
    /// What tells whether another stack looks the same everywhere. Does not keep the rasters open.
    LayerLook look() const;
    /// Boxes in WGS 84 degrees within which the two stacks may look different.
    std::vector<GeoExtent> differencesTo(const LayerStack& other) const;

private:
    static osg::ref_ptr<osg::Image> compose(const std::vector<Image>& images, const SampleGrid& grid,
                                            const PictureNews& news);

    int m_revision = 0;
    std::vector<Image> m_images; // bottom first
    std::vector<Image>
        m_compared; // in their place in the compared picture; the same where nothing is compared
    std::vector<GeoExtent>
        m_different; // boxes in WGS 84 degrees within which the two pictures may look different
    std::vector<Raster> m_elevations; // last layer first
};

} // namespace osgEarth
