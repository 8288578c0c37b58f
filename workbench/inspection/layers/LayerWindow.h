#pragma once

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

private:
    void buildAnomalies();
    void buildPipeline();
    void buildImagery();
    QTreeWidgetItem* addRow(QTreeWidgetItem* parent, const QString& name, const QString& tip);
    QTreeWidgetItem* addPart(QTreeWidgetItem* parent, PipelinePart part, const QString& name,
                             const QString& tip);
    void addSlider(QTreeWidgetItem* row, const QString& name, const std::function<void(double)>& set);
    void addBufferWidth(QTreeWidgetItem* row);
    void takeCheck(QTreeWidgetItem* row);

    PipelineNodes& m_pipeline;
    AnomalyOverlays& m_overlays;
    QTreeWidget* m_tree;
    QTreeWidgetItem* m_anomalies = nullptr;
};

} // namespace inspection
