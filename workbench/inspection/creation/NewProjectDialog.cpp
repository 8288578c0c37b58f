#include "workbench/inspection/creation/NewProjectDialog.h"

#include "workbench/inspection/creation/ConfirmPage.h"
#include "workbench/inspection/creation/EpochPage.h"
#include "workbench/inspection/creation/PipelinePage.h"
#include "workbench/inspection/creation/PlanPreview.h"
#include "workbench/inspection/creation/StationPage.h"
#include "workbench/inspectiondata/creation/CreateProject.h"

#include <QDropEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QToolButton>
#include <QUrl>
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

/// What of the special objects was not brought in, or not as it was.
QStringList notesOf(const std::vector<SpecialObjectImport>& imports) {
    QStringList notes;
    for (const SpecialObjectImport& import : imports) {
        notes << import.refusals << import.notes;
    }
    return notes;
}

} // namespace

NewProjectDialog::NewProjectDialog(QWidget* parent)
    : BaseDialog(parent), m_confirm(new ConfirmPage(m_draft)), m_stack(new QStackedWidget),
      m_preview(new PlanPreview), m_problem(new QLabel), m_progress(new QProgressBar),
      m_back(button("back", tr("上一步"))), m_next(button("next", tr("下一步"))),
      m_cancel(button("cancel", tr("取消"))) {
    setObjectName("newProjectDialog");
    setAcceptDrops(true);
    setWindowTitle(tr("新建项目"));
    m_pages = {new EpochPage(m_draft), new PipelinePage(m_draft), new StationPage(m_draft), m_confirm};
    build();
    m_titleBar->setTitleContent(tr("新建项目"));
    m_titleBar->setButtonType(titleBar::OnlyClose);
    updateLayout();

    connect(&m_draft, &ProjectDraft::changed, this, &NewProjectDialog::refresh);
    connect(m_confirm, &ConfirmPage::changed, this, &NewProjectDialog::refresh);
    connect(&m_jobs, &JobRunner::started, this, [this] { showCreation(true); });
    connect(&m_jobs, &JobRunner::finished, this, [this] { showCreation(false); });
    connect(&m_jobs, &JobRunner::progressed, this,
            [this](double fraction) { m_progress->setValue(int(fraction * kProgressSteps)); });
    m_draft.change([](NewProject&) {});
    goTo(0);
}

void NewProjectDialog::build() {
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

QWidget* NewProjectDialog::buildSteps() {
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
        step->setStyleSheet(
            "QToolButton { padding: 4px 14px; border: none; border-bottom: 3px solid #dde3eb; }"
            "QToolButton:checked { font-weight: 600; border-bottom-color: #1e6fd9; }");
        connect(step, &QToolButton::clicked, this, [this, i] { goTo(int(i)); });
        m_steps.push_back(step);
        row->addWidget(step);
    }
    row->addStretch(1);
    return steps;
}

QWidget* NewProjectDialog::buildButtons() {
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
    connect(m_next, &QPushButton::clicked, this, &NewProjectDialog::goOn);
    connect(m_cancel, &QPushButton::clicked, this, &NewProjectDialog::reject);
    return buttons;
}

void NewProjectDialog::addFiles(const QStringList& rasters, const QString& centerline) {
    if (!rasters.isEmpty()) {
        m_draft.addEpochs(rasters);
    }
    if (!centerline.isEmpty()) {
        m_draft.setCenterline(centerline);
    }
}

int NewProjectDialog::page() const {
    return m_stack->currentIndex();
}

/// A page opens when those before it have no problem.
bool NewProjectDialog::isReachable(int page) const {
    for (int before = 0; before < page; ++before) {
        if (m_draft.isReading() || !m_pages[std::size_t(before)]->problem().isEmpty()) {
            return false;
        }
    }
    return true;
}

void NewProjectDialog::goTo(int page) {
    m_goesOnWhenRead = false;
    m_failure.clear();
    m_stack->setCurrentIndex(page);
    m_pages[std::size_t(page)]->setFocus(Qt::OtherFocusReason);
    refresh();
}

void NewProjectDialog::goOn() {
    if (m_draft.isReading()) {
        m_goesOnWhenRead = true;
        refresh();
        return;
    }
    m_goesOnWhenRead = false;
    if (!m_pages[std::size_t(page())]->problem().isEmpty()) {
        return;
    }
    if (page() + 1 < m_stack->count()) {
        goTo(page() + 1);
    } else if (isReachable(page())) {
        create();
    }
}

void NewProjectDialog::refresh() {
    if (m_goesOnWhenRead && !m_draft.isReading()) {
        goOn();
        return;
    }
    m_preview->setSketch(m_draft.reading().sketch);
    const bool isLast = page() + 1 == m_stack->count();
    m_next->setText(isLast ? tr("创建") : tr("下一步"));
    m_back->setEnabled(page() > 0 && !m_isCreating);
    const bool hasProblem = !m_pages[std::size_t(page())]->problem().isEmpty() || !isReachable(page());
    m_next->setEnabled(!m_isCreating && (m_draft.isReading() || !hasProblem));
    for (std::size_t i = 0; i < m_steps.size(); ++i) {
        m_steps[i]->setChecked(int(i) == page());
        m_steps[i]->setEnabled(!m_isCreating && (int(i) <= page() || isReachable(int(i))));
    }
    showProblem();
}

void NewProjectDialog::showProblem() {
    QString text = m_failure;
    for (int i = 0; i <= page() && text.isEmpty() && !m_draft.isReading(); ++i) {
        const DraftPage& shown = *m_pages[std::size_t(i)];
        text = shown.problem().isEmpty() || i == page() ? shown.problem()
                                                        : shown.title() + tr("：") + shown.problem();
    }
    const bool isProblem = !text.isEmpty() && !m_draft.wish().epochs.empty(); // at first it is but a hint
    m_problem->setStyleSheet(isProblem ? QStringLiteral("color: #b3261e;") : QString());
    m_problem->setText(text.isEmpty() && m_draft.isReading() ? tr("正在读取文件…") : text);
}

void NewProjectDialog::create() {
    m_failure.clear();
    ProjectPlan plan = planOf(m_draft.reading());
    plan.name = m_confirm->name();
    m_jobs.start(tr("建立项目"),
                 [this, plan, folder = m_confirm->folder()](const JobRunner::Progress& progress) {
                     // The project is closed again by the end of this, so that a session can open it.
                     const auto made = createProject(folder, plan, [&progress](double fraction) {
                         return progress(fraction, QString());
                     });
                     const QString failure = made ? QString() : made.error().userMessage;
                     const QStringList notes = made ? made->notes + notesOf(made->imports) : QStringList();
                     return [this, folder, failure, notes] {
                         if (failure.isEmpty()) {
                             finish(folder, notes);
                         } else {
                             m_failure = failure;
                             refresh();
                         }
                     };
                 });
}

void NewProjectDialog::showCreation(bool isCreating) {
    m_isCreating = isCreating;
    m_progress->setValue(0);
    m_progress->setVisible(isCreating);
    m_problem->setVisible(!isCreating);
    m_stack->setEnabled(!isCreating);
    refresh();
    if (isCreating) {
        m_next->setEnabled(false);
        m_back->setEnabled(false);
        m_cancel->setFocus();
    }
}

void NewProjectDialog::finish(const QString& folder, const QStringList& notes) {
    accept();
    emit created(folder, notes);
}

void NewProjectDialog::done(int result) {
    if (m_isCreating) {
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

void NewProjectDialog::keyPressEvent(QKeyEvent* event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (auto* pressed = qobject_cast<QPushButton*>(focusWidget()); isEnter && pressed) {
        pressed->click(); // what the user has tabbed to comes before the default button
        return;
    }
    BaseDialog::keyPressEvent(event);
}

void NewProjectDialog::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls() && !m_isCreating) {
        event->acceptProposedAction();
    }
}

void NewProjectDialog::dropEvent(QDropEvent* event) {
    QStringList files;
    for (const QUrl& url : event->mimeData()->urls()) {
        if (url.isLocalFile()) {
            files << url.toLocalFile();
        }
    }
    event->acceptProposedAction();
    emit dropped(files);
}

} // namespace inspection
