#pragma once

#include "host/Export.h"

#include <osgEarth/MapNode>

#include <optional>
#include <string>

/// The globe's map: a world backdrop and the rasters of the open project. The only file of the product that
/// knows which generation of the globe library it is built with. Frame thread.
class VIEWER_API GlobeMap {
public:
    GlobeMap();

    osgEarth::MapNode* mapNode() { return m_mapNode.get(); }

    /// Puts a picture of the whole Earth (plate carrée, -180..180 by -90..90) below everything else.
    /// An English line when that fails.
    std::optional<std::string> addWorldBackdrop(const std::string& picturePath);
    /// Adds a raster on top of those added before. An English line when it cannot be shown.
    std::optional<std::string> addImagery(const std::string& name, const std::string& path);
    std::optional<std::string> addElevation(const std::string& name, const std::string& path);

    /// Unknown names are ignored.
    void setImageryVisible(const std::string& name, bool visible);
    void removeLayer(const std::string& name);

    /// Overviews of large rasters are built in the background: how far the present one is, or 100 when none
    /// is.
    int preparationPercent() const;

private:
    osg::ref_ptr<osgEarth::MapNode> m_mapNode;
};
