#include "workbench/app/StatusLine.h"

#include "workbench/app/Notice.h"
#include "workbench/engine/EngineContext.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/inspectiondata/text/AnomalyTexts.h"
#include "workbench/viewer/GlobeWidget.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <QStatusBar>
#include <QUrl>

#include <cmath>

namespace {

QString degrees(double value, const char* positive, const char* negative) {
    return QString::number(std::abs(value), 'f', 6) + QString::fromUtf8("°") +
           (value < 0 ? negative : positive);
}

Notice::Action opening(const QString& text, const QString& path) {
    return {text, QDir::toNativeSeparators(path),
            [path] { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); }};
}

} // namespace

StatusLine::StatusLine(QMainWindow& window, const GlobeWidget& globe)
    : QObject(&window), m_tip(new QLabel(tr("就绪"))), m_notice(new Notice), m_preparation(new QLabel),
      m_coordinates(new QLabel) {
    m_tip->setObjectName("statusTip");
    m_tip->setTextFormat(Qt::PlainText);
    m_preparation->setObjectName("preparation");
    m_coordinates->setObjectName("coordinates");
    m_coordinates->setMinimumWidth(360);
    m_coordinates->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    InspectionContext& context = InspectionContext::instance();
    QStatusBar& bar = *window.statusBar();
    bar.addWidget(m_tip, 1);
    bar.addPermanentWidget(m_notice);
    bar.addPermanentWidget(context.accountLine());
    bar.addPermanentWidget(context.progressWidget());
    bar.addPermanentWidget(m_preparation);
    bar.addPermanentWidget(m_coordinates);

    connect(&zeo::EngineContext::instance(), &zeo::EngineContext::statusTipChanged, this, &StatusLine::tell);
    connect(&context, &InspectionContext::edited, this, &StatusLine::offerUndo);
    connect(&context, &InspectionContext::undoneOrRedone, m_notice, &Notice::withdraw);
    connect(&context, &InspectionContext::outputFinished, this, &StatusLine::offerOutput);
    connect(&globe, &GlobeWidget::pointerOnGlobe, this, &StatusLine::showPointer);
    connect(&globe, &GlobeWidget::pointerOffGlobe, m_coordinates, &QLabel::clear);
    connect(&globe, &GlobeWidget::preparationChanged, this, &StatusLine::showPreparation);
}

void StatusLine::tell(const QString& text) {
    m_tip->setText(text);
}

void StatusLine::offerUndo(const QString& description) {
    m_notice->tell(tr("已") + description,
                   {{tr("撤销"), tr("撤销这一步（Ctrl+Z）"), [this] { emit undoAsked(); }}});
}

void StatusLine::offerOutput(const QString& kind, bool ok, const QString& path) {
    if (!ok) {
        return;
    }
    if (kind == "report") {
        m_notice->tell(
            tr("报告已输出：%1").arg(QFileInfo(path).fileName()),
            {opening(tr("打开"), path), opening(tr("打开文件夹"), QFileInfo(path).absolutePath())});
    } else {
        m_notice->tell(tr("shape 已输出：%1").arg(QDir::toNativeSeparators(path)),
                       {opening(tr("打开文件夹"), path)});
    }
}

void StatusLine::showPreparation(int percent) {
    m_preparation->setText(percent < 100 ? tr("正在建立影像金字塔 %1%").arg(percent) : QString());
}

void StatusLine::showPointer(double lonDegrees, double latDegrees, double heightMetres) {
    const auto difference = InspectionContext::instance().differenceAt(lonDegrees, latDegrees);
    const QString compared =
        difference ? "dZ " + inspection::differenceText(*difference, 3) + " m    " : QString();
    m_coordinates->setText(compared + degrees(lonDegrees, "E", "W") + "  " + degrees(latDegrees, "N", "S") +
                           "  " + QString::number(heightMetres, 'f', 2) + " m ");
}
