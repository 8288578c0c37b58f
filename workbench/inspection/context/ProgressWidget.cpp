#include "workbench/inspection/context/ProgressWidget.h"

#include "workbench/inspection/session/JobRunner.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>

namespace inspection {

namespace {
constexpr int kResultMilliseconds = 15000;
} // namespace

ProgressWidget::ProgressWidget(JobRunner& jobs, QWidget* parent)
    : QWidget(parent), m_jobs(jobs), m_text(new QLabel), m_bar(new QProgressBar), m_cancel(new QPushButton) {
    setObjectName("jobProgress");
    m_bar->setObjectName("jobProgressBar");
    m_bar->setRange(0, 1000);
    m_bar->setFormat("%p%");
    m_bar->setMinimumWidth(fontMetrics().averageCharWidth() * 24);
    m_cancel->setObjectName("jobCancel");
    m_cancel->setText(tr("取消"));
    m_cancel->setFocusPolicy(Qt::NoFocus);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(6, 0, 6, 0);
    row->setSpacing(8);
    m_text->setTextFormat(Qt::PlainText);
    row->addWidget(m_text);
    row->addWidget(m_bar, 1);
    row->addWidget(m_cancel);
    hide();

    connect(m_cancel, SIGNAL(clicked()), this, SLOT(onCancel()));
    connect(&jobs, SIGNAL(started(QString)), this, SLOT(onStarted(QString)));
    connect(&jobs, SIGNAL(progressed(double, QString)), this, SLOT(onProgressed(double, QString)));
    connect(&jobs, SIGNAL(finished()), this, SLOT(hide()));
    connect(&m_resultTime, SIGNAL(timeout()), this, SLOT(hide()));
    m_resultTime.setSingleShot(true);
    m_resultTime.setInterval(kResultMilliseconds);
}

void ProgressWidget::onStarted(const QString& title) {
    m_text->setText(title);
    m_bar->setValue(0);
    m_cancel->setText(tr("取消"));
    m_cancel->setEnabled(true);
    m_resultTime.stop();
    showBar(true);
    show();
}

void ProgressWidget::showResult(bool ok, const QString& text) {
    m_text->setText(ok ? text : tr("未完成：%1").arg(text));
    showBar(false);
    show();
    m_resultTime.start();
}

void ProgressWidget::showMessage(const QString& text) {
    if (!m_jobs.isRunning()) {
        showResult(true, text);
    }
}

void ProgressWidget::showWaiting(const QString& text) {
    if (text.isEmpty()) {
        QApplication::restoreOverrideCursor();
        m_jobs.isRunning() ? onStarted(m_jobs.title()) : hide();
        return;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    m_text->setText(text);
    m_resultTime.stop();
    showBar(false);
    show();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    repaint();
}

void ProgressWidget::showPainting(int done, int all) {
    constexpr int kMany = 300; // fewer are there before a message is read
    if (all >= kMany) {
        showMessage(done < all ? tr("正在显示异常：%L1 / %L2").arg(done).arg(all)
                               : tr("%L1 处异常已显示").arg(all));
    }
}

void ProgressWidget::showBar(bool visible) {
    m_bar->setVisible(visible);
    m_cancel->setVisible(visible);
}

void ProgressWidget::onProgressed(double fraction, const QString& step) {
    m_text->setText(step.isEmpty() ? m_jobs.title() : m_jobs.title() + tr("：") + step);
    m_bar->setValue(static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 1000.0));
}

void ProgressWidget::onCancel() {
    m_cancel->setEnabled(false);
    m_cancel->setText(tr("正在取消"));
    m_jobs.cancel();
}

} // namespace inspection
