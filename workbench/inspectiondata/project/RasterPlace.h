#pragma once

#include "host/Export.h"

#include <QString>

/// Where a raster lies: in a file, or with a server, which GDAL names "/vsicurl/https://…", "/vsis3/bucket/…" and the like.
/// Nothing here asks a server. Any thread.
namespace inspection {

/// Whether the raster lies with a server, also within an archive there.
INSPECTIONDATA_API bool isOnServer(const QString& raster);

/// Whether reading the raster may ask a server: it lies there, or it is a virtual raster and one of its sources does.
INSPECTIONDATA_API bool leadsToServer(const QString& raster);

/// An address of the web in GDAL's words; any other name as it stands.
INSPECTIONDATA_API QString gdalName(const QString& raster);

/// The one name of a raster: an address of the web in GDAL's words, a place of a server as it stands, a path made absolute
/// from the folder. Empty stays empty.
INSPECTIONDATA_API QString absoluteRaster(const QString& folder, const QString& raster);
/// From the working folder.
INSPECTIONDATA_API QString absoluteRaster(const QString& raster);

/// Whether there is a file of that path. What is served counts as there: only opening it tells, and may take long.
INSPECTIONDATA_API bool rasterExists(const QString& raster);

/// Whether a password stands in the address. It would be shown wherever the raster is named, so it belongs into GDAL's own
/// settings.
INSPECTIONDATA_API bool bearsPassword(const QString& raster);

/// Lets GDAL give a server up that does not answer, or only trickles, for half a minute, unless the user has set for how
/// long. Once at the start of a program.
INSPECTIONDATA_API void limitPatienceWithServers();

} // namespace inspection
