#pragma once

#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"
#include "workbench/inspectiondata/project/Result.h"

#include <ogr_geometry.h>
#include <ogr_spatialref.h>

#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace inspection {

/// A layer as it is written, whatever the format. Texts are UTF-8; field names have at most ten letters, as
/// the Shapefile asks.
struct ShapeLayer {
    using Value = std::variant<std::monostate, std::string, double>; ///< none where it is not known
    struct Feature {
        std::shared_ptr<const OGRGeometry> geometry;
        std::vector<Value> values; ///< one for each field
    };
    struct Field {
        std::string name;
        bool number = false;
    };

    std::string name;
    OGRSpatialReference reference;
    OGRwkbGeometryType type = wkbPolygon;
    std::vector<Field> fields;
    std::vector<Feature> features;
};

/// Layers "anomalies", "stations", where there is one "centerline", and those of specialObjectLayers(). Any thread.
std::vector<ShapeLayer> shapeLayers(const InspectionData& data, const Pipeline& pipeline);

/// Writes the layers by a GDAL driver: to a folder for "ESRI Shapefile", to a file otherwise, and reads back
/// that they are complete. `path` is where they are prepared, `target` what the user calls the place.
Status writeLayers(const std::vector<ShapeLayer>& layers, const char* driver, const QString& path,
                   const QString& target);

} // namespace inspection
