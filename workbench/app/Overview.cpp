#include "workbench/app/Overview.h"

#include "detect/heights/SurfaceModel.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"
#include "workbench/inspectiondata/project/RasterPlace.h"
#include "workbench/viewer/GlobeWidget.h"

#include <osgEarth/ElevationQuery>
#include <osgEarth/GeoData>
#include <osgEarth/MapNode>
#include <osgEarth/SpatialReference>
#include <osgEarthUtil/EarthManipulator>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kNoElevationBelowMetres = -9999.0;

osg::Vec3d cellPosition(const detect::Grid& grid, double column, double row) {
    const detect::Point map = grid.cellToMap()(column, row);
    return {map.x, map.y, 0.0};
}

} // namespace

Overview::Overview(GlobeWidget& globe) : m_globe(globe) {
    connect(&m_globe, &GlobeWidget::arrived, this, &Overview::lookAgain);
}

void Overview::show(const inspection::ProjectDescription& project) {
    m_project = project;
    m_provisional.reset();
    if (const std::optional<Ground> there = ground()) {
        const osgEarth::Viewpoint view = viewOf(*there);
        m_globe.getManipulator()->setHomeViewpoint(view);
        m_globe.getManipulator()->setViewpoint(view, 0.0);
        if (!there->isFinal) {
            m_provisional = m_globe.getManipulator()->getViewpoint();
        }
    }
    m_globe.requestRedraw();
}

void Overview::lookAgain() {
    if (!m_provisional) {
        return;
    }
    if (hasMovedFrom(*m_provisional)) {
        m_provisional.reset();
        return;
    }
    const std::optional<Ground> there = ground();
    if (there && there->isFinal) {
        show(inspection::ProjectDescription(m_project));
    }
}

bool Overview::hasMovedFrom(const osgEarth::Viewpoint& before) const {
    constexpr double kShare = 1e-3; // what the ground below the view does to it, when it rises, is less
    const osgEarth::Viewpoint now = m_globe.getManipulator()->getViewpoint();
    const osg::Vec3d way = now.focalPoint()->vec3d() - before.focalPoint()->vec3d();
    constexpr double kDegrees = 1e-5;
    return std::hypot(way.x(), way.y()) > kDegrees ||
           now.heading()->getValue() != before.heading()->getValue() ||
           std::abs(now.range()->getValue() / before.range()->getValue() - 1.0) > kShare;
}

std::optional<Overview::Ground> Overview::ground() const {
    if (m_project.epochs.empty()) {
        return std::nullopt;
    }
    const QString& surface = m_project.epochs.back().dsm;
    return inspection::leadsToServer(surface) ? groundOfLine() : groundOfSurface(surface);
}

std::optional<Overview::Ground> Overview::groundOfSurface(const QString& file) {
    auto surface = detect::SurfaceModel::open(file.toStdString());
    if (!surface) {
        return std::nullopt;
    }
    const detect::Grid& grid = surface->grid();
    char* definition = nullptr;
    grid.srs().exportToWkt(&definition);
    const osg::ref_ptr<const osgEarth::SpatialReference> srs =
        osgEarth::SpatialReference::get(definition ? definition : "");
    CPLFree(definition);
    if (!srs) {
        return std::nullopt;
    }

    const double column = grid.columns() / 2.0;
    const double row = grid.rows() / 2.0;
    osgEarth::GeoPoint centre(srs.get(), cellPosition(grid, column, row));
    const osgEarth::GeoPoint corner(srs.get(), cellPosition(grid, 0.0, 0.0));
    const float height = surface->at(grid.columns() / 2, grid.rows() / 2);
    centre.z() = std::isnan(height) ? 0.0 : double{height};
    const osgEarth::SpatialReference* geographic = srs->getGeographicSRS();
    return Ground{centre.transform(geographic),
                  centre.transform(geographic).distanceTo(corner.transform(geographic))};
}

std::optional<Overview::Ground> Overview::groundOfLine() const {
    const inspection::Pipeline line = inspection::Pipeline::read(m_project);
    const osg::ref_ptr<const osgEarth::SpatialReference> srs =
        osgEarth::SpatialReference::get(line.crs().toStdString());
    QRectF box;
    QPointF middle;
    for (const std::vector<QPointF>& part : line.parts()) {
        for (const QPointF& vertex : part) {
            box = box.isNull() ? QRectF(vertex, QSizeF(1e-3, 1e-3))
                               : box.united(QRectF(vertex, QSizeF(1e-3, 1e-3)));
        }
        middle = part.empty() ? middle : part[part.size() / 2];
    }
    if (!srs || box.isNull()) {
        return std::nullopt;
    }
    const osgEarth::SpatialReference* geographic = srs->getGeographicSRS();
    const osgEarth::GeoPoint onLine(srs.get(), osg::Vec3d(middle.x(), middle.y(), 0.0));
    const osgEarth::GeoPoint corner(srs.get(), osg::Vec3d(box.left(), box.top(), 0.0));
    osgEarth::GeoPoint centre(srs.get(), osg::Vec3d(box.center().x(), box.center().y(), 0.0));
    osgEarth::ElevationQuery query(m_globe.getMapNode()->getMap());
    const float height = query.getElevation(onLine);
    const bool isKnown = height > kNoElevationBelowMetres;
    centre.z() = isKnown ? double{height} : 0.0;
    return Ground{centre.transform(geographic),
                  centre.transform(geographic).distanceTo(corner.transform(geographic)), isKnown};
}

osgEarth::Viewpoint Overview::viewOf(const Ground& ground) const {
    constexpr double kPitchDegrees = -50.0;
    constexpr double kLeastRangePerRadius = 2.7;    // of pictures wider than 1.55 times their height
    constexpr double kRangePerRadiusOfSquare = 4.2; // with a little room at both ends
    const double aspect = double(m_globe.width()) / std::max(1, m_globe.height());
    const double rangePerRadius = std::max(kLeastRangePerRadius, kRangePerRadiusOfSquare / aspect);
    return osgEarth::Viewpoint("overview", ground.centre.x(), ground.centre.y(), ground.centre.z(), 0.0,
                               kPitchDegrees, rangePerRadius * ground.radiusMetres);
}
