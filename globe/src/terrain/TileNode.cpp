#include "TileNode.h"

#include "FormerSurfaces.h"
#include "TileLoader.h"

#include <cmath>

namespace osgEarth {
namespace {

constexpr unsigned kSurfaceChild = 0;
constexpr unsigned kQuadChild = 1;

// Positions are compared with the horizon in a space where the ellipsoid is the unit sphere.
osg::Vec3d toUnitSphere(const osg::Vec3d& world, const osg::EllipsoidModel& ellipsoid) {
    const double a = ellipsoid.getRadiusEquator();
    const double b = ellipsoid.getRadiusPolar();
    return {world.x() / a, world.y() / a, world.z() / b};
}

// Whether the unit sphere hides a point from the eye.
bool isHidden(const osg::Vec3d& point, const osg::Vec3d& eye) {
    const double horizonSquared = eye.length2() - 1.0;
    const osg::Vec3d toPoint = point - eye;
    const double along = -(toPoint * eye);
    return horizonSquared > 0.0 && along > horizonSquared &&
           along * along > horizonSquared * toPoint.length2();
}

// The eye in world coordinates. Depth and pick cameras look from the eye of the view they belong to, which is
// known in single precision only.
osg::Vec3d eyeOf(osgUtil::CullVisitor& visitor, bool isView) {
    if (!isView) {
        return osg::Vec3d(visitor.getViewPoint());
    }
    osg::Matrixd viewToWorld;
    viewToWorld.invert(*visitor.getModelViewMatrix());
    return viewToWorld.getTrans();
}

void enterQuad(osg::Node* node) {
    osg::Group* quad = node->asGroup();
    for (unsigned i = 0; quad && i < quad->getNumChildren(); ++i) {
        if (auto* tile = dynamic_cast<TileNode*>(quad->getChild(i))) {
            tile->enterScene();
        }
    }
}

} // namespace

TileSurface::TileSurface(const TileKey& key, const LayerStack& layers, const TerrainOptions& options)
    : m_mesh(new TileMesh(key, layers, options)), m_look(layers.look()), m_revision(layers.revision()) {
    addChild(m_mesh->node());
}

TileSurfaceSlot::TileSurfaceSlot(TileSurface* surface, std::shared_ptr<TileContext> context)
    : m_context(std::move(context)), m_surface(surface) {
    osg::Group::addChild(surface);
}

bool TileSurfaceSlot::addChild(osg::Node* child) {
    auto* surface = dynamic_cast<TileSurface*>(child);
    if (!surface) {
        return false;
    }
    osg::Group::removeChildren(0, getNumChildren());
    if (!m_surface->mesh()->wasMadeToCompare()) { // twice as large, and seldom wanted again
        m_context->formerSurfaces().keep(m_surface);
    }
    m_surface = surface;
    m_context->tileEntered(surface->mesh());
    return osg::Group::addChild(child);
}

TileNode::TileNode(const TileKey& key, const std::shared_ptr<TileContext>& context)
    : m_key(key), m_extent(key.getExtent()), m_context(context) {
    m_slot = new TileSurfaceSlot(new TileSurface(key, *context->layers(), context->options()), context);
    // Only intersection visitors look at the ranges: the smaller one marks the finer child, which they take
    // when it is there.
    osg::PagedLOD::addChild(m_slot.get(), 1.0F, FLT_MAX);
    setFileName(kQuadChild, TileLoader::childrenName(key));
    setRange(kQuadChild, 0.0F, 1.0F);
    setNumChildrenThatCannotBeExpired(1);

    // Coarse tiles span too much of the globe for a few points to stand for them.
    constexpr unsigned kCoarsestTested = 3;
    if (m_extent.getSRS()->isGeographic() && key.getLOD() >= kCoarsestTested) {
        const osg::EllipsoidModel& ellipsoid = *m_extent.getSRS()->getEllipsoid();
        for (int i = 0; i < 9; ++i) {
            const osg::Vec3d point(m_extent.west() + m_extent.width() * (i % 3) * 0.5,
                                   m_extent.south() + m_extent.height() * (i / 3) * 0.5, horizonCeiling());
            osg::Vec3d world;
            m_extent.getSRS()->transformToWorld(point, world);
            m_horizonPoints.push_back(toUnitSphere(world, ellipsoid));
        }
    }
}

TileNode::~TileNode() {
    m_context->index()->remove(mesh());
}

void TileNode::enterScene() {
    m_context->tileEntered(mesh());
    if (getNumChildren() > kQuadChild) {
        enterQuad(getChild(kQuadChild));
    }
}

bool TileNode::isMuchTooCoarseFor(const TileView& view) {
    // At twice the size its children would be refined as well; twice again leaves the last steps to be seen.
    constexpr float kMuchTooLarge = 4.0F;
    osg::Polytope frustum = view.frustum;
    return canBeRefined() &&
           sizeInPixels(view.eye, view.pixelsPerRadian) > kMuchTooLarge * m_context->refinementPixels() &&
           frustum.contains(mesh()->worldBound()) && !isBeyondHorizon(view.eye);
}

// The pager adds the four children here, on the thread that runs the frames.
bool TileNode::addChild(osg::Node* child) {
    enterQuad(child);
    return osg::PagedLOD::addChild(child);
}

osg::BoundingSphere TileNode::computeBound() const {
    osg::BoundingSphere bound = mesh()->worldBound();
    if (getNumChildren() > kQuadChild) {
        bound.expandBy(getChild(kQuadChild)->getBound());
    }
    return bound;
}

void TileNode::traverse(osg::NodeVisitor& nv) {
    if (auto* visitor = dynamic_cast<osgUtil::CullVisitor*>(&nv)) {
        cull(*visitor);
    } else if (nv.getTraversalMode() == osg::NodeVisitor::TRAVERSE_ACTIVE_CHILDREN) {
        getChild(getNumChildren() - 1)->accept(nv); // questions are answered by the finest surface there is
    } else {
        osg::Group::traverse(nv);
    }
}

void TileNode::cull(osgUtil::CullVisitor& visitor) {
    const osg::FrameStamp* frame = visitor.getFrameStamp();
    if (frame) {
        setFrameNumberOfLastTraversal(frame->getFrameNumber());
    }
    const bool decidesLoading = TileContext::isViewCamera(visitor);
    const osg::Vec3d eye = eyeOf(visitor, decidesLoading);
    if (isBeyondHorizon(eye)) {
        return;
    }
    const bool wantsFiner = canBeRefined() && sizeInPixels(eye, m_context->pixelsPerRadian(visitor)) >
                                                  m_context->refinementPixels();
    if (wantsFiner && getNumChildren() > kQuadChild) {
        if (frame) {
            setTimeStamp(kQuadChild, frame->getReferenceTime());
            setFrameNumber(kQuadChild, frame->getFrameNumber());
        }
        getChild(kQuadChild)->accept(visitor);
        return;
    }
    if (wantsFiner && decidesLoading) {
        // Coarse tiles come first: they cover the most.
        request(getFileName(kQuadChild), visitor.getNodePath(), 1.0F / static_cast<float>(1 + m_key.getLOD()),
                getDatabaseRequest(kQuadChild), visitor);
    }
    if ((m_isOutdated || mesh()->hasNews()) && decidesLoading) {
        osg::NodePath path = visitor.getNodePath();
        path.push_back(m_slot.get());
        request(TileLoader::surfaceName(m_key), path, 2.0F, m_slot->pendingRequest, visitor);
    }
    getChild(kSurfaceChild)->accept(visitor);
}

void TileNode::request(const std::string& name, osg::NodePath& path, float priority,
                       osg::ref_ptr<osg::Referenced>& pending, osgUtil::CullVisitor& visitor) {
    if (!visitor.getDatabaseRequestHandler()) {
        return;
    }
    if (!getDatabaseOptions()) {
        setDatabaseOptions(m_context->readerOptions().get());
    }
    visitor.getDatabaseRequestHandler()->requestNodeFile(name, path, priority, visitor.getFrameStamp(),
                                                         pending, getDatabaseOptions());
}

bool TileNode::isBeyondHorizon(const osg::Vec3d& eye) const {
    if (m_horizonPoints.empty()) {
        return false;
    }
    const SpatialReference& srs = *m_extent.getSRS();
    const osg::Vec3d scaledEye = toUnitSphere(eye, *srs.getEllipsoid());
    const auto isPointHidden = [&](const osg::Vec3d& point) { return isHidden(point, scaledEye); };
    if (!std::all_of(m_horizonPoints.begin(), m_horizonPoints.end(), isPointHidden)) {
        return false;
    }
    // From low above a wide tile all its corners may be hidden; the point nearest to the eye is not.
    osg::Vec3d nearest;
    srs.transformFromWorld(eye, nearest);
    if (std::abs(nearest.x() - 360.0 - m_extent.west()) < std::abs(nearest.x() - m_extent.west())) {
        nearest.x() -= 360.0;
    } else if (std::abs(nearest.x() + 360.0 - m_extent.east()) < std::abs(nearest.x() - m_extent.east())) {
        nearest.x() += 360.0;
    }
    nearest.set(osg::clampBetween(nearest.x(), m_extent.west(), m_extent.east()),
                osg::clampBetween(nearest.y(), m_extent.south(), m_extent.north()), horizonCeiling());
    osg::Vec3d world;
    srs.transformToWorld(nearest, world);
    return isPointHidden(toUnitSphere(world, *srs.getEllipsoid()));
}

// Finer tiles may rise above the coarse surface.
double TileNode::horizonCeiling() const {
    return mesh()->highestMetres() + 2000.0;
}

// Looks at the layers only after they have changed.
bool TileNode::canBeRefined() {
    const int revision = m_context->revision();
    if (revision != m_revisionChecked || m_isOutdated) {
        const TerrainOptions& options = m_context->options();
        m_revisionChecked = revision;
        m_isOutdated = m_context->hasChangedSince(m_slot->revision(), m_extent);
        m_canBeRefined =
            m_key.getLOD() < options.maxLOD().get() &&
            m_context->layers()->hasFinerData(m_extent, TileMesh::kImagePixels, options.tileSize().get());
    }
    return m_canBeRefined;
}

// Size of the tile as seen from the eye, by its nearest point.
float TileNode::sizeInPixels(const osg::Vec3d& eyeWorld, float pixelsPerRadian) const {
    const osg::BoundingBoxd& box = mesh()->localBox();
    const osg::Vec3d eye = eyeWorld * mesh()->worldToLocal();
    const osg::Vec3d nearest(osg::clampBetween(eye.x(), box.xMin(), box.xMax()),
                             osg::clampBetween(eye.y(), box.yMin(), box.yMax()),
                             osg::clampBetween(eye.z(), box.zMin(), box.zMax()));
    const double distance = std::max(0.1, (eye - nearest).length());
    const double longer = std::max(box.xMax() - box.xMin(), box.yMax() - box.yMin());
    const double shorter = std::min(box.xMax() - box.xMin(), box.yMax() - box.yMin());
    // Around a pole stand thousands of needles, which are all near together.
    const double width = std::min(longer, 2.0 * shorter);
    return static_cast<float>(width / distance) * pixelsPerRadian;
}

} // namespace osgEarth
