#include "workbench/app/EpochComparison.h"

#include "workbench/app/ProjectLayers.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspection/layers/LayerWindow.h"
#include "workbench/inspectiondata/project/EpochTitles.h"
#include "workbench/viewer/GlobeWidget.h"

#include <algorithm>

namespace {

int placeOf(const inspection::ProjectDescription& project, const QString& key) {
    const auto found =
        std::find_if(project.epochs.begin(), project.epochs.end(),
                     [&](const inspection::Epoch& epoch) { return project.keyOf(epoch) == key; });
    return static_cast<int>(found - project.epochs.begin());
}

} // namespace

int otherEpoch(const inspection::ProjectDescription& project, int shown) {
    const int older = placeOf(project, project.pair().older);
    return older == shown ? placeOf(project, project.pair().newer) : older;
}

EpochComparison::EpochComparison(GlobeWidget& globe, ProjectLayers& layers, QObject* parent)
    : QObject(parent), m_globe(globe), m_layers(layers) {
    connect(InspectionContext::instance().layerWindow(), &inspection::LayerWindow::comparisonChanged, this,
            &EpochComparison::choose);
}

void EpochComparison::choose(Comparison how, double share) {
    m_how = how;
    m_share = share;
    update();
}

QImage EpochComparison::pictureWithout() {
    m_globe.compare(Comparison::Off, m_share);
    QImage picture = m_globe.grabFramebuffer();
    update();
    return picture;
}

void EpochComparison::update() {
    const inspection::Project* project = InspectionContext::instance().project();
    const int shown = m_layers.shownEpoch();
    if (project && shown >= 0 && m_how != Comparison::Off) {
        const int other = otherEpoch(project->description(), shown);
        const QStringList titles = inspection::epochTitles(project->description());
        m_layers.compareWith(other);
        m_globe.setComparedTitles(titles[other], titles[shown]);
        m_globe.compare(m_how, m_share);
    } else {
        m_layers.compareWith(shown);
        m_globe.compare(Comparison::Off, m_share);
    }
}
