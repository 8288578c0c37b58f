#pragma once

#include "detect/Result.h"

#include <gdal_priv.h>

#include <string>

namespace detect {

/// The surface model at `path` for those who read through GDAL: one Float32 band in metres, NaN declared and held
/// where there is no height, with the horizontal reference system alone. GDAL reduces the heights, never the figures
/// behind them; the file's own overviews are used where it declares its holes, so that those hold no fills.
Result<GDALDatasetUniquePtr> openInMetres(const std::string& path);

/// The name under which GDAL, anywhere in this program, opens that raster; the path itself when the file's figures are
/// metres already and its no-data value tells the holes, and when it cannot be opened.
std::string nameInMetres(const std::string& path);

/// The same name without looking at the file now: whoever opens it finds out.
std::string nameInMetresOnOpening(const std::string& path);

} // namespace detect
