#pragma once

#include "workbench/inspectiondata/project/BaseLayer.h"

#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <vector>

class GlobeWidget;

/// Puts a project's base layers on the globe and tells what keeps one of them from being shown. GUI thread.
class BaseLayers : public QObject {
    Q_OBJECT

public:
    /// Tiles of servers are kept below `cacheFolder`.
    BaseLayers(GlobeWidget& globe, QString cacheFolder);
    /// "tiles" in the user's cache folder.
    static QString usualCacheFolder();

    /// Shows the visible ones of these layers, bottom first, in place of those before.
    void show(const std::vector<inspection::BaseLayer>& layers);

signals:
    /// One Chinese line, once for each layer and cause until the choice of sources changes.
    void troubled(const QString& line);

private:
    void tell(const inspection::BaseLayer& layer, const QString& cause);
    void look();

    GlobeWidget& m_globe;
    QString m_cacheFolder;
    QSet<QString> m_sources;                    ///< of all layers, hidden ones too
    std::vector<inspection::BaseLayer> m_shown; ///< those on the globe
    QSet<QString> m_told;                       ///< lines
    QTimer m_timer;
};
