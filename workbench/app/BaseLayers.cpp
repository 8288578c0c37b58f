#include "workbench/app/BaseLayers.h"

#include "workbench/viewer/GlobeWidget.h"

#include <QStandardPaths>

#include <algorithm>

namespace {

constexpr int kLookAgainMilliseconds = 500;

} // namespace

BaseLayers::BaseLayers(GlobeWidget& globe, QString cacheFolder)
    : m_globe(globe), m_cacheFolder(std::move(cacheFolder)) {
    m_timer.setInterval(kLookAgainMilliseconds);
    connect(&m_timer, &QTimer::timeout, this, &BaseLayers::look);
}

QString BaseLayers::usualCacheFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + "/tiles";
}

void BaseLayers::show(const std::vector<inspection::BaseLayer>& layers) {
    QSet<QString> sources;
    for (const inspection::BaseLayer& layer : layers) {
        sources.insert(layer.source);
    }
    if (sources != m_sources) {
        m_told.clear();
    }
    m_sources = sources;
    m_shown.clear();
    std::vector<BaseRaster> rasters;
    for (const inspection::BaseLayer& layer : layers) {
        if (!layer.visible) {
            continue;
        }
        const auto definition = inspection::gdalDefinition(layer, m_cacheFolder);
        if (!definition) {
            tell(layer, definition.error().userMessage);
            continue;
        }
        m_shown.push_back(layer);
        rasters.push_back({definition->toStdString(), static_cast<float>(layer.opacity)});
    }
    m_globe.map().setBaseRasters(rasters);
    m_globe.requestRedraw();
    if (m_shown.empty()) {
        m_timer.stop();
    } else {
        m_timer.start();
    }
}

void BaseLayers::look() {
    const std::vector<std::string> troubles = m_globe.map().baseTroubles();
    for (std::size_t i = 0; i < std::min(troubles.size(), m_shown.size()); ++i) {
        if (!troubles[i].empty()) {
            tell(m_shown[i], inspection::baseLayerTrouble(QString::fromStdString(troubles[i])));
        }
    }
}

void BaseLayers::tell(const inspection::BaseLayer& layer, const QString& cause) {
    const QString line = tr("底图“%1”无法访问：%2").arg(layer.name, cause);
    if (!m_told.contains(line)) {
        m_told.insert(line);
        emit troubled(line);
    }
}
