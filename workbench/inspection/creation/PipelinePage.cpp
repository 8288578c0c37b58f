#include "workbench/inspection/creation/PipelinePage.h"

#include "workbench/inspection/creation/FileField.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <cmath>

namespace inspection {

namespace {

constexpr double kMetresPerKilometre = 1000.0;

/// As a user enters it, with every digit.
QString startText(double metres) {
    return metres == std::round(metres) && metres >= 0.0
               ? chainageText(metres)
               : QString::number(metres / kMetresPerKilometre, 'g', 12);
}

} // namespace

PipelinePage::PipelinePage(ProjectDraft& draft, QWidget* parent)
    : DraftPage(draft, parent), m_file(new FileField(FileField::Kind::File, tr("选择管道中心线"))),
      m_settings(new QWidget), m_layerCaption(new QLabel(tr("图层"))), m_layer(new QComboBox),
      m_isTurned(new QCheckBox(tr("管道走向与文件中的方向相反"))),
      m_byStart(new QRadioButton(tr("起点里程"))), m_byPosts(new QRadioButton(tr("里程桩文件"))),
      m_start(new QLineEdit(QStringLiteral("K0+000"))),
      m_posts(new FileField(FileField::Kind::File, tr("选择里程桩"))), m_reference(new QLineEdit),
      m_summary(new QLabel) {
    build();
    setFocusProxy(m_file);
    connectFields();
    connect(&draft, &ProjectDraft::changed, this, &PipelinePage::refresh);
    refresh();
}

void PipelinePage::build() {
    m_file->setObjectName("centerlineFile");
    m_file->setPlaceholder(tr("GeoPackage、Shapefile、KML、DXF、CSV 等；没有时留空"));
    m_layer->setObjectName("centerlineLayer");
    m_isTurned->setObjectName("isTurned");
    m_byStart->setObjectName("byStart");
    m_byPosts->setObjectName("byPosts");
    m_start->setObjectName("startChainage");
    m_posts->setObjectName("postsFile");
    m_posts->setPlaceholder(tr("点文件，含名称（name）和里程（km）"));
    m_reference->setObjectName("vectorReference");
    m_reference->setPlaceholderText(tr("仅用于没有坐标系的文件，如 EPSG:4547"));
    m_summary->setObjectName("pipelineSummary");
    m_summary->setWordWrap(true);
    m_summary->setTextFormat(Qt::PlainText);

    auto* file = new QFormLayout;
    file->addRow(tr("中心线文件"), m_file);
    auto* settings = new QFormLayout(m_settings);
    settings->setContentsMargins(0, 0, 0, 0);
    settings->addRow(m_layerCaption, m_layer);
    settings->addRow(tr("坐标系"), m_reference);
    settings->addRow(QString(), m_isTurned);
    settings->addRow(buildChainage());

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    column->addLayout(file);
    column->addWidget(m_settings);
    column->addWidget(m_summary);
    column->addStretch(1);
}

QWidget* PipelinePage::buildChainage() {
    auto* box = new QGroupBox(tr("里程"));
    auto* form = new QFormLayout(box);
    form->addRow(m_byStart, m_start);
    form->addRow(m_byPosts, m_posts);
    m_byStart->setChecked(true);
    m_start->setToolTip(tr("如 K12+500，或以公里计的 12.5"));
    return box;
}

void PipelinePage::connectFields() {
    connect(m_file, &FileField::chosen, &m_draft, &ProjectDraft::setCenterline);
    connect(m_layer, &QComboBox::textActivated, this, [this](const QString& layer) {
        changeSource([&layer](CenterlineSource& source) { source.layer = layer; });
    });
    connect(m_isTurned, &QCheckBox::toggled, this, [this](bool isTurned) {
        changeSource([isTurned](CenterlineSource& source) { source.isTurned = isTurned; });
    });
    connect(m_start, &QLineEdit::editingFinished, this, &PipelinePage::setStart);
    connect(m_posts, &FileField::chosen, this, [this](const QString& file) {
        changeSource([&file](CenterlineSource& source) { source.posts = file; });
    });
    connect(m_byPosts, &QRadioButton::toggled, this, [this](bool byPosts) {
        changeSource([this, byPosts](CenterlineSource& source) {
            source.posts = byPosts ? m_posts->path() : QString();
        });
    });
    connect(m_reference, &QLineEdit::editingFinished, this, [this] {
        const QString crs = m_reference->text().trimmed();
        if (m_draft.wish().centerline && m_draft.wish().centerline->crs != crs) {
            changeSource([&crs](CenterlineSource& source) { source.crs = crs; });
        }
    });
}

void PipelinePage::changeSource(const std::function<void(CenterlineSource&)>& edit) {
    if (m_draft.wish().centerline) {
        m_draft.change([&edit](NewProject& wish) {
            edit(*wish.centerline);
            wish.centerline->isOwn = false; // other chainages than the line of a project has
        });
    }
}

void PipelinePage::setStart() {
    const auto start = chainageOf(m_start->text().trimmed());
    m_startProblem = start ? QString() : tr("“%1”不是里程，应形如 K12+500 或 12.5").arg(m_start->text());
    const auto& wish = m_draft.wish().centerline;
    if (start && wish && wish->startMetres != *start) {
        changeSource([metres = *start](CenterlineSource& source) { source.startMetres = metres; });
    } else {
        emit m_draft.changed();
    }
}

QString PipelinePage::problem() const {
    if (!m_draft.wish().centerline) {
        return {};
    }
    if (m_byStart->isChecked() && !m_startProblem.isEmpty()) {
        return m_startProblem;
    }
    return m_draft.reading().pipelineProblem;
}

void PipelinePage::refresh() {
    const auto& source = m_draft.wish().centerline;
    m_file->setStart(m_draft.anyFile());
    m_posts->setStart(source ? source->file : m_draft.anyFile());
    m_file->setPath(source ? source->file : QString());
    m_settings->setEnabled(source.has_value());
    if (source && !m_start->hasFocus() && m_startProblem.isEmpty()) {
        m_start->setText(startText(source->startMetres));
    }
    m_start->setEnabled(m_byStart->isChecked());
    m_posts->setEnabled(m_byPosts->isChecked());
    showLayers(source.value_or(CenterlineSource()));
    m_summary->setText(summary());
}

void PipelinePage::showLayers(const CenterlineSource& source) {
    const QSignalBlocker blocker(m_layer);
    const QStringList& layers = m_draft.reading().lineLayers;
    m_layer->clear();
    m_layer->addItems(layers);
    m_layer->setCurrentIndex(int(layers.indexOf(source.layer)));
    m_layer->setPlaceholderText(tr("请选择"));
    m_layer->setVisible(layers.size() > 1);
    m_layerCaption->setVisible(layers.size() > 1);
}

QString PipelinePage::summary() const {
    if (!m_draft.wish().centerline) {
        return tr("没有中心线时，站段均匀铺满各期的共同范围，也不计算距管线的距离。");
    }
    const auto& line = m_draft.reading().centerline;
    if (!line) {
        return {};
    }
    const QString length = QString::number(line->lengthMetres() / kMetresPerKilometre, 'f', 3);
    return tr("%1长 %2 km，%3 — %4。箭头指向里程增加的方向。")
        .arg(line->name.isEmpty() ? QString() : line->name + tr("："), length,
             chainageText(line->vertices.front().chainageMetres),
             chainageText(line->vertices.back().chainageMetres));
}

} // namespace inspection
