#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

namespace inspection {

/// A picture that lies behind the project's own rasters.
struct INSPECTIONDATA_API BaseLayer {
    static constexpr int kUsualFinestLevel = 18;
    static constexpr int kFinestLevel = 22;

    QString name;
    /// An absolute path of a raster, of an MBTiles file, or of a folder with rasters or tiles (Z/X/Y.png); an
    /// address of tiles in Web Mercator, "https://host/{z}/{x}/{y}.png", with {-y} where they are counted from
    /// the south; or "WMTS:ADDRESS,layer=NAME", where ADDRESS gives the capabilities.
    QString source;
    bool visible = true;
    double opacity = 1.0;                ///< 0 (clear) to 1
    int finestLevel = kUsualFinestLevel; ///< of the tiles of an address, 1 to kFinestLevel

    bool operator==(const BaseLayer& other) const;
    bool operator!=(const BaseLayer& other) const { return !(*this == other); }
};

/// Whether a source is asked from a server and not read from a path.
INSPECTIONDATA_API bool isServed(const QString& source);

/// The file or folder that must be there, absolute; empty when the source is a server's.
INSPECTIONDATA_API QString localPath(const QString& source);

/// The source without passwords and keys, for windows and messages.
INSPECTIONDATA_API QString shownSource(const QString& source);

/// What GDAL opens: the path as it is, or a description of the tiles (GDAL's WMS and WMTS drivers). A request to
/// a server is given up after 10 seconds. Tiles are kept in a folder of the source's own below `cacheFolder`, up
/// to 512 MB, and asked for again after 30 days. Asks no server; of a folder it looks which tiles lie there.
/// Fails for an address that cannot be one.
INSPECTIONDATA_API Result<QString> gdalDefinition(const BaseLayer& layer, const QString& cacheFolder);

/// A few Chinese words for why GDAL could not read a base layer, without any address.
INSPECTIONDATA_API QString baseLayerTrouble(const QString& gdalMessage);

} // namespace inspection
