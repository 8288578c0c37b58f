#include "workbench/inspection/creation/DraftDialog.h"

#include "workbench/inspection/creation/DraftPage.h"
#include "workbench/inspection/creation/PlanPreview.h"
#include "workbench/style/Theme.h"

#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace inspection {

namespace {

constexpr int kProgressSteps = 1000;

QPushButton* button(const char* name, const QString& text) {
    auto* made = new QPushButton(text);
    made->setObjectName(name);
    made->setAutoDefault(false);
    made->setStyleSheet(QStringLiteral("min-width: 4.5em;"));
    return made;
}

} // namespace

DraftDialog::DraftDialog(const QString& title, const QString& lastWord, QWidget* parent)
    : BaseDialog(parent), m_lastWord(lastWord), m_stack(new QStackedWidget), m_preview(new PlanPreview),
      m_problem(new QLabel), m_progress(new QProgressBar), m_back(button("back", tr("上一步"))),
      m_next(button("next", tr("下一步"))), m_cancel(button("cancel", tr("取消"))) {
    setWindowTitle(title);
    connect(&m_draft, &ProjectDraft::changed, this, &DraftDialog::refresh);
    connect(&m_jobs, &JobRunner::started, this, [this] { showWork(true); });
    connect(&m_jobs, &JobRunner::finished, this, [this] { showWork(false); });
    connect(&m_jobs, &JobRunner::progressed, this,
            [this](double fraction) { m_progress->setValue(int(fraction * kProgressSteps)); });
}

void DraftDialog::setPages(const std::vector<DraftPage*>& pages) {
    m_pages = pages;
    build();
    m_titleBar->setTitleContent(windowTitle());
    m_titleBar->setButtonType(titleBar::OnlyClose);
    updateLayout();
    goTo(0);
}

QString DraftDialog::problemOf(int page) const {
    return m_pages[std::size_t(page)]->problem();
}

void DraftDialog::build() {
    constexpr QSize kSize(1080, 640); // fits a screen of 1280 x 800 below its panel
    constexpr int kMargin = 16;
    for (DraftPage* page : m_pages) {
        m_stack->addWidget(page);
    }
    auto* panes = new QHBoxLayout;
    panes->setSpacing(kMargin);
    panes->addWidget(m_stack, 3);
    panes->addWidget(m_preview, 2);
    m_problem->setObjectName("pageProblem");
    m_problem->setWordWrap(true);
    m_problem->setTextFormat(Qt::PlainText);
    m_problem->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_problem->setFocusPolicy(Qt::NoFocus);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kMargin, 10, kMargin, 12);
    column->setSpacing(10);
    column->addWidget(buildSteps());
    column->addLayout(panes, 1);
    column->addWidget(buildButtons());
    resize(kSize);
}

QWidget* DraftDialog::buildSteps() {
    auto* steps = new QWidget;
    auto* row = new QHBoxLayout(steps);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    for (std::size_t i = 0; i < m_pages.size(); ++i) {
        auto* step = new QToolButton;
        step->setObjectName(QStringLiteral("step%1").arg(i));
        step->setText(QStringLiteral("%1  %2").arg(i + 1).arg(m_pages[i]->title()));
        step->setCheckable(true);
        step->setAutoRaise(true);
        step->setFocusPolicy(Qt::NoFocus);
        step->setStyleSheet(theme::styleSheet(
            "QToolButton { padding: 4px 14px; border: none; border-bottom: 3px solid @line; }"
            "QToolButton:checked { font-weight: 600; border-bottom-color: @accent; }"));
        connect(step, &QToolButton::clicked, this, [this, i] { goTo(int(i)); });
        m_steps.push_back(step);
        row->addWidget(step);
    }
    row->addStretch(1);
    return steps;
}

QWidget* DraftDialog::buildButtons() {
    m_progress->setObjectName("creationProgress");
    m_progress->setRange(0, kProgressSteps);
    m_progress->hide();
    auto* buttons = new QWidget;
    auto* row = new QHBoxLayout(buttons);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(m_problem, 1);
    row->addWidget(m_progress, 1);
    row->addWidget(m_back);
    row->addWidget(m_next);
    row->addWidget(m_cancel);
    m_next->setDefault(true);
    connect(m_back, &QPushButton::clicked, this, [this] { goTo(page() - 1); });
    connect(m_next, &QPushButton::clicked, this, &DraftDialog::goOn);
    connect(m_cancel, &QPushButton::clicked, this, &DraftDialog::reject);
    return buttons;
}

int DraftDialog::page() const {
    return m_stack->currentIndex();
}

/// A page opens when those before it have no problem.
bool DraftDialog::isReachable(int page) const {
    for (int before = 0; before < page; ++before) {
        if (m_draft.isReading() || !problemOf(before).isEmpty()) {
            return false;
        }
    }
    return true;
}

void DraftDialog::goTo(int page) {
    m_goesOnWhenRead = false;
    m_failure.clear();
    m_stack->setCurrentIndex(page);
    m_pages[std::size_t(page)]->setFocus(Qt::OtherFocusReason);
    refresh();
}

void DraftDialog::goOn() {
    if (m_draft.isReading()) {
        m_goesOnWhenRead = true;
        refresh();
        return;
    }
    m_goesOnWhenRead = false;
    if (!problemOf(page()).isEmpty()) {
        return;
    }
    if (page() + 1 < m_stack->count()) {
        goTo(page() + 1);
    } else if (isReachable(page())) {
        m_failure.clear();
        carryOut();
    }
}

void DraftDialog::refresh() {
    if (m_pages.empty()) {
        return; // a draft may begin before its pages
    }
    if (m_goesOnWhenRead && !m_draft.isReading()) {
        goOn();
        return;
    }
    m_preview->setSketch(sketch());
    const bool isLast = page() + 1 == m_stack->count();
    m_next->setText(isLast ? m_lastWord : tr("下一步"));
    m_back->setEnabled(page() > 0 && !m_isCarryingOut);
    const bool hasProblem = !problemOf(page()).isEmpty() || !isReachable(page());
    m_next->setEnabled(!m_isCarryingOut && (m_draft.isReading() || !hasProblem));
    for (std::size_t i = 0; i < m_steps.size(); ++i) {
        m_steps[i]->setChecked(int(i) == page());
        m_steps[i]->setEnabled(!m_isCarryingOut && (int(i) <= page() || isReachable(int(i))));
    }
    showProblem();
}

void DraftDialog::showProblem() {
    QString text = m_failure;
    for (int i = 0; i <= page() && text.isEmpty() && !m_draft.isReading(); ++i) {
        const QString problem = problemOf(i);
        text = problem.isEmpty() || i == page() ? problem
                                                : m_pages[std::size_t(i)]->title() + tr("：") + problem;
    }
    const bool isProblem = !text.isEmpty() && !m_draft.wish().epochs.empty(); // at first it is but a hint
    m_problem->setStyleSheet(isProblem ? theme::styleSheet("color: @danger;") : QString());
    m_problem->setText(text.isEmpty() && m_draft.isReading() ? tr("正在读取文件…") : text);
}

void DraftDialog::fail(const QString& failure) {
    m_failure = failure;
    refresh();
}

void DraftDialog::showWork(bool isCarryingOut) {
    m_isCarryingOut = isCarryingOut;
    m_progress->setValue(0);
    m_progress->setVisible(isCarryingOut);
    m_problem->setVisible(!isCarryingOut);
    m_stack->setEnabled(!isCarryingOut);
    refresh();
    if (isCarryingOut) {
        m_next->setEnabled(false);
        m_back->setEnabled(false);
        m_cancel->setFocus();
    }
}

void DraftDialog::done(int result) {
    if (m_isCarryingOut) {
        m_jobs.cancel(); // it closes by a second press, when the work has ended
        return;
    }
    QDialog::done(result);
    // A read from a slow disk must not hold up the window that this one belongs to.
    if (m_draft.isReading()) {
        connect(&m_draft, &ProjectDraft::settled, this, &QObject::deleteLater);
    } else {
        deleteLater();
    }
}

void DraftDialog::keyPressEvent(QKeyEvent* event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (auto* pressed = qobject_cast<QPushButton*>(focusWidget()); isEnter && pressed) {
        pressed->click(); // what the user has tabbed to comes before the default button
        return;
    }
    BaseDialog::keyPressEvent(event);
}

} // namespace inspection
