#pragma once

#include "host/Export.h"

#include <gdal_priv.h>

#include <QString>
#include <QStringList>

/// What GDAL comes upon when it opens a file that somebody else may have made.
namespace inspection {

/// Where a file leads.
struct Referred {
    QStringList files;   ///< absolute paths; none of them has been opened
    QStringList unclear; ///< names, or the file itself, of which only opening tells where they lead
};

enum class OpenedAs { Raster, Vector };

/// The files that GDAL opens with this one: sources of a virtual raster, reduced pictures and masks beside it. Formats that
/// hold all in themselves lead nowhere; any format that is not known to be one of them is unclear. Nothing for a file
/// that is not there or that GDAL, whose drivers must be registered, does not know. Any thread.
Referred referredBy(const QString& file, OpenedAs kind);

/// Whether GDAL takes the name for something else than the path of a file.
bool isNoPath(const QString& name);

/// Opens a raster that this program has made, a GeoTIFF; null when it is none, or one that leads to other files.
INSPECTIONDATA_API GDALDatasetUniquePtr openResultRaster(const QString& file);

} // namespace inspection
