#include "workbench/inspection/scene/AnomalyOverlays.h"

#include "workbench/inspection/scene/Globe.h"
#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/inspection/scene/OverlayTint.h"
#include "workbench/inspection/scene/StationProjection.h"

#include <osgEarth/MapNode>
#include <osgEarth/Registry>

#include <QThread>

#include <algorithm>
#include <memory>
#include <unordered_set>
#include <utility>

namespace inspection {

namespace {

/// Of the longer side of a picture; bounds the memory of all where there are thousands.
int mostPixelsOf(std::size_t anomalies) {
    constexpr std::size_t kMany = 1000;
    constexpr std::size_t kVeryMany = 5000;
    return anomalies <= kMany ? 256 : anomalies <= kVeryMany ? 96 : 48;
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

} // namespace

AnomalyOverlays::AnomalyOverlays(QObject* parent) : AnomalyOverlays(FinePictureLimits(), parent) {}

AnomalyOverlays::AnomalyOverlays(const FinePictureLimits& limits, QObject* parent)
    : QObject(parent), m_usual(m_painters), m_crisp(m_painters, limits) {
    m_painters.setMaxThreadCount(std::max(1, QThread::idealThreadCount() - 1)); // the window needs one, too
    connect(&m_usual, &UsualPictures::painted, this, &AnomalyOverlays::attach);
    connect(&m_usual, &UsualPictures::progressed, this, &AnomalyOverlays::paintingProgressed);
}

AnomalyOverlays::~AnomalyOverlays() {
    hideAll();
    m_painters.waitForDone();
}

void AnomalyOverlays::show(const KV_StationItem& station, const OverlayStyle& style) {
    hide(station.GetStationId());
    osgEarth::MapNode* map = globeMapNode();
    const std::vector<SdiffData>& anomalies = station.m_diffData.m_anomalies;
    if (!map || anomalies.empty()) {
        return;
    }
    OverlayStyle bounded = style;
    m_count += anomalies.size();
    bounded.mostPixels = std::min(bounded.mostPixels, mostPixelsOf(m_count));
    const auto source = std::make_shared<const OverlaySource>(OverlaySource{anomalies, bounded});

    Station shown;
    shown.group = new osg::Group;
    shown.style = bounded;
    shown.groundMetres = groundMetres(*map, anomalies.front().lonDegrees, anomalies.front().latDegrees);
    shown.group->setName("diffImageOverlay");
    shown.group->addUpdateCallback(m_crisp.frameCallback());

    const StationProjection& projection = projectionFrom(station.m_station.m_srs);
    shown.count = anomalies.size();
    for (std::size_t i = 0; i < anomalies.size(); ++i) {
        const SdiffData& anomaly = anomalies[i];
        const Overlay overlay = new osgEarth::Annotation::ImageOverlay(map);
        if (!placeOverlay(*overlay, overlayGround(anomaly), projection)) {
            continue;
        }
        overlay->setName(anomaly.name);
        overlay->setAlpha(m_opacity);
        shown.group->addChild(overlay);
        const std::uint64_t handle = m_crisp.add(*overlay, source, i);
        shown.entries[anomaly.name] = {overlay, osgEarth::Registry::objectIndex()->tagNode(overlay, overlay),
                                       handle};
        m_usual.want(handle, source, i, worldOf(*map, anomaly, shown.groundMetres));
        pin(handle, anomaly, shown.groundMetres);
    }
    shown.group->setNodeMask(m_isVisible ? ~0U : 0U);
    map->addChild(shown.group);
    tintThose(shown, m_tinted, true);
    m_stations[station.GetStationId()] = std::move(shown);
    m_usual.paint();
    redrawGlobe();
}

const StationProjection& AnomalyOverlays::projectionFrom(const std::string& srs) {
    std::unique_ptr<StationProjection>& projection = m_projections[srs];
    if (!projection) {
        projection = std::make_unique<StationProjection>(srs);
    }
    return *projection;
}

void AnomalyOverlays::pin(std::uint64_t handle, const SdiffData& anomaly, double groundMetres) {
    const QRectF ground = overlayGround(anomaly);
    m_pins.add(handle, {osg::Vec2d(anomaly.lonDegrees, anomaly.latDegrees),
                        worldOf(*globeMapNode(), anomaly, groundMetres),
                        std::max(ground.width(), ground.height()), judgementOf(anomaly)});
}

void AnomalyOverlays::attach(const std::vector<UsualPictures::Picture>& pictures) {
    for (const auto& [handle, picture] : pictures) {
        m_crisp.setPicture(handle, *picture);
    }
    redrawGlobe();
}

void AnomalyOverlays::hide(std::uint32_t stationId) {
    const auto found = m_stations.find(stationId);
    if (found == m_stations.end()) {
        return;
    }
    std::unordered_set<std::uint64_t> handles;
    for (const auto& [name, entry] : found->second.entries) {
        osgEarth::Registry::objectIndex()->remove(entry.id);
        m_crisp.remove(entry.handle);
        m_pins.remove(entry.handle);
        handles.insert(entry.handle);
    }
    m_usual.forget(handles);
    found->second.group->removeUpdateCallback(m_crisp.frameCallback());
    if (osgEarth::MapNode* map = globeMapNode()) {
        map->removeChild(found->second.group);
    }
    m_count -= found->second.count;
    m_stations.erase(found);
    redrawGlobe();
}

void AnomalyOverlays::hideAll() {
    while (!m_stations.empty()) {
        hide(m_stations.begin()->first);
    }
}

// The overlay keeps its present picture until the new one has come.
void AnomalyOverlays::update(std::uint32_t stationId, const SdiffData& anomaly) {
    const auto found = m_stations.find(stationId);
    osgEarth::MapNode* map = globeMapNode();
    if (found == m_stations.end() || !map) {
        return;
    }
    const auto entry = found->second.entries.find(anomaly.name);
    if (entry == found->second.entries.end()) {
        return;
    }
    std::uint64_t& handle = entry->second.handle;
    m_crisp.remove(handle);
    m_pins.remove(handle);
    m_usual.forget({handle});
    const auto source = std::make_shared<const OverlaySource>(OverlaySource{{anomaly}, found->second.style});
    handle = m_crisp.add(*entry->second.overlay, source, 0);
    m_usual.want(handle, source, 0, worldOf(*map, anomaly, found->second.groundMetres));
    pin(handle, anomaly, found->second.groundMetres);
    m_usual.paint();
}

void AnomalyOverlays::tint(const std::vector<std::string>& anomalyNames) {
    std::set<std::string> wanted(anomalyNames.begin(), anomalyNames.end());
    if (wanted == m_tinted) {
        return;
    }
    for (auto& [stationId, station] : m_stations) {
        tintThose(station, m_tinted, false);
        tintThose(station, wanted, true);
    }
    m_tinted = std::move(wanted);
    redrawGlobe();
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
    for (auto& [stationId, station] : m_stations) {
        for (auto& [name, entry] : station.entries) {
            entry.overlay->setAlpha(opacity);
        }
    }
    redrawGlobe();
}

void AnomalyOverlays::tintThose(Station& station, const std::set<std::string>& names, bool isTinted) {
    for (const std::string& name : names) {
        const auto entry = station.entries.find(name);
        if (entry != station.entries.end()) {
            setTinted(*entry->second.overlay, isTinted);
        }
    }
}

void AnomalyOverlays::remove(std::uint32_t stationId, const std::string& anomalyName) {
    const auto found = m_stations.find(stationId);
    if (found == m_stations.end()) {
        return;
    }
    const auto entry = found->second.entries.find(anomalyName);
    if (entry == found->second.entries.end()) {
        return;
    }
    osgEarth::Registry::objectIndex()->remove(entry->second.id);
    m_crisp.remove(entry->second.handle);
    m_pins.remove(entry->second.handle);
    m_usual.forget({entry->second.handle});
    found->second.group->removeChild(entry->second.overlay);
    found->second.entries.erase(entry);
    redrawGlobe();
}

} // namespace inspection
