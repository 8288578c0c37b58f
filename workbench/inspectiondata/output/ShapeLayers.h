#pragma once

#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"
#include "workbench/inspectiondata/project/Result.h"

#include <ogr_geometry.h>
#include <ogr_spatialref.h>

#include <functional>
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

    /// Takes a feature; a failure ends the telling.
    using Take = std::function<Status(const Feature&)>;

    std::string name;
    OGRSpatialReference reference;
    OGRwkbGeometryType type = wkbPolygon;
    std::vector<Field> fields;
    /// Tells the features one after the other, so that no more than one of them need be held.
    std::function<Status(const Take& take)> forEachFeature;
};

/// Tells for each of the items the feature that `featureOf` makes of it.
template<typename Items, typename FeatureOf>
Status takeEach(const Items& items, const ShapeLayer::Take& take, const FeatureOf& featureOf) {
    for (const auto& item : items) {
        if (auto done = take(featureOf(item)); !done) {
            return done;
        }
    }
    return {};
}

/// Layers "anomalies", "stations", where there is one "centerline", and those of specialObjectLayers(); to be told once
/// each, in this order, since anomalies give the totals of their stations. All that is given must outlive the layers.
/// Thread: that of the findings.
std::vector<ShapeLayer> shapeLayers(const ProjectObjects& objects, const FindingsInTurn& findings,
                                    const Pipeline& pipeline);

} // namespace inspection
