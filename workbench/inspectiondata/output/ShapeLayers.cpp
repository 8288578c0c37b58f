#include "workbench/inspectiondata/output/ShapeLayers.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/output/SpecialObjectLayers.h"
#include "workbench/inspectiondata/pipeline/Surroundings.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/text/AnomalyFields.h"

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
        const std::optional<double>& known = anomaly.*number;
        return known ? Value(*known) : Value();
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

/// What layer "stations" tells of a station that is written.
struct StationTotals {
    KV_Station station;
    std::size_t anomalies = 0;
    std::string computedAt;
};

/// The features of layer "anomalies", and on the way the totals of their stations.
class AnomalyFeatures {
public:
    AnomalyFeatures(const ProjectObjects& objects, const Pipeline& pipeline,
                    std::vector<StationTotals>& totals)
        : m_pair(objects.project.pair()), m_areAreasKnown(!objects.highConsequenceAreas.empty()),
          m_pipeline(pipeline), m_corridor(pipeline, objects.highConsequenceAreas), m_totals(totals) {}

    Status take(const StationFindings& findings, const ShapeLayer::Take& take) {
        m_totals.push_back({findings.station, findings.anomalies.size(),
                            findings.result ? findings.result->computedAt.toStdString() : std::string()});
        const auto surroundings = m_corridor.around(findings.station);
        for (const SdiffData& anomaly : findings.anomalies) {
            if (auto done = take(featureOf(findings.station, anomaly, *surroundings)); !done) {
                return done;
            }
        }
        return {};
    }

private:
    ShapeLayer::Feature featureOf(const KV_Station& station, const SdiffData& anomaly,
                                  const StationSurroundings& surroundings) const {
        std::unique_ptr<OGRGeometry> outline = outlineGeometry(anomaly.outlineWkt);
        const Place place{m_pair,
                          station,
                          anomaly,
                          m_pipeline.positionOf({anomaly.x, anomaly.y}).value_or(PipePosition{}),
                          surroundings.of(std::unique_ptr<OGRGeometry>(outline ? outline->clone() : nullptr)),
                          m_areAreasKnown};
        ShapeLayer::Feature feature{std::move(outline), {}};
        feature.values.reserve(shapeColumns().size());
        for (const ShapeColumn& column : shapeColumns()) {
            feature.values.push_back(column.value(place));
        }
        return feature;
    }

    const EpochPair m_pair;
    const bool m_areAreasKnown;
    const Pipeline& m_pipeline;
    CorridorSurroundings m_corridor;
    std::vector<StationTotals>& m_totals;
};

ShapeLayer anomalyLayer(const ProjectObjects& objects, const FindingsInTurn& findings,
                        const Pipeline& pipeline, const OGRSpatialReference& reference,
                        const std::shared_ptr<std::vector<StationTotals>>& totals) {
    ShapeLayer layer;
    layer.name = "anomalies";
    layer.reference = reference;
    for (const ShapeColumn& column : shapeColumns()) {
        layer.fields.push_back({column.name, column.number});
    }
    layer.forEachFeature = [&objects, &findings, &pipeline, totals](const ShapeLayer::Take& take) {
        AnomalyFeatures features(objects, pipeline, *totals);
        return findings.forEach([&](const StationFindings& station) { return features.take(station, take); });
    };
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

/// Its features are known once those of the anomalies have been told.
ShapeLayer stationLayer(const EpochPair& pair, const OGRSpatialReference& reference,
                        const std::shared_ptr<std::vector<StationTotals>>& totals) {
    ShapeLayer layer;
    layer.name = "stations";
    layer.reference = reference;
    layer.fields = {{"id", true},        {"name"},     {"start_m", true}, {"end_m", true},
                    {"anomalies", true}, {"computed"}, {"old_epoch"},     {"new_epoch"}};
    layer.forEachFeature = [pair, totals](const ShapeLayer::Take& take) {
        return takeEach(*totals, take, [&pair](const StationTotals& told) {
            const KV_Station& station = told.station;
            return ShapeLayer::Feature{boxOf(station),
                                       {double(station.m_id), gbkToUtf8(station.m_name),
                                        station.m_startMetres, station.m_endMetres, double(told.anomalies),
                                        told.computedAt, pair.older.toStdString(), pair.newer.toStdString()}};
        });
    };
    return layer;
}

ShapeLayer centerlineLayer(const Pipeline& pipeline, const std::string& name,
                           const OGRSpatialReference& reference) {
    ShapeLayer layer;
    layer.name = "centerline";
    layer.reference = reference;
    layer.type = wkbLineString;
    layer.fields = {{"name"}, {"length_m", true}};
    layer.forEachFeature = [&pipeline, name](const ShapeLayer::Take& take) {
        return takeEach(pipeline.parts(), take, [&name](const std::vector<QPointF>& part) {
            auto line = std::make_unique<OGRLineString>();
            for (const QPointF& point : part) {
                line->addPoint(point.x(), point.y());
            }
            line->flattenTo2D();
            const double length = line->get_Length();
            return ShapeLayer::Feature{std::move(line), {name, length}};
        });
    };
    return layer;
}

} // namespace

std::vector<ShapeLayer> shapeLayers(const ProjectObjects& objects, const FindingsInTurn& findings,
                                    const Pipeline& pipeline) {
    const ProjectDescription& project = objects.project;
    const OGRSpatialReference reference = referenceOf(project.crs).value_or(OGRSpatialReference());
    const auto totals = std::make_shared<std::vector<StationTotals>>();
    std::vector<ShapeLayer> layers;
    layers.push_back(anomalyLayer(objects, findings, pipeline, reference, totals));
    layers.push_back(stationLayer(project.pair(), reference, totals));
    if (!pipeline.parts().empty()) {
        layers.push_back(centerlineLayer(pipeline, project.name.toStdString(), reference));
    }
    for (ShapeLayer& layer : specialObjectLayers(objects, reference)) {
        layers.push_back(std::move(layer));
    }
    return layers;
}

} // namespace inspection
