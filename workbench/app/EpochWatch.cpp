#include "workbench/app/EpochWatch.h"

#include "workbench/app/ProjectLayers.h"

EpochWatch::EpochWatch(const ProjectLayers& layers) : m_layers(layers) {
    constexpr int kLookAgainMilliseconds = 1000;
    m_timer.setInterval(kLookAgainMilliseconds);
    connect(&m_timer, &QTimer::timeout, this, &EpochWatch::look);
}

void EpochWatch::start() {
    m_told.clear();
    m_timer.start();
}

void EpochWatch::look() {
    for (const QString& line : m_layers.troubles()) {
        if (!m_told.contains(line)) {
            m_told.insert(line);
            emit troubled(line);
        }
    }
}
