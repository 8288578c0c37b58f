#pragma once

#include "workbench/inspectiondata/output/ShapeLayers.h"
#include "workbench/inspectiondata/project/Result.h"

#include <gdal_priv.h>

#include <QString>

#include <cstdint>
#include <string>
#include <vector>

namespace inspection {

/// Layers as they are written by a GDAL driver: into a folder with "ESRI Shapefile", into a file otherwise. One thread.
class ShapeFile {
public:
    /// `path` is where it is prepared, `target` what the user calls the place.
    ShapeFile(const char* driver, QString path, QString target);

    Status begin(const ShapeLayer& layer);
    Status add(const ShapeLayer::Feature& feature);
    Status end();
    /// After the last layer: reads back that all is there.
    Status close();
    /// How many features of a layer were written without a geometry.
    std::int64_t lackingGeometries(const ShapeLayer& layer) const;

private:
    /// What was written of a layer.
    struct Written {
        std::string name;
        std::int64_t features = 0;
        std::int64_t geometries = 0;
    };

    bool createLayer(const ShapeLayer& layer);
    bool isComplete() const;
    Status failed(const std::string& gdalWords) const;

    bool m_isShapefile;
    QString m_path;
    QString m_target;
    GDALDatasetUniquePtr m_dataset;
    OGRLayer* m_layer = nullptr; ///< that is being written
    std::vector<Written> m_written;
};

} // namespace inspection
