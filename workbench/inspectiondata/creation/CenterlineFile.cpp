#include "workbench/inspectiondata/creation/CenterlineFile.h"

#include "detect/GdalErrors.h"

#include <QFile>

#include <ogrsf_frmts.h>

namespace inspection {

namespace {

struct FieldType {
    const char* name;
    OGRFieldType type;
};

/// One GeoPackage that is being written. Every call after a failure does nothing.
class GeoPackage {
public:
    GeoPackage(const QString& file, const OGRSpatialReference& reference) : m_reference(reference) {
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GPKG");
        m_dataset.reset(!driver ? nullptr
                                : driver->Create(file.toUtf8().constData(), 0, 0, 0, GDT_Unknown, nullptr));
    }

    void beginLayer(const char* name, OGRwkbGeometryType geometry, const std::vector<FieldType>& fields) {
        m_layer = m_dataset ? m_dataset->CreateLayer(name, &m_reference, geometry, nullptr) : nullptr;
        for (const FieldType& field : fields) {
            OGRFieldDefn definition(field.name, field.type);
            if (m_layer && m_layer->CreateField(&definition) != OGRERR_NONE) {
                m_layer = nullptr;
            }
        }
        m_good = m_good && m_layer;
    }

    /// Values come in the order of the fields.
    template<class... Values>
    void add(const OGRGeometry& geometry, Values... values) {
        if (!m_good) {
            return;
        }
        OGRFeature feature(m_layer->GetLayerDefn());
        feature.SetGeometry(&geometry);
        int field = 0;
        (feature.SetField(field++, values), ...);
        m_good = m_layer->CreateFeature(&feature) == OGRERR_NONE;
    }

    bool close() {
        m_dataset.reset();
        return m_good;
    }

private:
    OGRSpatialReference m_reference;
    GDALDatasetUniquePtr m_dataset;
    OGRLayer* m_layer = nullptr;
    bool m_good = true;
};

void addCenterline(GeoPackage& file, const Centerline& centerline) {
    file.beginLayer("centerline", centerline.hasHeights ? wkbLineStringZM : wkbLineStringM,
                    {{"name", OFTString}});
    OGRLineString line;
    for (const PipeVertex& vertex : centerline.vertices) {
        if (centerline.hasHeights) {
            line.addPoint(vertex.x, vertex.y, vertex.z, vertex.chainageMetres);
        } else {
            line.addPointM(vertex.x, vertex.y, vertex.chainageMetres);
        }
    }
    file.add(line, centerline.name.toUtf8().constData());
    constexpr double kMetresPerKilometre = 1000.0;
    file.beginLayer("nodes", wkbPoint, {{"name", OFTString}, {"km", OFTReal}});
    for (const KilometrePost& post : centerline.posts) {
        file.add(OGRPoint(post.x, post.y), post.name.toUtf8().constData(),
                 post.chainageMetres / kMetresPerKilometre);
    }
}

OGRPolygon polygonOf(const detect::Box& box) {
    OGRLinearRing ring;
    ring.addPoint(box.xMin, box.yMin);
    ring.addPoint(box.xMax, box.yMin);
    ring.addPoint(box.xMax, box.yMax);
    ring.addPoint(box.xMin, box.yMax);
    ring.closeRings();
    OGRPolygon polygon;
    polygon.addRing(&ring);
    return polygon;
}

void addStations(GeoPackage& file, const std::vector<Stretch>& stations) {
    file.beginLayer("stations", wkbPolygon,
                    {{"id", OFTInteger}, {"name", OFTString}, {"start_m", OFTReal}, {"end_m", OFTReal}});
    int id = 0;
    for (const Stretch& station : stations) {
        file.add(polygonOf(station.box), ++id, station.name.toUtf8().constData(), station.startMetres,
                 station.endMetres);
    }
}

} // namespace

Status writeCenterlineFile(const QString& file, const OGRSpatialReference& reference,
                           const std::optional<Centerline>& centerline,
                           const std::vector<Stretch>& stations) {
    GDALAllRegister();
    const detect::GdalErrors errors;
    QFile::remove(file);
    GeoPackage package(file, reference);
    if (centerline) {
        addCenterline(package, *centerline);
    }
    addStations(package, stations);
    if (!package.close() || errors.any()) {
        QFile::remove(file);
        return fileFailure(file, "cannot be written: " + QString::fromStdString(errors.first()), "无法写入");
    }
    return {};
}

} // namespace inspection
