#pragma once

#include "host/Export.h"

#include <osgEarth/ElevationLayer>
#include <osgEarth/ImageLayer>
#include <osgEarth/MapNode>

#include <map>
#include <optional>
#include <string>
#include <vector>

/// A picture behind the project's own: a raster that GDAL opens, or GDAL's description of a server's tiles.
struct BaseRaster {
    std::string definition;
    float opacity = 1.0F; ///< 0 (clear) to 1

    bool operator==(const BaseRaster& other) const {
        return definition == other.definition && opacity == other.opacity;
    }
};

/// The globe's map: a world backdrop, base rasters, and the rasters of the open project. The only file of the product that
/// knows which generation of the globe library it is built with. Frame thread.
class VIEWER_API GlobeMap {
public:
    /// Rasters that are waited for: opened when they are added, or as the base rasters are.
    enum class Reading { AtOnce, Patient };

    GlobeMap();

    osgEarth::MapNode* mapNode() { return m_mapNode.get(); }

    /// Puts a picture of the whole Earth (plate carrée, -180..180 by -90..90) below everything else, in pale colours.
    /// An English line when that fails.
    std::optional<std::string> addWorldBackdrop(const std::string& picturePath);
    /// Adds a raster on top of those added before. An English line when it cannot be shown.
    std::optional<std::string> addImagery(const std::string& name, const std::string& path,
                                          Reading reading = Reading::AtOnce);
    std::optional<std::string> addElevation(const std::string& name, const std::string& path);

    /// Shows that surface model as the terrain, in place of the one that this function showed before. That one stays open,
    /// so that going back to it is quick. An English line when it cannot be shown; then there is none.
    std::optional<std::string> showTerrain(const std::string& path, Reading reading = Reading::AtOnce);
    /// Shows none, and closes them all.
    void clearTerrain();

    /// Shows these rasters, and no others, between the world backdrop and the project's own, bottom first. They
    /// may take any time to answer: nothing waits for them, and what they lack is tried again. (An installed
    /// library reads them as all others.)
    void setBaseRasters(const std::vector<BaseRaster>& rasters);
    /// What keeps each of them from being shown at present, in their order, as GDAL says it; addresses may stand
    /// in it. Empty where all is well.
    std::vector<std::string> baseTroubles() const;
    /// The same of imagery of that name, and of the terrain that is shown.
    std::string imageryTrouble(const std::string& name) const;
    std::string terrainTrouble() const;
    /// Counts what has come of rasters that are read patiently; it shows in the next frame.
    int arrivals() const;
    /// Whether more of them is waited for, which may be so for ever.
    bool isLoading() const;
    /// Whether no raster that is not shown any more is still being read, now or after some time. Where a server
    /// does not answer, that takes until GDAL gives it up.
    static bool finishLoading(int mostMilliseconds);

    /// Whether two pictures of the ground can be compared; an installed library shows one only.
    static bool canCompare();
    /// Holds a second picture, which has imagery of the name `other` in place of the one that is `shown`; none where they
    /// are the same. Names that are not known stand for no imagery.
    void compareImagery(const std::string& shown, const std::string& other);
    /// Mixes that share (0 to 1) of the second picture in, as far as so many device pixels from the left of the frame.
    void setComparison(double share, double dividerPixels);

    /// Unknown names are ignored. 0 is clear, 1 opaque.
    void setImageryVisible(const std::string& name, bool visible);
    void setImageryOpacity(const std::string& name, float opacity);
    void removeLayer(const std::string& name);

    /// Overviews of large rasters are built in the background: how far the present one is, or 100 when none
    /// is.
    int preparationPercent() const;

private:
    struct BaseLayer {
        std::string definition;
        osg::ref_ptr<osgEarth::ImageLayer> layer;
    };

    std::vector<osg::ref_ptr<osgEarth::TerrainLayer>> terrainLayers() const;

    osg::ref_ptr<osgEarth::MapNode> m_mapNode;
    std::vector<BaseLayer> m_baseLayers;                                      ///< bottom first
    std::map<std::string, osg::ref_ptr<osgEarth::ElevationLayer>> m_terrains; ///< that were shown, by path
    osg::ref_ptr<osgEarth::ElevationLayer> m_terrain;                         ///< that is shown
    unsigned m_backdropLayers = 0;
};
