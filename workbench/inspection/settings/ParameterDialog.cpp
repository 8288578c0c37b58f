#include "workbench/inspection/settings/ParameterDialog.h"

#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/settings/ColourButton.h"
#include "workbench/inspection/settings/DetectionFields.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace inspection {

namespace {

void choose(QComboBox& box, int value) {
    box.setCurrentIndex(box.findData(value));
}

} // namespace

ParameterDialog::ParameterDialog(Session& session, QWidget* parent)
    : ParaSet(parent), m_session(session), m_detection(new DetectionFields(this)), m_more(new QToolButton),
      m_advanced(new QScrollArea), m_fillColour(new ColourButton), m_cutColour(new ColourButton),
      m_overlayMode(new QComboBox) {
    setObjectName("parameterDialog");
    setWindowTitle(tr("参数设置"));
    build();
    m_titleBar->setTitleContent(tr("参数设置"));
    m_titleBar->setButtonType(titleBar::OnlyClose);
    updateLayout();
}

ParameterDialog::~ParameterDialog() = default;

void ParameterDialog::buildAdvanced() {
    m_more->setObjectName("advanced");
    m_more->setText(tr("高级"));
    m_more->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_more->setAutoRaise(true);
    m_more->setCheckable(true);
    m_more->setFocusPolicy(Qt::StrongFocus);

    auto* fields = new QWidget;
    auto* form = new QFormLayout(fields);
    form->setContentsMargins(0, 0, 0, 0);
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(8);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_detection->addTo(*form, true);
    m_advanced->setObjectName("advancedFields");
    m_advanced->setWidgetResizable(true);
    m_advanced->setFrameShape(QFrame::NoFrame);
    m_advanced->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_advanced->setWidget(fields);
    m_advanced->viewport()->setAutoFillBackground(false); // as the rest of the window
    fields->setAutoFillBackground(false);
    connect(m_more, SIGNAL(toggled(bool)), this, SLOT(unfold(bool)));
}

void ParameterDialog::unfold(bool isOpen) {
    constexpr int kScreenMargin = 320; // what is above and below the advanced ones, and around the window
    m_more->setArrowType(isOpen ? Qt::DownArrow : Qt::RightArrow);
    m_advanced->setVisible(isOpen);
    const QSize content = m_advanced->widget()->sizeHint();
    m_advanced->setMinimumSize(
        content.width() + m_advanced->verticalScrollBar()->sizeHint().width(),
        std::min(content.height(), screen()->availableSize().height() - kScreenMargin));
    if (isOpen) {
        adjustSize();
        moveOntoScreen();
    } else {
        resize(width(), minimumSizeHint().height());
    }
}

// It has grown downwards.
void ParameterDialog::moveOntoScreen() {
    const int below = frameGeometry().bottom() - screen()->availableGeometry().bottom();
    if (below > 0) {
        move(x(), std::max(screen()->availableGeometry().top(), y() - below));
    }
}

void ParameterDialog::build() {
    m_overlayMode->setObjectName("overlayMode");
    m_overlayMode->addItem(tr("悬停拾取"), static_cast<int>(OverlayMode::Hover));
    m_overlayMode->addItem(tr("范围拾取"), static_cast<int>(OverlayMode::Bounds));
    m_fillColour->setObjectName("fillColour");
    m_cutColour->setObjectName("cutColour");
    m_overlayMode->setToolTip(tr("在地球上用指针下的对象，还是用异常的外接范围来拾取"));

    auto* form = new QFormLayout;
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(10);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_detection->addTo(*form, false);
    form->addRow(tr("填方颜色"), m_fillColour);
    form->addRow(tr("挖方颜色"), m_cutColour);
    form->addRow(tr("拾取方式"), m_overlayMode);

    buildAdvanced();
    auto* hint = new QLabel(tr("除颜色和拾取方式外，在下一次“计算异常”时生效。"));
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
    column->addWidget(m_more);
    column->addWidget(m_advanced, 1);
    column->addWidget(hint);
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
    auto& threshold = static_cast<QDoubleSpinBox&>(m_detection->editor("threshold_m"));
    threshold.setFocus();
    threshold.selectAll();
    m_more->setChecked(false);
    unfold(false);
    exec();
}

int ParameterDialog::GetOverlayMode() const {
    return static_cast<int>(m_session.overlayMode());
}

void ParameterDialog::showParameters(const ProjectParameters& parameters) {
    m_detection->show(parameters);
    m_fillColour->setColour(parameters.fillColour);
    m_cutColour->setColour(parameters.cutColour);
    choose(*m_overlayMode, static_cast<int>(parameters.overlayMode));
}

ProjectParameters ParameterDialog::entered() const {
    ProjectParameters parameters;
    static_cast<detect::Parameters&>(parameters) = m_detection->entered();
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
