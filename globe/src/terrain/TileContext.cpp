#include "TileContext.h"

#include "../core/ScreenSize.h"
#include "TileLoader.h"

namespace osgEarth {

TileContext::TileContext(osg::ref_ptr<const Profile> profile, const TerrainOptions& options)
    : _profile(std::move(profile)), _options(options), _index(std::make_shared<TileIndex>()),
      _layers(std::make_shared<LayerStack>()) {}

std::shared_ptr<const LayerStack> TileContext::layers() const {
    const std::lock_guard lock(_mutex);
    return _layers;
}

void TileContext::setLayers(const Map& map) {
    const auto layers = std::make_shared<const LayerStack>(map, _revision + 1);
    const std::lock_guard lock(_mutex);
    for (const GeoExtent& extent : layers->differencesTo(*_layers)) {
        _changes.push_back({layers->revision(), extent});
    }
    _layers = layers;
    _revision = layers->revision();
}

bool TileContext::hasChangedSince(int revision, const GeoExtent& extent) const {
    const std::lock_guard lock(_mutex);
    return std::any_of(_changes.begin(), _changes.end(), [&](const Change& change) {
        return change.revision > revision && change.extent.intersects(extent);
    });
}

osg::ref_ptr<osgDB::Options> TileContext::readerOptions() {
    osg::ref_ptr<osgDB::Options> options = new osgDB::Options();
    options->setObjectCacheHint(osgDB::Options::CACHE_NONE);
    options->setReadFileCallback(new TileLoader(weak_from_this()));
    return options;
}

float TileContext::refinementPixels() const {
    // A picture is refined when its pixels grow larger than about one and a half screen pixels.
    constexpr float usualRangeFactor = 7.0F;
    return 1.5F * static_cast<float>(TileMesh::imagePixels) * usualRangeFactor /
           std::max(0.1F, _options.minTileRangeFactor().get());
}

bool TileContext::isViewCamera(const osgUtil::CullVisitor& visitor) {
    return osgEarth::isViewCamera(const_cast<osgUtil::CullVisitor&>(visitor).getCurrentCamera());
}

float TileContext::pixelsPerRadian(const osgUtil::CullVisitor& visitor) {
    const bool isView = isViewCamera(visitor);
    if (!isView && _viewPixelsPerRadian > 0.0F) {
        return _viewPixelsPerRadian;
    }
    auto& stack = const_cast<osgUtil::CullVisitor&>(visitor);
    const osg::Matrixd* projection = stack.getProjectionMatrix();
    const osg::Viewport* viewport = stack.getViewport();
    if (projection == nullptr || viewport == nullptr) {
        return 1000.0F;
    }
    const auto pixels =
        static_cast<float>(viewport->height() * 0.5 * (*projection)(1, 1) / stack.getLODScale());
    if (isView) {
        _viewPixelsPerRadian = pixels;
    }
    return pixels;
}

void TileContext::noteView(osgUtil::CullVisitor& visitor) {
    const auto view = std::make_shared<TileView>();
    osg::Matrixd viewToWorld;
    viewToWorld.invert(*visitor.getModelViewMatrix());
    view->eye = viewToWorld.getTrans();
    view->frustum.setToUnitFrustum(false, false);
    view->frustum.transformProvidingInverse(*visitor.getModelViewMatrix() * *visitor.getProjectionMatrix());
    view->pixelsPerRadian = pixelsPerRadian(visitor);
    const std::lock_guard lock(_mutex);
    _view = view;
}

std::shared_ptr<const TileView> TileContext::view() const {
    const std::lock_guard lock(_mutex);
    return _view;
}

void TileContext::tileEntered(TileMesh* mesh) {
    _index->insert(mesh);
    {
        const std::lock_guard lock(_mutex);
        _entered.emplace_back(mesh);
    }
    if (_enteredCallback) {
        _enteredCallback();
    }
}

std::vector<osg::ref_ptr<TileMesh>> TileContext::takeEnteredTiles() {
    std::vector<osg::ref_ptr<TileMesh>> entered;
    const std::lock_guard lock(_mutex);
    entered.swap(_entered);
    return entered;
}

} // namespace osgEarth
