#pragma once

#include "workbench/viewer/Comparison.h"

#include <QWidget>

#include <functional>

class QSlider;
class QTreeWidget;
class QTreeWidgetItem;

namespace inspection {

class AnomalyOverlays;
class PipelineNodes;
enum class PipelinePart;

/// What stands on the globe beside the terrain, a row for each kind of thing: whether it is shown, and how opaque it is
/// where that can be chosen. Special objects have their check boxes in the station window. GUI thread.
class LayerWindow : public QWidget {
    Q_OBJECT

public:
    /// Both must outlive it.
    LayerWindow(PipelineNodes& pipeline, AnomalyOverlays& overlays, QWidget* parent = nullptr);

signals:
    /// The orthophotos belong to the program, which is told: 0 (clear) to 1.
    void imageryOpacityChanged(double opacity);
    /// So is how the other compared epoch is to be seen; `share` of it in a blend, 0 to 1.
    void comparisonChanged(Comparison how, double share);

private:
    void buildAnomalies();
    void buildPipeline();
    void buildImagery();
    void buildComparison(QTreeWidgetItem* imagery);
    QTreeWidgetItem* addRow(QTreeWidgetItem* parent, const QString& name, const QString& tip);
    QTreeWidgetItem* addPart(QTreeWidgetItem* parent, PipelinePart part, const QString& name,
                             const QString& tip);
    QSlider* addSlider(QTreeWidgetItem* row, const QString& name, const std::function<void(double)>& set);
    void addBufferWidth(QTreeWidgetItem* row);
    void takeCheck(QTreeWidgetItem* row);

    PipelineNodes& m_pipeline;
    AnomalyOverlays& m_overlays;
    QTreeWidget* m_tree;
    QTreeWidgetItem* m_anomalies = nullptr;
    QSlider* m_share = nullptr;
};

} // namespace inspection
