#pragma once

#include "detect/Detection.h"
#include "detect/output/StagedVectorFile.h"

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
/// The files appear complete or not at all, on commit(); earlier ones are replaced only then.
class ResultFile : public AnomalyReceiver {
public:
    explicit ResultFile(std::string path) : m_path(std::move(path)), m_file(m_path) {}

    Status begin(const std::string& srsWkt) override;
    Status take(Anomaly anomaly) override { return write(anomaly, {}); }
    /// `attribute`: the inspector's class.
    Status write(const Anomaly& anomaly, const std::string& attribute);
    Status commit();

private:
    bool createLayer(const std::string& driver, OGRSpatialReference& srs);

    std::string m_path;
    StagedVectorFile m_file;
    OGRLayer* m_layer = nullptr;
    std::int64_t m_written = 0;
};

/// A result file of anomalies in memory. `attributes` are the inspector's classes in the order of the
/// anomalies; missing ones stay empty.
Status writeAnomalies(const std::vector<Anomaly>& anomalies, const std::string& srsWkt,
                      const std::string& path, const std::vector<std::string>& attributes = {});

} // namespace detect
