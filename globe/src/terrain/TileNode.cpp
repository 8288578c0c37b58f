#include "TileNode.h"

#include "TileLoader.h"

#include <cmath>

namespace osgEarth {
namespace {

constexpr unsigned surfaceChild = 0;
constexpr unsigned quadChild = 1;

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
    for (unsigned i = 0; quad != nullptr && i < quad->getNumChildren(); ++i) {
        if (auto* tile = dynamic_cast<TileNode*>(quad->getChild(i))) {
            tile->enterScene();
        }
    }
}

} // namespace

TileSurfaceSlot::TileSurfaceSlot(TileSurface* surface, std::shared_ptr<TileContext> context)
    : _context(std::move(context)), _mesh(surface->mesh()) {
    osg::Group::addChild(surface);
}

bool TileSurfaceSlot::addChild(osg::Node* child) {
    auto* surface = dynamic_cast<TileSurface*>(child);
    if (surface == nullptr) {
        return false;
    }
    osg::Group::removeChildren(0, getNumChildren());
    _mesh = surface->mesh();
    _context->tileEntered(_mesh.get());
    return osg::Group::addChild(child);
}

TileNode::TileNode(const TileKey& key, const std::shared_ptr<TileContext>& context)
    : _key(key), _extent(key.getExtent()), _context(context) {
    const auto layers = context->layers();
    osg::ref_ptr<TileMesh> mesh = new TileMesh(key, *layers, context->options());
    _slot = new TileSurfaceSlot(new TileSurface(mesh.get()), context);
    // Only intersection visitors look at the ranges: the smaller one marks the finer child, which they take
    // when it is there.
    osg::PagedLOD::addChild(_slot.get(), 1.0F, FLT_MAX);
    setFileName(quadChild, TileLoader::childrenName(key));
    setRange(quadChild, 0.0F, 1.0F);
    setNumChildrenThatCannotBeExpired(1);

    // Coarse tiles span too much of the globe for a few points to stand for them.
    constexpr unsigned coarsestTested = 3;
    if (_extent.getSRS()->isGeographic() && key.getLOD() >= coarsestTested) {
        const osg::EllipsoidModel& ellipsoid = *_extent.getSRS()->getEllipsoid();
        for (int i = 0; i < 9; ++i) {
            const osg::Vec3d point(_extent.west() + _extent.width() * (i % 3) * 0.5,
                                   _extent.south() + _extent.height() * (i / 3) * 0.5, horizonCeiling());
            osg::Vec3d world;
            _extent.getSRS()->transformToWorld(point, world);
            _horizonPoints.push_back(toUnitSphere(world, ellipsoid));
        }
    }
}

TileNode::~TileNode() {
    _context->index()->remove(mesh());
}

void TileNode::enterScene() {
    _context->tileEntered(mesh());
    if (getNumChildren() > quadChild) {
        enterQuad(getChild(quadChild));
    }
}

bool TileNode::isMuchTooCoarseFor(const TileView& view) {
    // At twice the size its children would be refined as well; twice again leaves the last steps to be seen.
    constexpr float muchTooLarge = 4.0F;
    osg::Polytope frustum = view.frustum;
    return canBeRefined() &&
           sizeInPixels(view.eye, view.pixelsPerRadian) > muchTooLarge * _context->refinementPixels() &&
           frustum.contains(mesh()->worldBound()) && !isBeyondHorizon(view.eye);
}

// The pager adds the four children here, on the thread that runs the frames.
bool TileNode::addChild(osg::Node* child) {
    enterQuad(child);
    return osg::PagedLOD::addChild(child);
}

osg::BoundingSphere TileNode::computeBound() const {
    osg::BoundingSphere bound = mesh()->worldBound();
    if (getNumChildren() > quadChild) {
        bound.expandBy(getChild(quadChild)->getBound());
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
    if (frame != nullptr) {
        setFrameNumberOfLastTraversal(frame->getFrameNumber());
    }
    const bool decidesLoading = TileContext::isViewCamera(visitor);
    const osg::Vec3d eye = eyeOf(visitor, decidesLoading);
    if (isBeyondHorizon(eye)) {
        return;
    }
    const bool wantsFiner = canBeRefined() && sizeInPixels(eye, _context->pixelsPerRadian(visitor)) >
                                                  _context->refinementPixels();
    if (wantsFiner && getNumChildren() > quadChild) {
        if (frame != nullptr) {
            setTimeStamp(quadChild, frame->getReferenceTime());
            setFrameNumber(quadChild, frame->getFrameNumber());
        }
        getChild(quadChild)->accept(visitor);
        return;
    }
    if (wantsFiner && decidesLoading) {
        // Coarse tiles come first: they cover the most.
        request(getFileName(quadChild), visitor.getNodePath(), 1.0F / static_cast<float>(1 + _key.getLOD()),
                getDatabaseRequest(quadChild), visitor);
    }
    if (_isOutdated && decidesLoading) {
        osg::NodePath path = visitor.getNodePath();
        path.push_back(_slot.get());
        request(TileLoader::surfaceName(_key), path, 2.0F, _slot->pendingRequest, visitor);
    }
    getChild(surfaceChild)->accept(visitor);
}

void TileNode::request(const std::string& name, osg::NodePath& path, float priority,
                       osg::ref_ptr<osg::Referenced>& pending, osgUtil::CullVisitor& visitor) {
    if (visitor.getDatabaseRequestHandler() == nullptr) {
        return;
    }
    if (getDatabaseOptions() == nullptr) {
        setDatabaseOptions(_context->readerOptions().get());
    }
    visitor.getDatabaseRequestHandler()->requestNodeFile(name, path, priority, visitor.getFrameStamp(),
                                                         pending, getDatabaseOptions());
}

bool TileNode::isBeyondHorizon(const osg::Vec3d& eye) const {
    if (_horizonPoints.empty()) {
        return false;
    }
    const SpatialReference& srs = *_extent.getSRS();
    const osg::Vec3d scaledEye = toUnitSphere(eye, *srs.getEllipsoid());
    const auto isPointHidden = [&](const osg::Vec3d& point) { return isHidden(point, scaledEye); };
    if (!std::all_of(_horizonPoints.begin(), _horizonPoints.end(), isPointHidden)) {
        return false;
    }
    // From low above a wide tile all its corners may be hidden; the point nearest to the eye is not.
    osg::Vec3d nearest;
    srs.transformFromWorld(eye, nearest);
    if (std::abs(nearest.x() - 360.0 - _extent.west()) < std::abs(nearest.x() - _extent.west())) {
        nearest.x() -= 360.0;
    } else if (std::abs(nearest.x() + 360.0 - _extent.east()) < std::abs(nearest.x() - _extent.east())) {
        nearest.x() += 360.0;
    }
    nearest.set(osg::clampBetween(nearest.x(), _extent.west(), _extent.east()),
                osg::clampBetween(nearest.y(), _extent.south(), _extent.north()), horizonCeiling());
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
    const int revision = _context->revision();
    if (revision != _revisionChecked || _isOutdated) {
        const TerrainOptions& options = _context->options();
        _revisionChecked = revision;
        _isOutdated = _context->hasChangedSince(mesh()->revision(), _extent);
        _canBeRefined =
            _key.getLOD() < options.maxLOD().get() &&
            _context->layers()->hasFinerData(_extent, TileMesh::imagePixels, options.tileSize().get());
    }
    return _canBeRefined;
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
