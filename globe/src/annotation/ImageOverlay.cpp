#include "../core/ScreenSize.h"
#include "OverlayBatches.h"
#include "OverlayMesh.h"

#include <osg/Geometry>
#include <osgEarth/Registry>
#include <osgEarthAnnotation/ImageOverlay>

#include <algorithm>
#include <cmath>

namespace osgEarth {
namespace Annotation {
namespace {

/// Below this size on the screen a thumbnail shows as much as the picture itself.
constexpr double kSmallPixels = 24.0;

/// Nothing beyond what every annotation has and an object id.
bool isPlain(const osg::StateSet& stateSet) {
    const osg::StateSet::UniformList& uniforms = stateSet.getUniformList();
    return stateSet.getAttributeList().size() == 1 && stateSet.getModeList().size() == 1 &&
           stateSet.getTextureAttributeList().empty() &&
           (uniforms.empty() ||
            (uniforms.size() == 1 &&
             uniforms.begin()->first == Registry::objectIndex()->getObjectIDUniformName()));
}

/// Whether somebody gave the drawables of a built overlay ids of their own.
bool hasMarkedVertices(const ImageOverlay& overlay) {
    const osg::Geometry* mesh = overlay.getChild(0)->asGroup()->getChild(0)->asGeometry();
    const int location = Registry::objectIndex()->getObjectIDAttribLocation();
    return mesh->getVertexAttribArray(static_cast<unsigned>(location)) != nullptr;
}

} // namespace

ImageOverlay::ImageOverlay(MapNode* mapNode, osg::Image* image)
    : m_lowerLeft(10.0, 10.0), m_lowerRight(20.0, 10.0), m_upperLeft(10.0, 20.0), m_upperRight(20.0, 20.0),
      m_image(image) {
    AnnotationNode::setMapNode(mapNode);
    setCullingActive(false); // OSG would leave out what is small, and groups of small things
    requestUpdate();
}

ImageOverlay::~ImageOverlay() = default;

void ImageOverlay::setCorner(osg::Vec2d& corner, double lonDegrees, double latDegrees) {
    corner.set(lonDegrees, std::clamp(latDegrees, -90.0, 90.0));
    requestUpdate();
}

void ImageOverlay::setCorners(const osg::Vec2d& lowerLeft, const osg::Vec2d& lowerRight,
                              const osg::Vec2d& upperLeft, const osg::Vec2d& upperRight) {
    setCorner(m_lowerLeft, lowerLeft.x(), lowerLeft.y());
    setCorner(m_lowerRight, lowerRight.x(), lowerRight.y());
    setCorner(m_upperLeft, upperLeft.x(), upperLeft.y());
    setCorner(m_upperRight, upperRight.x(), upperRight.y());
}

void ImageOverlay::setLowerLeft(double lonDegrees, double latDegrees) {
    setCorner(m_lowerLeft, lonDegrees, latDegrees);
}
void ImageOverlay::setLowerRight(double lonDegrees, double latDegrees) {
    setCorner(m_lowerRight, lonDegrees, latDegrees);
}
void ImageOverlay::setUpperLeft(double lonDegrees, double latDegrees) {
    setCorner(m_upperLeft, lonDegrees, latDegrees);
}
void ImageOverlay::setUpperRight(double lonDegrees, double latDegrees) {
    setCorner(m_upperRight, lonDegrees, latDegrees);
}

osg::Vec2d ImageOverlay::getCenter() const {
    return (m_lowerLeft + m_lowerRight + m_upperLeft + m_upperRight) * 0.25;
}

void ImageOverlay::setCenter(double lonDegrees, double latDegrees) {
    const osg::Vec2d shift = osg::Vec2d(lonDegrees, latDegrees) - getCenter();
    setCorners(m_lowerLeft + shift, m_lowerRight + shift, m_upperLeft + shift, m_upperRight + shift);
}

Bounds ImageOverlay::getBounds() const {
    osgEarth::Bounds bounds;
    for (const osg::Vec2d& corner : {m_lowerLeft, m_lowerRight, m_upperLeft, m_upperRight}) {
        bounds.expandBy(corner.x(), corner.y());
    }
    return bounds;
}

void ImageOverlay::setBounds(const osgEarth::Bounds& bounds) {
    setCorners({bounds.xMin(), bounds.yMin()}, {bounds.xMax(), bounds.yMin()}, {bounds.xMin(), bounds.yMax()},
               {bounds.xMax(), bounds.yMax()});
}

// Turned in metres, so that the picture keeps its right angles at any latitude.
void ImageOverlay::setBoundsAndRotation(const osgEarth::Bounds& bounds, const Angular& rotation) {
    const osg::Vec2d center = bounds.center2d();
    const double angle = rotation.as(Units::RADIANS);
    const double narrowing = std::max(std::cos(osg::DegreesToRadians(center.y())), 1e-3);
    const auto turned = [&center, angle, narrowing](double x, double y) {
        const double east = (x - center.x()) * narrowing;
        const double north = y - center.y();
        return osg::Vec2d(center.x() + (east * std::cos(angle) - north * std::sin(angle)) / narrowing,
                          center.y() + east * std::sin(angle) + north * std::cos(angle));
    };
    setCorners(turned(bounds.xMin(), bounds.yMin()), turned(bounds.xMax(), bounds.yMin()),
               turned(bounds.xMin(), bounds.yMax()), turned(bounds.xMax(), bounds.yMax()));
}

void ImageOverlay::setNorth(double latDegrees) {
    setUpperLeft(m_upperLeft.x(), latDegrees);
    setUpperRight(m_upperRight.x(), latDegrees);
}

void ImageOverlay::setSouth(double latDegrees) {
    setLowerLeft(m_lowerLeft.x(), latDegrees);
    setLowerRight(m_lowerRight.x(), latDegrees);
}

void ImageOverlay::setEast(double lonDegrees) {
    setLowerRight(lonDegrees, m_lowerRight.y());
    setUpperRight(lonDegrees, m_upperRight.y());
}

void ImageOverlay::setWest(double lonDegrees) {
    setLowerLeft(lonDegrees, m_lowerLeft.y());
    setUpperLeft(lonDegrees, m_upperLeft.y());
}

void ImageOverlay::setImage(osg::Image* image) {
    m_image = image;
    requestUpdate();
}

void ImageOverlay::setAlpha(float alpha) {
    m_alpha = std::clamp(alpha, 0.0f, 1.0f);
    requestUpdate();
}

void ImageOverlay::setDraped(bool value) {
    m_draped = value;
    requestUpdate();
}

void ImageOverlay::dirty() {
    requestUpdate();
}

void ImageOverlay::setMapNode(MapNode* mapNode) {
    if (getMapNode() == mapNode) {
        return;
    }
    AnnotationNode::setMapNode(mapNode);
    requestUpdate();
}

void ImageOverlay::update() {
    rebuild();
}

// Decided before the visitor takes up the node's state, which would cost more than the few pixels.
void ImageOverlay::accept(osg::NodeVisitor& nv) {
    osgUtil::CullVisitor* visitor = nv.asCullVisitor();
    if (visitor && (getNumChildren() == 0 || !nv.validNodeMask(*this) || isOutOfSight(*visitor) ||
                    isDrawnInBatch(*visitor))) {
        return;
    }
    AnnotationNode::accept(nv);
}

bool ImageOverlay::isOutOfSight(osgUtil::CullVisitor& visitor) const {
    return !visitor.getCurrentCullingSet().getFrustum().contains(getBound()) || !isAboveHorizon(visitor);
}

bool ImageOverlay::isDrawnInBatch(osgUtil::CullVisitor& visitor) {
    if (!canBeBatched()) {
        return false;
    }
    const double size = pixelsInWindow(getBound(), visitor);
    if (size >= kSmallPixels) {
        return false;
    }
    updateIfOutdated();
    ObjectID id = OSGEARTH_OBJECTID_EMPTY;
    Registry::objectIndex()->getObjectID(this, id);
    m_batches->add(visitor, *m_quad, id, size);
    return true;
}

// What a user put on the node holds for its own drawing only.
bool ImageOverlay::canBeBatched() const {
    return m_quad && !getCullCallback() && getStateSet() && isPlain(*getStateSet()) &&
           m_image->getModifiedCount() == m_builtImage && !hasMarkedVertices(*this);
}

void ImageOverlay::rebuild() {
    removeChildren(0, getNumChildren());
    m_quad.reset();
    MapNode* mapNode = getMapNode();
    if (!mapNode || !m_image.valid() || !m_image->data()) {
        return;
    }
    followLayers(m_draped);
    OverlayShape shape;
    shape.lowerLeft = m_lowerLeft;
    shape.lowerRight = m_lowerRight;
    shape.upperLeft = m_upperLeft;
    shape.upperRight = m_upperRight;
    shape.alpha = m_alpha;
    shape.draped = m_draped;
    const OverlayMesh mesh = overlayMesh(*mapNode, shape, *m_image);
    if (!mesh.node.valid()) {
        return;
    }
    addChild(mesh.node);
    if (m_draped) {
        prepareBatching(mesh.corners);
    }
}

void ImageOverlay::prepareBatching(const std::array<osg::Vec3d, 4>& corners) {
    if (!m_batches.valid()) {
        m_batches = OverlayBatches::shared();
    }
    m_quad = std::make_unique<OverlayQuad>();
    m_quad->corners = corners;
    m_quad->picture = m_batches->atlas().add(*m_image);
    m_quad->alpha = m_alpha;
    m_builtImage = m_image->getModifiedCount();
}

} // namespace Annotation
} // namespace osgEarth
