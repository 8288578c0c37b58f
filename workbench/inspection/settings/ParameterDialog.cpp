#include "workbench/inspection/settings/ParameterDialog.h"

#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/settings/ColourButton.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace inspection {

namespace {

using detect::CoregistrationMethod;

QDoubleSpinBox* lengthBox(const char* name, double least, double most, double step, const QString& unit) {
    auto* box = new QDoubleSpinBox;
    box->setObjectName(name);
    box->setRange(least, most);
    box->setDecimals(2);
    box->setSingleStep(step);
    box->setSuffix(unit);
    box->setAlignment(Qt::AlignRight);
    return box;
}

void choose(QComboBox& box, int value) {
    box.setCurrentIndex(box.findData(value));
}

} // namespace

ParameterDialog::ParameterDialog(Session& session, QWidget* parent)
    : ParaSet(parent), m_session(session), m_threshold(lengthBox("threshold", 0.05, 50.0, 0.1, " m")),
      m_minArea(lengthBox("minArea", 0.1, 100000.0, 1.0, " m²")), m_coregistration(new QComboBox),
      m_fillColour(new ColourButton), m_cutColour(new ColourButton), m_overlayMode(new QComboBox) {
    setObjectName("parameterDialog");
    setWindowTitle(tr("参数设置"));
    build();
    m_titleBar->setTitleContent(tr("参数设置"));
    m_titleBar->setButtonType(titleBar::OnlyClose);
    updateLayout();
}

ParameterDialog::~ParameterDialog() = default;

void ParameterDialog::build() {
    m_coregistration->setObjectName("coregistration");
    m_coregistration->addItem(tr("无"), static_cast<int>(CoregistrationMethod::None));
    m_coregistration->addItem(tr("垂直偏差"), static_cast<int>(CoregistrationMethod::Bias));
    m_coregistration->addItem(tr("完整配准"), static_cast<int>(CoregistrationMethod::Full));
    m_overlayMode->setObjectName("overlayMode");
    m_overlayMode->addItem(tr("悬停拾取"), static_cast<int>(OverlayMode::Hover));
    m_overlayMode->addItem(tr("范围拾取"), static_cast<int>(OverlayMode::Bounds));
    m_fillColour->setObjectName("fillColour");
    m_cutColour->setObjectName("cutColour");
    m_threshold->setToolTip(tr("高程变化达到该值才算异常"));
    m_minArea->setToolTip(tr("面积小于该值的变化不计入"));
    m_coregistration->setToolTip(tr("比较之前如何使新一期对准旧一期"));
    m_overlayMode->setToolTip(tr("在地球上用指针下的对象，还是用异常的外接范围来拾取"));

    auto* form = new QFormLayout;
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(10);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(tr("变化阈值"), m_threshold);
    form->addRow(tr("最小面积"), m_minArea);
    form->addRow(tr("配准方式"), m_coregistration);
    form->addRow(tr("填方颜色"), m_fillColour);
    form->addRow(tr("挖方颜色"), m_cutColour);
    form->addRow(tr("拾取方式"), m_overlayMode);

    auto* hint = new QLabel(tr("阈值、面积和配准方式在下一次“计算异常”时生效。"));
    hint->setWordWrap(true);

    auto* defaults = new QPushButton(tr("恢复默认"));
    defaults->setObjectName("defaults");
    auto* confirmButton = new QPushButton(tr("确定"));
    confirmButton->setObjectName("confirm");
    confirmButton->setDefault(true);
    auto* cancelButton = new QPushButton(tr("取消"));
    cancelButton->setObjectName("cancel");
    // The look's own least width is made for two characters.
    defaults->setStyleSheet(QStringLiteral("min-width: 5em;"));
    defaults->setAutoDefault(false);
    cancelButton->setAutoDefault(false);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(defaults);
    buttons->addSpacing(24);
    buttons->addStretch(1);
    buttons->addWidget(confirmButton);
    buttons->addWidget(cancelButton);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 16, 20, 16);
    column->setSpacing(14);
    column->addLayout(form);
    column->addWidget(hint);
    column->addStretch(1);
    column->addLayout(buttons);

    connect(defaults, SIGNAL(clicked()), this, SLOT(showDefaults()));
    connect(confirmButton, SIGNAL(clicked()), this, SLOT(confirm()));
    connect(cancelButton, SIGNAL(clicked()), this, SLOT(reject()));
}

void ParameterDialog::OnSetPara() {
    if (!m_session.project()) {
        m_session.warn(tr("请先打开项目"));
        return;
    }
    showParameters(m_session.parameters());
    m_threshold->setFocus();
    m_threshold->selectAll();
    exec();
}

int ParameterDialog::GetOverlayMode() const {
    return static_cast<int>(m_session.overlayMode());
}

void ParameterDialog::showParameters(const ProjectParameters& parameters) {
    m_threshold->setValue(parameters.thresholdMetres);
    m_minArea->setValue(parameters.minAreaSquareMetres);
    choose(*m_coregistration, static_cast<int>(parameters.coregistration));
    m_fillColour->setColour(parameters.fillColour);
    m_cutColour->setColour(parameters.cutColour);
    choose(*m_overlayMode, static_cast<int>(parameters.overlayMode));
}

ProjectParameters ParameterDialog::entered() const {
    ProjectParameters parameters;
    parameters.thresholdMetres = m_threshold->value();
    parameters.minAreaSquareMetres = m_minArea->value();
    parameters.coregistration = static_cast<CoregistrationMethod>(m_coregistration->currentData().toInt());
    parameters.fillColour = m_fillColour->colour();
    parameters.cutColour = m_cutColour->colour();
    parameters.overlayMode = static_cast<OverlayMode>(m_overlayMode->currentData().toInt());
    return parameters;
}

void ParameterDialog::showDefaults() {
    showParameters(ProjectParameters());
}

void ParameterDialog::confirm() {
    const ProjectParameters parameters = entered();
    if (parameters.fillColour == parameters.cutColour) {
        m_session.warn(tr("填方与挖方的颜色不能相同"));
        return;
    }
    if (const Status stored = m_session.setParameters(parameters); !stored) {
        m_session.warn(stored.error().userMessage);
        return;
    }
    accept();
}

} // namespace inspection
