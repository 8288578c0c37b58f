#include "workbench/inspection/account/AccountDialog.h"

#include "workbench/inspection/account/CorrectionPicture.h"
#include "workbench/inspection/account/HistogramChart.h"
#include "workbench/inspectiondata/text/CoregistrationText.h"
#include "workbench/style/Theme.h"

#include <QDateTime>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace inspection {

namespace {

constexpr int kWidthCharacters = 90;

QLabel* makeText(const QString& text, const char* name) {
    auto* label = new QLabel(text);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QString localTime(const QString& isoUtc) {
    return QDateTime::fromString(isoUtc, Qt::ISODate)
        .toLocalTime()
        .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

} // namespace

AccountDialog::AccountDialog(const ProjectDescription& project, const DetectionAccount& account,
                             QWidget* parent)
    : BaseDialog(parent) {
    setObjectName("accountDialog");
    setWindowTitle(tr("配准与筛选"));
    m_titleBar->setTitleContent(tr("配准与筛选"));
    m_titleBar->setButtonType(titleBar::OnlyClose);

    auto* form = new QFormLayout;
    form->setHorizontalSpacing(16);
    form->setRowWrapPolicy(QFormLayout::DontWrapRows);
    form->addRow(tr("对比期次"), makeText(pairTitle(project.pair()), "accountPair"));
    addFigures(*form, account);
    addRejections(*form, account.rejections);

    auto* close = new QPushButton(tr("关闭"));
    close->setObjectName("close");
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 16, 20, 16);
    column->setSpacing(12);
    addDoubt(*column, account);
    column->addLayout(form);
    if (account.stableDifferences) {
        column->addWidget(new HistogramChart(*account.stableDifferences, account.parameters.thresholdMetres),
                          1);
    }
    addCorrection(*column, project, account);
    column->addWidget(close, 0, Qt::AlignRight);
    updateLayout();
    // The lines that the texts take depend on the width.
    const int width = fontMetrics().averageCharWidth() * kWidthCharacters;
    setMinimumWidth(width);
    resize(width, std::max(layout()->totalHeightForWidth(width), sizeHint().height()));
}

AccountDialog::~AccountDialog() = default;

void AccountDialog::addDoubt(QVBoxLayout& column, const DetectionAccount& account) {
    if (const auto doubt = doubtOf(account.coregistration.nmadAfterMetres, account.parameters)) {
        QLabel* label = makeText(*doubt, "accountDoubt");
        label->setStyleSheet(theme::styleSheet("color: @danger; font-weight: bold;"));
        column.addWidget(label);
    }
}

void AccountDialog::addFigures(QFormLayout& form, const DetectionAccount& account) {
    const detect::Coregistration& coregistration = account.coregistration;
    form.addRow(tr("计算"),
                makeText(tr("%1，%2 个站段").arg(localTime(account.computedAt)).arg(account.stations),
                         "accountTime"));
    form.addRow(tr("配准方式"), makeText(tr("%1（设置：%2）")
                                             .arg(methodTitle(coregistration.method),
                                                  methodTitle(account.parameters.coregistration)),
                                         "accountMethod"));
    if (const QStringList reasons = coregistrationReasons(coregistration); !reasons.isEmpty()) {
        form.addRow(tr("说明"), makeText(reasons.join('\n'), "accountReason"));
    }
    form.addRow(tr("后期改正量"), makeText(shiftText(coregistration), "accountShift"));
    form.addRow(tr("稳定地面"),
                makeText(scatterText(coregistration) +
                             tr("，高差标准差 %1 m").arg(coregistration.sigmaMetres, 0, 'f', 3),
                         "accountScatter"));
}

void AccountDialog::addRejections(QFormLayout& form, const detect::Rejections& rejections) {
    QStringList parts;
    for (const RejectionCount& count : rejectionCounts(rejections)) {
        parts << tr("%1 %2").arg(count.rule).arg(count.rejected);
    }
    QLabel* label = makeText(parts.join(tr("，")), "accountRejections");
    label->setToolTip(tr("达到检出限、但被这些规则剔除的变化；相邻站段边缘的变化会在两个站段中各计一次"));
    form.addRow(tr("剔除的变化"), label);
}

void AccountDialog::addCorrection(QVBoxLayout& column, const ProjectDescription& project,
                                  const DetectionAccount& account) {
    constexpr QSize kLargest(420, 150);
    if (account.correctionRaster.isEmpty()) {
        return;
    }
    const auto picture = correctionPicture(account.correctionRaster, kLargest, project.parameters.fillColour,
                                           project.parameters.cutColour);
    column.addWidget(
        makeText(picture ? tr("局部改正场，颜色最深处 ±%1 m：宽缓的真实升降也会被一并改掉，请查看是否合理")
                               .arg(picture->largestMetres, 0, 'f', 2)
                         : tr("局部改正场无法读取：%1").arg(account.correctionRaster),
                 "accountCorrectionTitle"));
    if (picture) {
        auto* image = new QLabel;
        image->setObjectName("accountCorrection");
        image->setFrameShape(QFrame::StyledPanel);
        image->setAlignment(Qt::AlignCenter);
        image->setPixmap(QPixmap::fromImage(picture->image));
        column.addWidget(image);
    }
}

} // namespace inspection
