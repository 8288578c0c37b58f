#pragma once

#include "workbench/viewer/Comparison.h"

#include <QImage>
#include <QObject>

class GlobeWidget;
class ProjectLayers;

namespace inspection {
struct ProjectDescription;
}

/// The place of the epoch to compare the shown one with: the other one of the compared pair, or the older one of it while
/// neither is shown.
int otherEpoch(const inspection::ProjectDescription& project, int shown);

/// Shows that epoch's orthophoto over the shown one, the way the user chose in the layer window. What is not seen is not
/// read. GUI thread.
class EpochComparison : public QObject {
    Q_OBJECT

public:
    /// Both must outlive it.
    EpochComparison(GlobeWidget& globe, ProjectLayers& layers, QObject* parent);

    /// The project, its shown epoch or its compared pair are other ones than before.
    void update();
    /// What the globe shows of the shown epoch alone.
    QImage pictureWithout();

private:
    void choose(Comparison how, double share);

    GlobeWidget& m_globe;
    ProjectLayers& m_layers;
    Comparison m_how = Comparison::Off;
    double m_share = 0.5;
};
