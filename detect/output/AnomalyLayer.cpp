#include "detect/output/AnomalyLayer.h"

#include "detect/shape/PolygonGeometry.h"

namespace detect {

namespace {

struct Column {
    const char* name;
    OGRFieldType type;
    int width; ///< characters, for formats with fixed records
    int decimals;
    double Anomaly::* figure; ///< null for what is no plain figure
};

constexpr Column kColumns[] = {
    {"name", OFTString, 64, 0, nullptr},
    {"kind", OFTString, 8, 0, nullptr},
    {"area_m2", OFTReal, 20, 4, &Anomaly::areaSquareMetres},
    {"volume_m3", OFTReal, 20, 4, nullptr},
    {"fill_m3", OFTReal, 20, 4, &Anomaly::fillCubicMetres},
    {"cut_m3", OFTReal, 20, 4, &Anomaly::cutCubicMetres},
    {"dz_mean_m", OFTReal, 16, 5, &Anomaly::dzMeanMetres},
    {"dz_max_m", OFTReal, 16, 5, &Anomaly::dzMaxMetres},
    {"dz_min_m", OFTReal, 16, 5, &Anomaly::dzMinMetres},
    {"cells", OFTInteger64, 18, 0, nullptr},
    {"suggested", OFTString, 64, 0, nullptr},
    {"attribute", OFTString, 254, 0, nullptr},
    {"vol_sd_m3", OFTReal, 20, 4, &Anomaly::volumeSigmaCubicMetres},
    {"sigma_m", OFTReal, 16, 5, &Anomaly::sigmaMetres},
    {"lod_m", OFTReal, 16, 5, &Anomaly::levelOfDetectionMetres},
    {"signif", OFTReal, 16, 3, &Anomaly::significance},
    {"sugg_conf", OFTReal, 6, 3, &Anomaly::suggestionConfidence},
};

} // namespace

bool createAnomalyFields(OGRLayer& layer, bool fixedRecords) {
    for (const Column& column : kColumns) {
        OGRFieldDefn field(column.name, column.type);
        if (fixedRecords) {
            field.SetWidth(column.width);
            field.SetPrecision(column.decimals);
        }
        if (layer.CreateField(&field) != OGRERR_NONE) {
            return false;
        }
    }
    return true;
}

OGRFeatureUniquePtr featureOf(const OGRLayer& layer, const Anomaly& a, const std::string& attribute) {
    OGRFeatureUniquePtr feature(
        OGRFeature::CreateFeature(const_cast<OGRLayer&>(layer).GetLayerDefn())); // only counts references
    feature->SetField("name", a.name.c_str());
    feature->SetField("kind", a.kind == Kind::Fill ? "fill" : "cut");
    feature->SetField("volume_m3", a.volumeCubicMetres());
    int field = 0; // the columns are the first fields of the layer
    for (const Column& column : kColumns) {
        if (column.figure) {
            feature->SetField(field, a.*column.figure);
        }
        ++field;
    }
    feature->SetField("cells", static_cast<GIntBig>(a.cells));
    feature->SetField("suggested", a.suggested.c_str());
    feature->SetField("attribute", attribute.c_str());
    feature->SetGeometryDirectly(geometryOf(a.outline, a.holes).release());
    return feature;
}

std::int64_t countReadable(OGRLayer& layer) {
    std::int64_t count = 0;
    for (const auto& feature : layer) {
        count += feature->GetGeometryRef() ? 1 : 0;
    }
    return count;
}

std::optional<Anomaly> anomalyOf(const OGRFeature& feature) {
    const OGRGeometry* geometry = feature.GetGeometryRef();
    if (!geometry || wkbFlatten(geometry->getGeometryType()) != wkbPolygon || geometry->IsEmpty() ||
        feature.GetFieldIndex("cells") < 0) {
        return std::nullopt;
    }
    const OGRPolygon& polygon = *geometry->toPolygon();
    Anomaly a;
    a.name = feature.GetFieldAsString("name");
    a.kind = std::string(feature.GetFieldAsString("kind")) == "fill" ? Kind::Fill : Kind::Cut;
    Polygon outline = polygonOf(polygon);
    a.outline = std::move(outline.outer);
    a.holes = std::move(outline.holes);
    OGREnvelope bounds;
    polygon.getEnvelope(&bounds);
    a.bounds = {bounds.MinX, bounds.MinY, bounds.MaxX, bounds.MaxY};
    for (const Column& column : kColumns) {
        if (column.figure) {
            a.*column.figure = feature.GetFieldAsDouble(column.name);
        }
    }
    a.cells = feature.GetFieldAsInteger64("cells");
    a.suggested = feature.GetFieldAsString("suggested");
    return a;
}

} // namespace detect
