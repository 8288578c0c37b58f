#include "workbench/inspection/layers/LayerWindow.h"

#include "workbench/inspection/scene/AnomalyOverlays.h"
#include "workbench/inspection/scene/PipelineNodes.h"
#include "workbench/viewer/GlobeMap.h"

#include <QComboBox>
#include <QHeaderView>
#include <QSignalBlocker>
#include <QSlider>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace inspection {

namespace {

constexpr int kName = 0;
constexpr int kChoice = 1;
constexpr int kPartRole = Qt::UserRole; ///< the PipelinePart of a row

} // namespace

LayerWindow::LayerWindow(PipelineNodes& pipeline, AnomalyOverlays& overlays, QWidget* parent)
    : QWidget(parent), m_pipeline(pipeline), m_overlays(overlays), m_tree(new QTreeWidget) {
    m_tree->setObjectName("layers");
    m_tree->setColumnCount(2);
    m_tree->setHeaderLabels({tr("图层"), tr("不透明度")});
    m_tree->header()->setStretchLastSection(true);
    m_tree->header()->setSectionResizeMode(kName, QHeaderView::ResizeToContents);
    m_tree->setSelectionMode(QAbstractItemView::SingleSelection);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->addWidget(m_tree);

    buildAnomalies();
    buildPipeline();
    buildImagery();
    m_tree->expandAll();
    connect(m_tree, &QTreeWidget::itemChanged, this, &LayerWindow::takeCheck);
}

void LayerWindow::buildAnomalies() {
    m_anomalies = addRow(nullptr, tr("异常（高程变化）"), tr("所选站段的异常"));
    m_anomalies->setCheckState(kName, Qt::Checked);
    addSlider(m_anomalies, "anomalyOpacity",
              [this](double opacity) { m_overlays.setOpacity(float(opacity)); });
}

void LayerWindow::buildPipeline() {
    QTreeWidgetItem* pipeline = addRow(nullptr, tr("管道"), {});
    pipeline->setFlags(pipeline->flags() | Qt::ItemIsAutoTristate);
    addPart(pipeline, PipelinePart::Centerline, tr("中心线"), {});
    addPart(pipeline, PipelinePart::ChainageMarks, tr("里程"), tr("整百米、整公里的里程"));
    addPart(pipeline, PipelinePart::Nodes, tr("节点"), tr("阀室、里程桩等"));
    addPart(pipeline, PipelinePart::Stations, tr("站段范围"), {});
    addBufferWidth(addPart(pipeline, PipelinePart::Buffer, tr("缓冲区"), tr("中心线两侧的距离")));
}

void LayerWindow::buildImagery() {
    QTreeWidgetItem* imagery = addRow(nullptr, tr("正射影像"), tr("显示期次的影像，调淡后可见底图"));
    addSlider(imagery, "imageryOpacity", [this](double opacity) { emit imageryOpacityChanged(opacity); });
    if (GlobeMap::canCompare()) {
        buildComparison(imagery);
    }
}

void LayerWindow::buildComparison(QTreeWidgetItem* imagery) {
    auto* how = new QComboBox;
    how->setObjectName("comparison");
    how->addItem(tr("关闭"), int(Comparison::Off));
    how->addItem(tr("混合"), int(Comparison::Blend));
    how->addItem(tr("卷帘"), int(Comparison::Swipe));
    QTreeWidgetItem* row = addRow(imagery, tr("期次对比"), tr("在地球上叠加对比期次中另一期的影像"));
    m_tree->setItemWidget(row, kChoice, how);

    QTreeWidgetItem* shareRow = addRow(imagery, tr("混合比例"), tr("混合时另一期影像所占的份额"));
    shareRow->setHidden(true);
    const auto tell = [this, how, shareRow] {
        const auto chosen = Comparison(how->currentData().toInt());
        shareRow->setHidden(chosen != Comparison::Blend);
        emit comparisonChanged(chosen, double(m_share->value()) / m_share->maximum());
    };
    m_share = addSlider(shareRow, "comparisonShare", [tell](double) { tell(); });
    const QSignalBlocker isBeingBuilt(m_share);
    m_share->setMinimum(0);
    m_share->setValue(m_share->maximum() / 2);
    m_share->setToolTip(shareRow->toolTip(kName));
    connect(how, &QComboBox::currentIndexChanged, this, tell);
}

QTreeWidgetItem* LayerWindow::addRow(QTreeWidgetItem* parent, const QString& name, const QString& tip) {
    auto* row = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(m_tree);
    row->setText(kName, name);
    row->setToolTip(kName, tip);
    return row;
}

QTreeWidgetItem* LayerWindow::addPart(QTreeWidgetItem* parent, PipelinePart part, const QString& name,
                                      const QString& tip) {
    QTreeWidgetItem* row = addRow(parent, name, tip);
    row->setData(kName, kPartRole, int(part));
    row->setCheckState(kName, m_pipeline.isVisible(part) ? Qt::Checked : Qt::Unchecked);
    return row;
}

QSlider* LayerWindow::addSlider(QTreeWidgetItem* row, const QString& name,
                                const std::function<void(double)>& set) {
    constexpr int kLeast = 10; // what is to be gone has a check box, or is the ground itself
    constexpr int kMost = 100;
    auto* slider = new QSlider(Qt::Horizontal);
    slider->setObjectName(name);
    slider->setRange(kLeast, kMost);
    slider->setValue(kMost);
    slider->setPageStep(kLeast);
    slider->setToolTip(tr("不透明度"));
    connect(slider, &QSlider::valueChanged, this, [set](int value) { set(double(value) / kMost); });
    m_tree->setItemWidget(row, kChoice, slider);
    return slider;
}

void LayerWindow::addBufferWidth(QTreeWidgetItem* row) {
    auto* width = new QComboBox;
    width->setObjectName("bufferMetres");
    for (const int metres : {5, 10, 20, 50, 100, 200}) {
        width->addItem(tr("%1 m").arg(metres), metres);
    }
    width->setCurrentIndex(width->findData(int(m_pipeline.bufferMetres())));
    connect(width, &QComboBox::currentIndexChanged, this, [this, width, row] {
        m_pipeline.setBufferMetres(width->currentData().toDouble());
        row->setCheckState(kName, Qt::Checked); // who chooses a width wants to see it
    });
    m_tree->setItemWidget(row, kChoice, width);
}

void LayerWindow::takeCheck(QTreeWidgetItem* row) {
    const bool isVisible = row->checkState(kName) == Qt::Checked;
    if (row == m_anomalies) {
        m_overlays.setVisible(isVisible);
    } else if (const QVariant part = row->data(kName, kPartRole); part.isValid()) {
        m_pipeline.setVisible(PipelinePart(part.toInt()), isVisible);
    }
}

} // namespace inspection
