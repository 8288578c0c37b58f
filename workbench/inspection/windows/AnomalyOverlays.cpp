#include "workbench/inspection/windows/AnomalyOverlays.h"

#include "host/viewer/CXViewer.h"
#include "workbench/inspection/windows/StationProjection.h"

#include <osgEarth/MapNode>
#include <osgEarth/Registry>

#include <QMetaObject>

#include <algorithm>
#include <cstring>
#include <utility>

namespace inspection {

namespace {

constexpr std::size_t kBatch = 24;
constexpr std::size_t kManyAnomalies = 1000;
constexpr int kPixelsOfMany = 96; // bounds the pictures' memory where there are thousands

osgEarth::MapNode* mapNode() {
    return g_pCXviewer != nullptr ? g_pCXviewer->getMapNode() : nullptr;
}

void redraw() {
    if (g_pCXviewer != nullptr) {
        g_pCXviewer->requestRedraw();
    }
}

osg::ref_ptr<osg::Image> toOsgImage(const QImage& picture) {
    const QImage rows = picture.convertToFormat(QImage::Format_RGBA8888).mirrored(false, true);
    osg::ref_ptr<osg::Image> image = new osg::Image;
    image->allocateImage(rows.width(), rows.height(), 1, GL_RGBA, GL_UNSIGNED_BYTE);
    for (int row = 0; row < rows.height(); ++row) {
        std::memcpy(image->data(0, row), rows.constScanLine(row), static_cast<std::size_t>(rows.width()) * 4);
    }
    return image;
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

} // namespace

AnomalyOverlays::AnomalyOverlays(QObject* parent) : QObject(parent) {
    m_painters.setMaxThreadCount(1);
}

AnomalyOverlays::~AnomalyOverlays() {
    hideAll();
    m_painters.waitForDone();
}

void AnomalyOverlays::show(const KV_StationItem& station, const OverlayStyle& style) {
    hide(station.GetStationId());
    osgEarth::MapNode* map = mapNode();
    const std::vector<SdiffData>& anomalies = station.m_diffData.m_anomalies;
    if (map == nullptr || anomalies.empty()) {
        return;
    }
    Station shown;
    shown.group = new osg::Group;
    shown.group->setName("diffImageOverlay");
    shown.cancelled = std::make_shared<std::atomic<bool>>(false);

    const StationProjection projection(station.m_station.m_srs);
    for (const SdiffData& anomaly : anomalies) {
        const Overlay overlay = new osgEarth::Annotation::ImageOverlay(map);
        if (!placeOverlay(*overlay, overlayGround(anomaly), projection)) {
            continue;
        }
        overlay->setName(anomaly.name);
        shown.group->addChild(overlay);
        shown.entries[anomaly.name] = {overlay, osgEarth::Registry::objectIndex()->tagNode(overlay, overlay)};
    }
    map->addChild(shown.group);
    m_stations[station.GetStationId()] = std::move(shown);

    OverlayStyle bounded = style;
    if (anomalies.size() > kManyAnomalies) {
        bounded.mostPixels = std::min(bounded.mostPixels, kPixelsOfMany);
    }
    paint(station.GetStationId(), anomalies, bounded);
    redraw();
}

void AnomalyOverlays::paint(std::uint32_t stationId, const std::vector<SdiffData>& anomalies,
                            const OverlayStyle& style) {
    ++m_paintings;
    m_painters.start([this, stationId, anomalies, style, cancelled = m_stations.at(stationId).cancelled] {
        Pictures batch;
        const auto deliver = [&] {
            QMetaObject::invokeMethod(
                this, [this, stationId, batch, cancelled] { attach(stationId, batch, *cancelled); },
                Qt::QueuedConnection);
            batch.clear();
        };
        for (const SdiffData& anomaly : anomalies) {
            if (*cancelled) {
                break;
            }
            batch[anomaly.name] = toOsgImage(overlayPicture(anomaly, style));
            if (batch.size() == kBatch) {
                deliver();
            }
        }
        deliver();
        QMetaObject::invokeMethod(
            this, [this, stationId, cancelled] { finishPainting(stationId, *cancelled); },
            Qt::QueuedConnection);
    });
}

void AnomalyOverlays::attach(std::uint32_t stationId, const Pictures& pictures,
                             const std::atomic<bool>& cancelled) {
    if (cancelled) {
        return;
    }
    auto& entries = m_stations.at(stationId).entries;
    for (const auto& [name, picture] : pictures) {
        const auto entry = entries.find(name);
        if (entry != entries.end()) {
            entry->second.overlay->setImage(picture);
        }
    }
    redraw();
}

void AnomalyOverlays::finishPainting(std::uint32_t stationId, const std::atomic<bool>& cancelled) {
    --m_paintings;
    if (!cancelled) {
        emit painted(stationId);
    }
}

void AnomalyOverlays::hide(std::uint32_t stationId) {
    const auto found = m_stations.find(stationId);
    if (found == m_stations.end()) {
        return;
    }
    *found->second.cancelled = true;
    for (const auto& [name, entry] : found->second.entries) {
        osgEarth::Registry::objectIndex()->remove(entry.id);
    }
    if (osgEarth::MapNode* map = mapNode()) {
        map->removeChild(found->second.group);
    }
    m_stations.erase(found);
    redraw();
}

void AnomalyOverlays::hideAll() {
    while (!m_stations.empty()) {
        hide(m_stations.begin()->first);
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
    found->second.group->removeChild(entry->second.overlay);
    found->second.entries.erase(entry);
    redraw();
}

} // namespace inspection
