#include "workbench/inspectiondata/output/SpecialObjectLayers.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

std::string colourText(const osg::Vec3& colour) {
    const auto channel = [](float part) { return int(std::lround(std::clamp(part, 0.0F, 1.0F) * 255.0F)); };
    return QStringLiteral("#%1%2%3")
        .arg(channel(colour.x()), 2, 16, QLatin1Char('0'))
        .arg(channel(colour.y()), 2, 16, QLatin1Char('0'))
        .arg(channel(colour.z()), 2, 16, QLatin1Char('0'))
        .toStdString();
}

/// Takes places out of longitude and latitude.
class Mapping {
public:
    explicit Mapping(const OGRSpatialReference& reference)
        : m_reference(reference), m_transformation(transformationBetween(wgs84(), reference)) {}

    const OGRSpatialReference& reference() const { return m_reference; }

    std::shared_ptr<const OGRGeometry> point(const KV_BasicNode& node) const {
        return transformed(std::make_shared<OGRPoint>(node.GetCoor().x(), node.GetCoor().y()));
    }

    std::shared_ptr<const OGRGeometry> polygon(const Special_Region& region) const {
        OGRLinearRing ring;
        for (const osg::Vec3d& vertex : region.m_vertices) {
            ring.addPoint(vertex.x(), vertex.y());
        }
        ring.closeRings();
        auto polygon = std::make_shared<OGRPolygon>();
        polygon->addRing(&ring);
        return transformed(std::move(polygon));
    }

private:
    std::shared_ptr<const OGRGeometry> transformed(std::shared_ptr<OGRGeometry> geometry) const {
        const bool isThere = m_transformation && geometry->transform(m_transformation.get()) == OGRERR_NONE;
        return isThere ? geometry : nullptr;
    }

    OGRSpatialReference m_reference;
    Transformation m_transformation;
};

ShapeLayer layerOf(const char* name, OGRwkbGeometryType type, std::vector<ShapeLayer::Field> fields,
                   const Mapping& mapping) {
    ShapeLayer layer;
    layer.name = name;
    layer.type = type;
    layer.reference = mapping.reference();
    layer.fields = std::move(fields);
    return layer;
}

void append(ShapeLayer& layer, std::shared_ptr<const OGRGeometry> geometry,
            std::vector<ShapeLayer::Value> values) {
    if (geometry) {
        layer.features.push_back({std::move(geometry), std::move(values)});
    }
}

template<typename Node>
ShapeLayer pointLayer(const char* name, const std::vector<Node>& nodes, const Mapping& mapping) {
    ShapeLayer layer = layerOf(
        name, wkbPoint, {{"name"}, {"attribute"}, {"lon", true}, {"lat", true}, {"height_m", true}}, mapping);
    for (const KV_BasicNode& node : nodes) {
        append(layer, mapping.point(node),
               {gbkToUtf8(node.GetName()), gbkToUtf8(node.m_attribute), node.GetCoor().x(),
                node.GetCoor().y(), node.GetCoor().z()});
    }
    return layer;
}

template<typename Region>
ShapeLayer regionLayer(const char* name, const std::vector<Region>& regions, const Mapping& mapping) {
    ShapeLayer layer = layerOf(name, wkbPolygon,
                               {{"name"},
                                {"attribute"},
                                {"level", true},
                                {"opacity", true},
                                {"border_wid", true},
                                {"fill"},
                                {"border"}},
                               mapping);
    for (const Special_Region& region : regions) {
        append(layer, mapping.polygon(region),
               {gbkToUtf8(region.GetName()), gbkToUtf8(region.m_attribute), double(region.m_level),
                double(region.m_opacity), double(region.m_borderWidth), colourText(region.m_fillColor),
                colourText(region.m_borderColor)});
    }
    return layer;
}

} // namespace

std::vector<ShapeLayer> specialObjectLayers(const InspectionData& data,
                                            const OGRSpatialReference& reference) {
    const Mapping mapping(reference);
    return {pointLayer("special_points", data.specialPoints, mapping),
            regionLayer("special_areas", data.specialAreas, mapping),
            regionLayer("high_consequence_areas", data.highConsequenceAreas, mapping),
            pointLayer("nodes", data.pipeNodes, mapping)};
}

} // namespace inspection
