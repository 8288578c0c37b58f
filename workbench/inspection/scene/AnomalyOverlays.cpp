#include "workbench/inspection/scene/AnomalyOverlays.h"

#include "workbench/inspection/scene/Globe.h"
#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/inspection/scene/OverlayTint.h"
#include "workbench/inspection/scene/StationProjection.h"

#include <osgEarth/MapNode>
#include <osgEarth/Registry>
#include <osgUtil/CullVisitor>

#include <QThread>

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

namespace inspection {

namespace {

/// Of the longer side of a picture; bounds the memory of all where there are many, and leaves the details to the finer
/// pictures of those that are large on the screen.
int mostPixelsOf(std::size_t anomalies) {
    constexpr std::size_t kMany = 200;
    return anomalies <= kMany ? 256 : 96;
}

/// False when the corners have no longitude and latitude.
bool placeOverlay(osgEarth::Annotation::ImageOverlay& overlay, const QRectF& ground,
                  const StationProjection& projection) {
    const auto lowerLeft = projection.toLonLatDegrees(ground.left(), ground.top());
    const auto lowerRight = projection.toLonLatDegrees(ground.right(), ground.top());
    const auto upperLeft = projection.toLonLatDegrees(ground.left(), ground.bottom());
    const auto upperRight = projection.toLonLatDegrees(ground.right(), ground.bottom());
    if (!lowerLeft || !lowerRight || !upperLeft || !upperRight) {
        return false;
    }
    overlay.setCorners(*lowerLeft, *lowerRight, *upperLeft, *upperRight);
    return true;
}

osg::Vec3d worldOf(const osgEarth::MapNode& map, const SdiffData& anomaly, double metres) {
    osg::Vec3d world;
    osgEarth::GeoPoint(map.getMapSRS(), anomaly.lonDegrees, anomaly.latDegrees, metres).toWorld(world);
    return world;
}

std::vector<std::string> sorted(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    return names;
}

/// Those of `names` that are not among the others, both sorted: of many that are selected few change.
std::vector<std::string> namesBeside(const std::vector<std::string>& names,
                                     const std::vector<std::string>& others) {
    std::vector<std::string> beside;
    std::set_difference(names.begin(), names.end(), others.begin(), others.end(), std::back_inserter(beside));
    return beside;
}

/// Spares the way through a station that is out of view or has no pictures. OSG does not leave it out by itself, because
/// overlays are drawn however small they are.
class InViewOnly : public osg::NodeCallback {
public:
    void operator()(osg::Node* node, osg::NodeVisitor* visitor) override {
        osgUtil::CullVisitor* cull = visitor->asCullVisitor();
        const osg::BoundingSphere& bound = node->getBound();
        if (!cull || (bound.valid() && cull->getCurrentCullingSet().getFrustum().contains(bound))) {
            traverse(node, visitor);
        }
    }
};

} // namespace

AnomalyOverlays::AnomalyOverlays(QObject* parent)
    : AnomalyOverlays(FinePictureLimits(), PageLimits(), parent) {}

AnomalyOverlays::AnomalyOverlays(const FinePictureLimits& fine, const PageLimits& limits, QObject* parent)
    : QObject(parent), m_watch(new osg::Group), m_inViewOnly(new InViewOnly), m_pages(limits),
      m_usual(m_painters), m_crisp(m_painters, fine) {
    m_painters.setMaxThreadCount(std::max(1, QThread::idealThreadCount() - 1)); // the window needs one, too
    m_watch->addUpdateCallback(m_crisp.frameCallback());
    m_watch->addUpdateCallback(m_pages.frameCallback());
    connect(&m_pages, &ViewPages::wanted, this, &AnomalyOverlays::wantPictures);
    connect(&m_pages, &ViewPages::unwanted, this, &AnomalyOverlays::takePicturesAway);
    connect(&m_pages, &ViewPages::leastSizeChanged, &m_pins, &AnomalyPins::setLeastSize);
    connect(&m_usual, &UsualPictures::painted, this, &AnomalyOverlays::attach);
    connect(&m_usual, &UsualPictures::progressed, this, &AnomalyOverlays::paintingProgressed);
}

AnomalyOverlays::~AnomalyOverlays() {
    hideAll();
    if (osgEarth::MapNode* map = globeMapNode()) {
        map->removeChild(m_watch);
    }
    m_painters.waitForDone();
}

void AnomalyOverlays::show(const KV_StationItem& station, const OverlayStyle& style) {
    hide(station.GetStationId());
    osgEarth::MapNode* map = globeMapNode();
    const std::vector<SdiffData>& anomalies = station.m_diffData.m_anomalies;
    if (!map || anomalies.empty()) {
        return;
    }
    Station shown;
    shown.group = new osg::Group;
    shown.group->setName("diffImageOverlay");
    shown.group->addCullCallback(m_inViewOnly);
    shown.group->setNodeMask(m_isVisible ? ~0U : 0U);
    shown.style = style;
    shown.style.mostPixels = std::min(style.mostPixels, mostPixelsOf(m_entries.size() + anomalies.size()));
    shown.groundMetres = groundMetres(*map, anomalies.front().lonDegrees, anomalies.front().latDegrees);

    const auto source = std::make_shared<const OverlaySource>(OverlaySource{anomalies, shown.style});
    const StationProjection& projection = projectionFrom(station.m_station.m_srs);
    for (std::size_t i = 0; i < anomalies.size(); ++i) {
        addOverlay(shown, source, i, projection);
    }
    if (!map->containsNode(m_watch)) {
        map->addChild(m_watch);
    }
    map->addChild(shown.group);
    m_stations[station.GetStationId()] = std::move(shown);
    m_usual.paint();
    redrawGlobe();
}

void AnomalyOverlays::addOverlay(Station& station, const Source& source, std::size_t index,
                                 const StationProjection& projection) {
    const SdiffData& anomaly = source->anomalies[index];
    osgEarth::MapNode* map = globeMapNode();
    const Overlay overlay = new osgEarth::Annotation::ImageOverlay(map);
    if (!placeOverlay(*overlay, overlayGround(anomaly), projection)) {
        return;
    }
    overlay->setName(anomaly.name);
    overlay->setAlpha(m_opacity);
    if (std::binary_search(m_tinted.begin(), m_tinted.end(), anomaly.name)) {
        setTinted(*overlay, true);
    }
    station.group->addChild(overlay);
    const osgEarth::ObjectID id = osgEarth::Registry::objectIndex()->tagNode(overlay, overlay);
    enter({overlay, id, source, index, worldOf(*map, anomaly, station.groundMetres)}, station, false);
}

void AnomalyOverlays::enter(Entry entry, Station& station, bool isUrgent) {
    const SdiffData& anomaly = entry.source->anomalies[entry.index];
    const QRectF ground = overlayGround(anomaly);
    const double metres = std::max(ground.width(), ground.height());
    const osg::Vec3d world = entry.world;
    const std::uint64_t handle = ++m_lastHandle;
    station.handles.insert(handle);
    m_handles[anomaly.name] = handle;
    m_pins.add(handle,
               {osg::Vec2d(anomaly.lonDegrees, anomaly.latDegrees), world, metres, judgementOf(anomaly)});
    const bool isKept = std::binary_search(m_kept.begin(), m_kept.end(), anomaly.name);
    m_entries.emplace(handle, std::move(entry));
    m_pages.add(handle, world, metres, isUrgent);
    m_pages.setKept(handle, isKept);
}

void AnomalyOverlays::withdraw(std::uint64_t handle) {
    m_crisp.remove(handle);
    m_pins.remove(handle);
    m_pages.remove(handle);
    m_entries.erase(handle);
}

const StationProjection& AnomalyOverlays::projectionFrom(const std::string& srs) {
    std::unique_ptr<StationProjection>& projection = m_projections[srs];
    if (!projection) {
        projection = std::make_unique<StationProjection>(srs);
    }
    return *projection;
}

void AnomalyOverlays::wantPictures(const std::vector<std::uint64_t>& handles) {
    for (const std::uint64_t handle : handles) {
        const Entry& entry = m_entries.at(handle);
        m_usual.want(handle, entry.source, entry.index, entry.world);
    }
    m_usual.paint();
}

void AnomalyOverlays::takePicturesAway(const std::vector<std::uint64_t>& handles) {
    m_usual.forget({handles.begin(), handles.end()});
    for (const std::uint64_t handle : handles) {
        m_crisp.remove(handle);
        m_entries.at(handle).overlay->setImage(nullptr);
    }
    redrawGlobe();
}

void AnomalyOverlays::attach(const std::vector<UsualPictures::Picture>& pictures) {
    for (const auto& [handle, picture] : pictures) {
        if (m_pages.isChosen(handle)) {
            const Entry& entry = m_entries.at(handle);
            m_crisp.add(handle, *entry.overlay, entry.source, entry.index, *picture);
        }
    }
    redrawGlobe();
}

void AnomalyOverlays::hide(std::uint32_t stationId) {
    const auto found = m_stations.find(stationId);
    if (found == m_stations.end()) {
        return;
    }
    withdrawAll(found->second);
    takeOffGlobe({found->second.group.get()});
    m_stations.erase(found);
}

void AnomalyOverlays::hideAll() {
    std::unordered_set<const osg::Node*> groups;
    for (const auto& [stationId, station] : m_stations) {
        withdrawAll(station);
        groups.insert(station.group.get());
    }
    takeOffGlobe(groups);
    m_stations.clear();
}

void AnomalyOverlays::withdrawAll(const Station& station) {
    m_usual.forget(station.handles);
    for (const std::uint64_t handle : station.handles) {
        const Entry& entry = m_entries.at(handle);
        osgEarth::Registry::objectIndex()->remove(entry.id);
        m_handles.erase(entry.overlay->getName());
        withdraw(handle);
    }
}

// The overlay keeps its present picture until the new one has come.
void AnomalyOverlays::update(std::uint32_t stationId, const SdiffData& anomaly) {
    const auto station = m_stations.find(stationId);
    const auto handle = m_handles.find(anomaly.name);
    if (station == m_stations.end() || handle == m_handles.end() || !globeMapNode()) {
        return;
    }
    const std::uint64_t former = handle->second;
    Entry entry = m_entries.at(former);
    const bool hasPicture = m_pages.isChosen(former);
    entry.source = std::make_shared<const OverlaySource>(OverlaySource{{anomaly}, station->second.style});
    entry.index = 0;
    entry.world = worldOf(*globeMapNode(), anomaly, station->second.groundMetres);
    m_usual.forget({former});
    withdraw(former);
    station->second.handles.erase(former);
    enter(std::move(entry), station->second, hasPicture);
}

void AnomalyOverlays::tint(const std::vector<std::string>& anomalyNames) {
    std::vector<std::string> wanted = sorted(anomalyNames);
    if (wanted == m_tinted) {
        return;
    }
    tintThose(namesBeside(m_tinted, wanted), false);
    tintThose(namesBeside(wanted, m_tinted), true);
    m_tinted = std::move(wanted);
    redrawGlobe();
}

void AnomalyOverlays::tintThose(const std::vector<std::string>& names, bool isTinted) {
    for (const std::string& name : names) {
        const auto handle = m_handles.find(name);
        if (handle != m_handles.end()) {
            setTinted(*m_entries.at(handle->second).overlay, isTinted);
        }
    }
}

void AnomalyOverlays::keep(const std::vector<std::string>& anomalyNames) {
    std::vector<std::string> wanted = sorted(anomalyNames);
    if (wanted == m_kept) {
        return;
    }
    keepThose(namesBeside(m_kept, wanted), false);
    keepThose(namesBeside(wanted, m_kept), true);
    m_kept = std::move(wanted);
    redrawGlobe();
}

void AnomalyOverlays::keepThose(const std::vector<std::string>& names, bool isKept) {
    for (const std::string& name : names) {
        const auto handle = m_handles.find(name);
        if (handle != m_handles.end()) {
            m_pages.setKept(handle->second, isKept);
        }
    }
}

void AnomalyOverlays::setVisible(bool isVisible) {
    m_isVisible = isVisible;
    for (auto& [stationId, station] : m_stations) {
        station.group->setNodeMask(isVisible ? ~0U : 0U);
    }
    m_pins.setVisible(isVisible);
    redrawGlobe();
}

void AnomalyOverlays::setOpacity(float opacity) {
    m_opacity = opacity;
    for (auto& [handle, entry] : m_entries) {
        entry.overlay->setAlpha(opacity);
    }
    redrawGlobe();
}

void AnomalyOverlays::remove(std::uint32_t stationId, const std::string& anomalyName) {
    const auto station = m_stations.find(stationId);
    const auto handle = m_handles.find(anomalyName);
    if (station == m_stations.end() || handle == m_handles.end()) {
        return;
    }
    const Entry& entry = m_entries.at(handle->second);
    osgEarth::Registry::objectIndex()->remove(entry.id);
    station->second.group->removeChild(entry.overlay);
    station->second.handles.erase(handle->second);
    m_usual.forget({handle->second});
    withdraw(handle->second);
    m_handles.erase(handle);
    redrawGlobe();
}

} // namespace inspection
