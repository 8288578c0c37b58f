#include "TileContext.h"

#include "../core/ScreenSize.h"
#include "FormerSurfaces.h"
#include "TileLoader.h"

namespace osgEarth {

TileContext::TileContext(const osg::ref_ptr<const Profile>& profile, const TerrainOptions& options)
    : m_profile(profile), m_options(options), m_index(std::make_shared<TileIndex>()),
      m_formerSurfaces(std::make_unique<FormerSurfaces>()), m_layers(std::make_shared<LayerStack>()) {}

TileContext::~TileContext() = default;

std::shared_ptr<const LayerStack> TileContext::layers() const {
    const std::lock_guard lock(m_mutex);
    return m_layers;
}

void TileContext::setLayers(const Map& map) {
    const auto layers = std::make_shared<const LayerStack>(map, m_revision + 1);
    {
        const std::lock_guard lock(m_mutex);
        for (const GeoExtent& extent : layers->differencesTo(*m_layers)) {
            m_changes.push_back({layers->revision(), extent});
        }
        m_layers = layers;
        m_revision = layers->revision();
    }
    if (!layers
             ->isComparing()) { // also what is out of sight, and would be made anew only when it is seen again
        for (const osg::ref_ptr<TileMesh>& mesh : m_index->all()) {
            mesh->dropComparedPicture();
        }
    }
}

bool TileContext::hasChangedSince(int revision, const GeoExtent& extent) const {
    const std::lock_guard lock(m_mutex);
    return std::any_of(m_changes.begin(), m_changes.end(), [&](const Change& change) {
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
    constexpr float kUsualRangeFactor = 7.0F;
    return 1.5F * static_cast<float>(TileMesh::kImagePixels) * kUsualRangeFactor /
           std::max(0.1F, m_options.minTileRangeFactor().get());
}

bool TileContext::isViewCamera(const osgUtil::CullVisitor& visitor) {
    return osgEarth::isViewCamera(const_cast<osgUtil::CullVisitor&>(visitor).getCurrentCamera());
}

float TileContext::pixelsPerRadian(const osgUtil::CullVisitor& visitor) {
    const bool isView = isViewCamera(visitor);
    if (!isView && m_viewPixelsPerRadian > 0.0F) {
        return m_viewPixelsPerRadian;
    }
    auto& stack = const_cast<osgUtil::CullVisitor&>(visitor);
    const osg::Matrixd* projection = stack.getProjectionMatrix();
    const osg::Viewport* viewport = stack.getViewport();
    if (!projection || !viewport) {
        return 1000.0F;
    }
    const auto pixels =
        static_cast<float>(viewport->height() * 0.5 * (*projection)(1, 1) / stack.getLODScale());
    if (isView) {
        m_viewPixelsPerRadian = pixels;
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
    const std::lock_guard lock(m_mutex);
    m_view = view;
}

std::shared_ptr<const TileView> TileContext::view() const {
    const std::lock_guard lock(m_mutex);
    return m_view;
}

void TileContext::tileEntered(TileMesh* mesh) {
    if (!layers()->isComparing()) { // no more, since it was made
        mesh->dropComparedPicture();
    }
    m_index->insert(mesh);
    {
        const std::lock_guard lock(m_mutex);
        m_entered.emplace_back(mesh);
    }
    if (m_enteredCallback) {
        m_enteredCallback();
    }
}

std::vector<osg::ref_ptr<TileMesh>> TileContext::takeEnteredTiles() {
    std::vector<osg::ref_ptr<TileMesh>> entered;
    const std::lock_guard lock(m_mutex);
    entered.swap(m_entered);
    return entered;
}

} // namespace osgEarth
