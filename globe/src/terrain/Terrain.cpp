#include <osgEarth/Terrain>

#include "SightLine.h"
#include "TileIndex.h"

#include <osgUtil/IntersectionVisitor>
#include <osgUtil/LineSegmentIntersector>
#include <osgViewer/View>

#include <vector>

namespace osgEarth {

void TerrainCallback::onTileAdded(const TileKey&, osg::Node*, TerrainCallbackContext&) {}

Terrain::Terrain(osg::Node* graph, const Profile* profile, std::shared_ptr<TileIndex> tiles)
    : m_graph(graph), m_profile(profile), m_tiles(std::move(tiles)) {}

Terrain::~Terrain() = default;

bool Terrain::getHeight(const SpatialReference* srs, double x, double y, double* out_heightAboveMSL,
                        double* out_heightAboveEllipsoid) const {
    if (srs && srs != getSRS() && !srs->transform2D(x, y, getSRS(), x, y)) {
        return false;
    }
    const osg::ref_ptr<TileMesh> mesh = m_tiles->finestAt(*m_profile, x, y);
    double height = 0.0;
    if (!mesh.valid() || !mesh->height(x, y, height)) {
        return false;
    }
    for (double* out : {out_heightAboveMSL, out_heightAboveEllipsoid}) {
        if (out) {
            *out = height;
        }
    }
    return true;
}

bool Terrain::intersect(const osg::Vec3d& start, const osg::Vec3d& end, osg::Vec3d& out_world) const {
    osg::ref_ptr<osg::Node> graph;
    if (!m_graph.lock(graph)) {
        return false;
    }
    osg::ref_ptr<osgUtil::LineSegmentIntersector> segment = new osgUtil::LineSegmentIntersector(start, end);
    segment->setIntersectionLimit(osgUtil::Intersector::LIMIT_NEAREST);
    osgUtil::IntersectionVisitor visitor(segment.get());
    graph->accept(visitor);
    if (!segment->containsIntersections()) {
        return false;
    }
    out_world = segment->getFirstIntersection().getWorldIntersectPoint();
    return true;
}

bool Terrain::getWorldCoordsUnderMouse(osg::View* view, float mx, float my, osg::Vec3d& out_world) const {
    auto* viewerView = dynamic_cast<osgViewer::View*>(view);
    if (!viewerView) {
        return false;
    }
    float localX = 0.0F;
    float localY = 0.0F;
    const osg::Camera* camera = viewerView->getCameraContainingPosition(mx, my, localX, localY);
    if (!camera) {
        camera = viewerView->getCamera();
        localX = mx;
        localY = my;
    }
    const osg::Viewport* viewport = camera->getViewport();
    if (!viewport) {
        return false;
    }
    osg::Matrixd windowToWorld;
    if (!windowToWorld.invert(camera->getViewMatrix() * camera->getProjectionMatrix() *
                              viewport->computeWindowMatrix())) {
        return false;
    }
    // The far end of the pointer's ray is put beyond the whole Earth, whatever the far plane is.
    const osg::Vec3d eye = camera->getInverseViewMatrix().getTrans();
    const osg::Vec3d onRay = osg::Vec3d(localX, localY, 0.0) * windowToWorld;
    osg::Vec3d direction = onRay - eye;
    if (direction.normalize() == 0.0) {
        return false;
    }
    const double reach = eye.length() + 2.0 * getSRS()->getEllipsoid()->getRadiusEquator();
    return intersect(eye, eye + direction * reach, out_world);
}

bool Terrain::hides(const osg::Vec3d& placeWorld, const osg::Vec3d& eyeWorld) const {
    return isHiddenByGround(*m_tiles, *m_profile, eyeWorld, placeWorld);
}

unsigned Terrain::getSurfaceRevision() const {
    return m_tiles->revision();
}

void Terrain::addTerrainCallback(TerrainCallback* callback) {
    if (callback) {
        m_places.emplace(callback, m_nextPlace);
        m_callbacks.emplace(m_nextPlace++, callback);
    }
}

void Terrain::removeTerrainCallback(TerrainCallback* callback) {
    const auto [first, last] = m_places.equal_range(callback);
    for (auto place = first; place != last; ++place) {
        m_callbacks.erase(place->second);
    }
    m_places.erase(first, last);
}

osg::Node* Terrain::getGraph() const {
    return m_graph.get();
}

void Terrain::notifyTileAdded(const TileKey& key, osg::Node* tile) {
    TerrainCallbackContext context(this);
    std::vector<osg::ref_ptr<TerrainCallback>> callbacks; // a callback may remove itself
    callbacks.reserve(m_callbacks.size());
    for (const auto& [place, callback] : m_callbacks) {
        callbacks.push_back(callback);
    }
    for (const auto& callback : callbacks) {
        callback->onTileAdded(key, tile, context);
    }
}

} // namespace osgEarth
