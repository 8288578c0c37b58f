#include "workbench/inspection/creation/StationPage.h"

#include "workbench/inspection/creation/FileField.h"

#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace inspection {

namespace {

QDoubleSpinBox* metresBox(const char* name, double most, double step, double value) {
    constexpr double kLeastMetres = 5.0;
    auto* box = new QDoubleSpinBox;
    box->setObjectName(name);
    box->setRange(kLeastMetres, most);
    box->setDecimals(0);
    box->setSingleStep(step);
    box->setValue(value);
    box->setSuffix(QStringLiteral(" m"));
    return box;
}

} // namespace

StationPage::StationPage(ProjectDraft& draft, QWidget* parent)
    : DraftPage(draft, parent),
      m_length(metresBox("stationLength", 100000.0, 50.0, draft.wish().stations.lengthMetres)),
      m_halfWidth(metresBox("halfWidth", 10000.0, 10.0, draft.wish().stations.halfWidthMetres)),
      m_file(new FileField(FileField::Kind::File, tr("选择站段范围"))), m_summary(new QLabel) {
    m_file->setObjectName("stationsFile");
    m_file->setPlaceholder(tr("已有站段范围（面）时填写，代替上面两项"));
    m_summary->setObjectName("stationSummary");
    m_summary->setWordWrap(true);
    m_summary->setTextFormat(Qt::PlainText);
    setFocusProxy(m_length);
    auto* form = new QFormLayout;
    form->addRow(tr("站段长度"), m_length);
    form->addRow(tr("中心线每侧宽度"), m_halfWidth);
    form->addRow(tr("站段文件"), m_file);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    column->addLayout(form);
    column->addWidget(m_summary);
    column->addStretch(1);

    connect(m_length, &QDoubleSpinBox::valueChanged, this, [this](double metres) {
        m_draft.change([metres](NewProject& wish) { wish.stations.lengthMetres = metres; });
    });
    connect(m_halfWidth, &QDoubleSpinBox::valueChanged, this, [this](double metres) {
        m_draft.change([metres](NewProject& wish) { wish.stations.halfWidthMetres = metres; });
    });
    connect(m_file, &FileField::chosen, this, [this](const QString& file) {
        m_draft.change([&file](NewProject& wish) { wish.stations.file = file; });
    });
    connect(&draft, &ProjectDraft::changed, this, &StationPage::refresh);
    refresh();
}

void StationPage::refresh() {
    const NewProject& wish = m_draft.wish();
    const bool isAlongLine = wish.centerline && wish.stations.file.isEmpty();
    m_length->setEnabled(isAlongLine);
    m_halfWidth->setEnabled(isAlongLine);
    m_file->setStart(wish.centerline ? wish.centerline->file : m_draft.anyFile());
    m_file->setPath(wish.stations.file);
    m_summary->setText(summary());
}

void StationPage::setKeptText(const std::function<QString()>& text) {
    m_keptText = text;
    refresh();
}

QString StationPage::summary() const {
    if (const QString kept = m_keptText ? m_keptText() : QString(); !kept.isEmpty()) {
        return kept;
    }
    const std::vector<Stretch>& stations = m_draft.reading().stations;
    if (stations.empty()) {
        return {};
    }
    if (!m_draft.wish().centerline && m_draft.wish().stations.file.isEmpty()) {
        return tr("没有中心线，各期的共同范围均匀分为 %1 个站段。").arg(stations.size());
    }
    return tr("共 %1 个站段，从 %2 到 %3。没有两期共有数据的站段不建立。")
        .arg(stations.size())
        .arg(stations.front().name, stations.back().name);
}

} // namespace inspection
