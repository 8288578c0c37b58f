#pragma once

#include "detect/Detection.h"
#include "detect/output/VectorFile.h"

#include <string>
#include <vector>

namespace detect {

/// True for names that end in .gpkg, .geojson or .shp: what ResultFile can write.
bool isResultPath(const std::string& path);

/// Layer `anomalies` (polygons with the fields of AnomalyLayer), written while a run goes on. The format
/// follows the ending of the path:
///   .gpkg     GeoPackage in the old raster's reference system
///   .shp      ESRI Shapefile in the same, with .prj and .cpg (UTF-8); all field names fit its ten characters
///             and stay as they are; the layer is called as the file, as shapefiles are
///   .geojson  RFC 7946: WGS 84 longitude and latitude, counter-clockwise outer rings
/// Whoever staged them moves them to their places, after close().
class ResultFile : public AnomalyReceiver {
public:
    /// `output` must live longer.
    explicit ResultFile(const StagedOutput& output) : m_path(output.target()), m_file(output) {}

    Status begin(const std::string& srsWkt) override;
    Status take(Anomaly anomaly) override { return write(anomaly, {}); }
    /// `attribute`: the inspector's class.
    Status write(const Anomaly& anomaly, const std::string& attribute);
    /// Ends the writing and looks whether all was written.
    Status close();

private:
    bool createLayer(const std::string& driver, OGRSpatialReference& srs);

    const std::string m_path; ///< the user's
    VectorFile m_file;
    OGRLayer* m_layer = nullptr;
    std::int64_t m_written = 0;
};

} // namespace detect
