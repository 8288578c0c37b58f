#pragma once

#include <QObject>
#include <QSet>
#include <QTimer>

class ProjectLayers;

/// Tells what keeps rasters of servers from being shown. GUI thread.
class EpochWatch : public QObject {
    Q_OBJECT

public:
    explicit EpochWatch(const ProjectLayers& layers);

    /// For the project that is shown now, from the beginning.
    void start();

signals:
    /// One Chinese line, once for each raster and cause.
    void troubled(const QString& line);

private:
    void look();

    const ProjectLayers& m_layers;
    QSet<QString> m_told;
    QTimer m_timer;
};
