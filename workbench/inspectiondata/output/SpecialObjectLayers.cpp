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
        return transformed(polygon);
    }

private:
    std::shared_ptr<const OGRGeometry> transformed(const std::shared_ptr<OGRGeometry>& geometry) const {
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

/// Tells the objects that have a place in the system.
template<typename Objects, typename FeatureOf>
Status takePlaced(const Objects& objects, const ShapeLayer::Take& take, const FeatureOf& featureOf) {
    for (const auto& object : objects) {
        const ShapeLayer::Feature feature = featureOf(object);
        if (!feature.geometry) {
            continue;
        }
        if (auto done = take(feature); !done) {
            return done;
        }
    }
    return {};
}

template<typename Node>
ShapeLayer pointLayer(const char* name, const std::vector<Node>& nodes,
                      const std::shared_ptr<const Mapping>& mapping) {
    ShapeLayer layer =
        layerOf(name, wkbPoint, {{"name"}, {"attribute"}, {"lon", true}, {"lat", true}, {"height_m", true}},
                *mapping);
    layer.forEachFeature = [&nodes, mapping](const ShapeLayer::Take& take) {
        return takePlaced(nodes, take, [&mapping](const KV_BasicNode& node) {
            return ShapeLayer::Feature{mapping->point(node),
                                       {gbkToUtf8(node.GetName()), gbkToUtf8(node.m_attribute),
                                        node.GetCoor().x(), node.GetCoor().y(), node.GetCoor().z()}};
        });
    };
    return layer;
}

template<typename Region>
ShapeLayer regionLayer(const char* name, const std::vector<Region>& regions,
                       const std::shared_ptr<const Mapping>& mapping) {
    ShapeLayer layer = layerOf(name, wkbPolygon,
                               {{"name"},
                                {"attribute"},
                                {"level", true},
                                {"opacity", true},
                                {"border_wid", true},
                                {"fill"},
                                {"border"}},
                               *mapping);
    layer.forEachFeature = [&regions, mapping](const ShapeLayer::Take& take) {
        return takePlaced(regions, take, [&mapping](const Special_Region& region) {
            return ShapeLayer::Feature{mapping->polygon(region),
                                       {gbkToUtf8(region.GetName()), gbkToUtf8(region.m_attribute),
                                        double(region.m_level), double(region.m_opacity),
                                        double(region.m_borderWidth), colourText(region.m_fillColor),
                                        colourText(region.m_borderColor)}};
        });
    };
    return layer;
}

} // namespace

std::vector<ShapeLayer> specialObjectLayers(const ProjectObjects& objects,
                                            const OGRSpatialReference& reference) {
    const auto mapping = std::make_shared<const Mapping>(reference);
    return {pointLayer("special_points", objects.specialPoints, mapping),
            regionLayer("special_areas", objects.specialAreas, mapping),
            regionLayer("high_consequence_areas", objects.highConsequenceAreas, mapping),
            pointLayer("nodes", objects.pipeNodes, mapping)};
}

} // namespace inspection
