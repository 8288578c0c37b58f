#include "workbench/inspectiondata/output/ShapeLayers.h"

#include "detect/GdalErrors.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/output/SpecialObjectLayers.h"
#include "workbench/inspectiondata/pipeline/Surroundings.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <array>
#include <functional>

namespace inspection {

namespace {

using Value = ShapeLayer::Value;

/// An anomaly and what lies around it.
struct Place {
    const EpochPair& pair;
    const KV_Station& station;
    const SdiffData& anomaly;
    PipePosition position;
    Surroundings surroundings;
    bool areAreasKnown;
};

/// A field of layer "anomalies" and how it is told.
struct ShapeColumn {
    const char* name;
    bool number;
    std::function<Value(const Place&)> value;
};

struct RecordValue {
    const SdiffData& anomaly;

    Value operator()(std::string SdiffData::* text) const { return gbkToUtf8(anomaly.*text); }
    Value operator()(double SdiffData::* number) const { return anomaly.*number; }
    Value operator()(std::optional<double> SdiffData::* number) const {
        return anomaly.*number ? Value(*(anomaly.*number)) : Value();
    }
    Value operator()(bool SdiffData::* isFill) const { return std::string(kindCode(anomaly.*isFill)); }
};

/// A field of the record, under another name where one is given.
ShapeColumn stored(const char* name, const char* shapeName = nullptr) {
    const AnomalyField& field = anomalyField(name);
    return {shapeName ? shapeName : field.name, field.isNumber(),
            [&field](const Place& place) { return std::visit(RecordValue{place.anomaly}, field.member); }};
}

const std::vector<ShapeColumn>& shapeColumns() {
    static const std::vector<ShapeColumn> columns{
        stored("name"),
        {"station", false, [](const Place& place) { return gbkToUtf8(place.station.m_name); }},
        stored("kind"),
        stored("area_m2"),
        {"volume_m3", true, [](const Place& place) { return place.anomaly.volumeCubicMetres(); }},
        stored("fill_m3"),
        stored("cut_m3"),
        stored("dz_mean_m"),
        stored("dz_max_m"),
        stored("dz_min_m"),
        stored("suggested"),
        stored("attribute"),
        stored("lon_deg", "lon"),
        stored("lat_deg", "lat"),
        {"chain_m", true, [](const Place& place) { return place.position.chainageMetres; }},
        {"offset_m", true, [](const Place& place) { return place.position.offsetMetres; }},
        {"dist_m", true,
         [](const Place& place) {
             const auto& metres = place.surroundings.pipeMetres;
             return metres ? Value(*metres) : Value();
         }},
        {"hca", false,
         [](const Place& place) {
             const auto& areas = place.surroundings.highConsequenceAreas;
             return place.areAreasKnown ? Value(areaNamesText(areas).toStdString()) : Value();
         }},
        {"old_epoch", false, [](const Place& place) { return place.pair.older.toStdString(); }},
        {"new_epoch", false, [](const Place& place) { return place.pair.newer.toStdString(); }},
        stored("vol_sd_m3"),
        stored("sigma_m"),
        stored("lod_m"),
        stored("signif"),
        stored("sugg_conf")};
    return columns;
}

ShapeLayer::Feature featureOf(const Place& place) {
    ShapeLayer::Feature feature{outlineGeometry(place.anomaly.outlineWkt), {}};
    for (const ShapeColumn& column : shapeColumns()) {
        feature.values.push_back(column.value(place));
    }
    return feature;
}

ShapeLayer anomalyLayer(const InspectionData& data, const Pipeline& pipeline,
                        const OGRSpatialReference& reference) {
    ShapeLayer layer;
    layer.name = "anomalies";
    layer.reference = reference;
    for (const ShapeColumn& column : shapeColumns()) {
        layer.fields.push_back({column.name, column.number});
    }
    const EpochPair pair = data.project.pair();
    CorridorSurroundings corridor(pipeline, data.highConsequenceAreas);
    for (const StationFindings& findings : data.stations) {
        const auto surroundings = corridor.around(findings.station);
        for (const SdiffData& anomaly : findings.anomalies) {
            layer.features.push_back(
                featureOf({pair, findings.station, anomaly,
                           pipeline.positionOf({anomaly.x, anomaly.y}).value_or(PipePosition{}),
                           surroundings->of(anomaly), !data.highConsequenceAreas.empty()}));
        }
    }
    return layer;
}

std::unique_ptr<OGRGeometry> boxOf(const KV_Station& station) {
    OGRLinearRing ring;
    ring.addPoint(station.m_xMin, station.m_yMin);
    ring.addPoint(station.m_xMax, station.m_yMin);
    ring.addPoint(station.m_xMax, station.m_yMax);
    ring.addPoint(station.m_xMin, station.m_yMax);
    ring.closeRings();
    auto polygon = std::make_unique<OGRPolygon>();
    polygon->addRing(&ring);
    return polygon;
}

ShapeLayer stationLayer(const InspectionData& data, const OGRSpatialReference& reference) {
    ShapeLayer layer;
    layer.name = "stations";
    layer.reference = reference;
    layer.fields = {{"id", true},        {"name"},     {"start_m", true}, {"end_m", true},
                    {"anomalies", true}, {"computed"}, {"old_epoch"},     {"new_epoch"}};
    const EpochPair pair = data.project.pair();
    for (const StationFindings& findings : data.stations) {
        const KV_Station& station = findings.station;
        layer.features.push_back(
            {boxOf(station),
             {double(station.m_id), gbkToUtf8(station.m_name), station.m_startMetres, station.m_endMetres,
              double(findings.anomalies.size()),
              findings.result ? findings.result->computedAt.toStdString() : std::string(),
              pair.older.toStdString(), pair.newer.toStdString()}});
    }
    return layer;
}

ShapeLayer centerlineLayer(const Pipeline& pipeline, const std::string& name,
                           const OGRSpatialReference& reference) {
    ShapeLayer layer;
    layer.name = "centerline";
    layer.reference = reference;
    layer.type = wkbLineString;
    layer.fields = {{"name"}, {"length_m", true}};
    for (const auto& part : pipeline.parts()) {
        auto line = std::make_unique<OGRLineString>();
        for (const QPointF& point : part) {
            line->addPoint(point.x(), point.y());
        }
        line->flattenTo2D();
        const double length = line->get_Length();
        layer.features.push_back({std::move(line), {name, length}});
    }
    return layer;
}

bool writeFeature(OGRLayer& target, const ShapeLayer::Feature& source) {
    OGRFeature feature(target.GetLayerDefn());
    for (std::size_t i = 0; i < source.values.size(); ++i) {
        const int field = static_cast<int>(i);
        if (const auto* text = std::get_if<std::string>(&source.values[i])) {
            feature.SetField(field, text->c_str());
        } else if (const auto* number = std::get_if<double>(&source.values[i])) {
            feature.SetField(field, *number);
        } else {
            feature.SetFieldNull(field);
        }
    }
    feature.SetGeometry(source.geometry.get());
    return target.CreateFeature(&feature) == OGRERR_NONE;
}

bool writeLayer(GDALDataset& dataset, const ShapeLayer& source, bool shapefile) {
    std::array<const char*, 2> options{shapefile ? "ENCODING=UTF-8" : nullptr, nullptr};
    OGRSpatialReference reference(source.reference);
    OGRLayer* layer =
        dataset.CreateLayer(source.name.c_str(), &reference, source.type, const_cast<char**>(options.data()));
    if (!layer) {
        return false;
    }
    for (const ShapeLayer::Field& field : source.fields) {
        OGRFieldDefn definition(field.name.c_str(), field.number ? OFTReal : OFTString);
        if (field.number) {
            definition.SetWidth(shapefile ? 20 : 0);
            definition.SetPrecision(shapefile ? 7 : 0);
        } else {
            definition.SetWidth(shapefile ? 254 : 0);
        }
        if (layer->CreateField(&definition) != OGRERR_NONE) {
            return false;
        }
    }
    if (layer->StartTransaction() != OGRERR_NONE) {
        return false;
    }
    for (const ShapeLayer::Feature& feature : source.features) {
        if (!writeFeature(*layer, feature)) {
            return false;
        }
    }
    return layer->CommitTransaction() == OGRERR_NONE;
}

/// A full disk may only show when buffers go out, so the last feature of each layer is read back.
bool complete(const QString& path, const std::vector<ShapeLayer>& layers) {
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(path.toUtf8().constData(), GDAL_OF_VECTOR));
    for (const ShapeLayer& expected : layers) {
        OGRLayer* layer = dataset ? dataset->GetLayerByName(expected.name.c_str()) : nullptr;
        if (!layer || layer->GetFeatureCount() != static_cast<GIntBig>(expected.features.size())) {
            return false;
        }
        const auto outlines = std::count_if(expected.features.begin(), expected.features.end(),
                                            [](const auto& feature) { return feature.geometry != nullptr; });
        std::ptrdiff_t read = 0;
        for (const auto& feature : *layer) {
            read += feature->GetGeometryRef() ? 1 : 0;
        }
        if (read != outlines) {
            return false;
        }
    }
    return true;
}

} // namespace

std::vector<ShapeLayer> shapeLayers(const InspectionData& data, const Pipeline& pipeline) {
    const OGRSpatialReference reference = referenceOf(data.project.crs).value_or(OGRSpatialReference());
    std::vector<ShapeLayer> layers;
    layers.push_back(anomalyLayer(data, pipeline, reference));
    layers.push_back(stationLayer(data, reference));
    if (!pipeline.parts().empty()) {
        layers.push_back(centerlineLayer(pipeline, data.project.name.toStdString(), reference));
    }
    for (ShapeLayer& layer : specialObjectLayers(data, reference)) {
        layers.push_back(std::move(layer));
    }
    return layers;
}

Status writeLayers(const std::vector<ShapeLayer>& layers, const char* driverName, const QString& path,
                   const QString& target) {
    GDALAllRegister();
    const detect::GdalErrors errors;
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(driverName);
    GDALDatasetUniquePtr dataset(
        !driver ? nullptr : driver->Create(path.toUtf8().constData(), 0, 0, 0, GDT_Unknown, nullptr));
    bool good = dataset != nullptr;
    const bool shapefile = std::string(driverName) == "ESRI Shapefile";
    for (std::size_t i = 0; i < layers.size() && good; ++i) {
        good = writeLayer(*dataset, layers[i], shapefile);
    }
    dataset.reset();
    if (!good || errors.any() || !complete(path, layers)) {
        const QString cause =
            errors.any() ? QString::fromStdString(errors.first()) : QStringLiteral("disk full");
        return fileFailure(target, "cannot be written: " + cause, "无法写入：" + cause);
    }
    return {};
}

} // namespace inspection
