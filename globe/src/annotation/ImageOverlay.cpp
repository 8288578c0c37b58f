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
constexpr double SmallPixels = 24.0;

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
    : _lowerLeft(10.0, 10.0), _lowerRight(20.0, 10.0), _upperLeft(10.0, 20.0), _upperRight(20.0, 20.0),
      _image(image) {
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
    setCorner(_lowerLeft, lowerLeft.x(), lowerLeft.y());
    setCorner(_lowerRight, lowerRight.x(), lowerRight.y());
    setCorner(_upperLeft, upperLeft.x(), upperLeft.y());
    setCorner(_upperRight, upperRight.x(), upperRight.y());
}

void ImageOverlay::setLowerLeft(double lonDegrees, double latDegrees) {
    setCorner(_lowerLeft, lonDegrees, latDegrees);
}
void ImageOverlay::setLowerRight(double lonDegrees, double latDegrees) {
    setCorner(_lowerRight, lonDegrees, latDegrees);
}
void ImageOverlay::setUpperLeft(double lonDegrees, double latDegrees) {
    setCorner(_upperLeft, lonDegrees, latDegrees);
}
void ImageOverlay::setUpperRight(double lonDegrees, double latDegrees) {
    setCorner(_upperRight, lonDegrees, latDegrees);
}

osg::Vec2d ImageOverlay::getCenter() const {
    return (_lowerLeft + _lowerRight + _upperLeft + _upperRight) * 0.25;
}

osg::Vec2d ImageOverlay::getControlPoint(ControlPoint point) const {
    switch (point) {
    case CONTROLPOINT_LOWER_LEFT:
        return _lowerLeft;
    case CONTROLPOINT_LOWER_RIGHT:
        return _lowerRight;
    case CONTROLPOINT_UPPER_LEFT:
        return _upperLeft;
    case CONTROLPOINT_UPPER_RIGHT:
        return _upperRight;
    case CONTROLPOINT_CENTER:
        break;
    }
    return getCenter();
}

void ImageOverlay::setCenter(double lonDegrees, double latDegrees) {
    const osg::Vec2d shift = osg::Vec2d(lonDegrees, latDegrees) - getCenter();
    setCorners(_lowerLeft + shift, _lowerRight + shift, _upperLeft + shift, _upperRight + shift);
}

Bounds ImageOverlay::getBounds() const {
    osgEarth::Bounds bounds;
    for (const osg::Vec2d& corner : {_lowerLeft, _lowerRight, _upperLeft, _upperRight})
        bounds.expandBy(corner.x(), corner.y());
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
    setUpperLeft(_upperLeft.x(), latDegrees);
    setUpperRight(_upperRight.x(), latDegrees);
}

void ImageOverlay::setSouth(double latDegrees) {
    setLowerLeft(_lowerLeft.x(), latDegrees);
    setLowerRight(_lowerRight.x(), latDegrees);
}

void ImageOverlay::setEast(double lonDegrees) {
    setLowerRight(lonDegrees, _lowerRight.y());
    setUpperRight(lonDegrees, _upperRight.y());
}

void ImageOverlay::setWest(double lonDegrees) {
    setLowerLeft(lonDegrees, _lowerLeft.y());
    setUpperLeft(lonDegrees, _upperLeft.y());
}

void ImageOverlay::setImage(osg::Image* image) {
    _image = image;
    requestUpdate();
}

void ImageOverlay::setAlpha(float alpha) {
    _alpha = std::clamp(alpha, 0.0f, 1.0f);
    requestUpdate();
}

void ImageOverlay::setDraped(bool value) {
    _draped = value;
    requestUpdate();
}

void ImageOverlay::dirty() {
    requestUpdate();
}

void ImageOverlay::setMapNode(MapNode* mapNode) {
    if (getMapNode() == mapNode)
        return;
    AnnotationNode::setMapNode(mapNode);
    requestUpdate();
}

void ImageOverlay::update() {
    rebuild();
}

// Decided before the visitor takes up the node's state, which would cost more than the few pixels.
void ImageOverlay::accept(osg::NodeVisitor& nv) {
    osgUtil::CullVisitor* visitor = nv.asCullVisitor();
    if (visitor != nullptr &&
        (!nv.validNodeMask(*this) || isOutOfSight(*visitor) || isDrawnInBatch(*visitor)))
        return;
    AnnotationNode::accept(nv);
}

bool ImageOverlay::isOutOfSight(osgUtil::CullVisitor& visitor) const {
    return !visitor.getCurrentCullingSet().getFrustum().contains(getBound()) || !isAboveHorizon(visitor);
}

bool ImageOverlay::isDrawnInBatch(osgUtil::CullVisitor& visitor) {
    if (!canBeBatched())
        return false;
    const double size = pixelsInWindow(getBound(), visitor);
    if (size >= SmallPixels)
        return false;
    updateIfOutdated();
    ObjectID id = OSGEARTH_OBJECTID_EMPTY;
    Registry::objectIndex()->getObjectID(this, id);
    _batches->add(visitor, *_quad, id, size);
    return true;
}

// What a user put on the node holds for its own drawing only.
bool ImageOverlay::canBeBatched() const {
    return _quad != nullptr && getCullCallback() == nullptr && getStateSet() != nullptr &&
           isPlain(*getStateSet()) && _image->getModifiedCount() == _builtImage && !hasMarkedVertices(*this);
}

void ImageOverlay::rebuild() {
    removeChildren(0, getNumChildren());
    _quad.reset();
    MapNode* mapNode = getMapNode();
    if (!mapNode || !_image.valid() || !_image->data())
        return;
    followLayers(_draped);
    OverlayShape shape;
    shape.lowerLeft = _lowerLeft;
    shape.lowerRight = _lowerRight;
    shape.upperLeft = _upperLeft;
    shape.upperRight = _upperRight;
    shape.alpha = _alpha;
    shape.draped = _draped;
    const OverlayMesh mesh = overlayMesh(*mapNode, shape, *_image);
    if (!mesh.node.valid())
        return;
    addChild(mesh.node);
    if (_draped)
        prepareBatching(mesh.corners);
}

void ImageOverlay::prepareBatching(const std::array<osg::Vec3d, 4>& corners) {
    if (!_batches.valid())
        _batches = OverlayBatches::shared();
    _quad = std::make_unique<OverlayQuad>();
    _quad->corners = corners;
    _quad->picture = _batches->atlas().add(*_image);
    _quad->alpha = _alpha;
    _builtImage = _image->getModifiedCount();
}

} // namespace Annotation
} // namespace osgEarth
