#include "workbench/inspection/creation/AddEpochDialog.h"

#include "workbench/inspection/creation/EpochForm.h"
#include "workbench/inspection/creation/EpochGuess.h"
#include "workbench/style/Theme.h"

#include <QDropEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeData>
#include <QProgressBar>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

namespace inspection {

namespace {

constexpr int kProgressSteps = 1000;

bool isPicture(const EpochReading& reading) {
    return reading.surface && reading.surface->isPicture;
}

/// Of two files an orthophoto is the other one's, wherever they lie.
void joinOnlyPicture(std::vector<NewEpoch>& epochs) {
    if (epochs.size() != 2 || epochs[0].surface.isEmpty() == epochs[1].surface.isEmpty()) {
        return;
    }
    const std::size_t surface = epochs[0].surface.isEmpty() ? 1 : 0;
    if (epochs[surface].picture.isEmpty()) {
        epochs[surface].picture = epochs[1 - surface].picture;
        epochs.erase(epochs.begin() + static_cast<std::ptrdiff_t>(1 - surface));
    }
}

/// The flights that these files are of, orthophotos with their surface models.
std::vector<NewEpoch> epochsOf(const QStringList& files) {
    std::vector<NewEpoch> parts;
    for (const QString& file : files) {
        for (const NewEpoch& part : surveysIn({{}, QFileInfo(file).absoluteFilePath(), {}})) {
            parts.push_back(part);
        }
    }
    std::vector<EpochReading> readings = withPicturesJoined(readEpochs(parts, {}));
    sortByDate(readings);
    std::vector<NewEpoch> epochs;
    for (const EpochReading& reading : readings) {
        epochs.push_back(isPicture(reading) ? NewEpoch{{}, {}, reading.epoch.surface} : reading.epoch);
    }
    joinOnlyPicture(epochs);
    return epochs;
}

QString factsOf(const NextEpoch& next) {
    const SurveyRaster& surface = next.epoch.surface;
    QString facts = surface.cloud
                        ? AddEpochDialog::tr("点云，约 %1 万点").arg(surface.cloud->points / 1e4, 0, 'f', 1)
                    : surface.files.size() > 1 ? AddEpochDialog::tr("%1 幅栅格").arg(surface.files.size())
                                               : AddEpochDialog::tr("一幅栅格");
    const QString definition = definitionOf(surface.reference);
    facts += AddEpochDialog::tr("，坐标系 %1")
                 .arg(definition.startsWith("EPSG:") ? definition
                                                     : QString::fromUtf8(surface.reference.GetName()));
    facts += AddEpochDialog::tr("，格网 %1").arg(surface.cellWidth, 0, 'g', 3);
    return (QStringList{facts} + next.notes).join('\n');
}

} // namespace

AddEpochDialog::AddEpochDialog(ProjectDescription project, Add add, QWidget* parent)
    : BaseDialog(parent), m_project(std::move(project)), m_add(std::move(add)), m_form(new EpochForm),
      m_facts(new QLabel), m_problem(new QLabel), m_progress(new QProgressBar),
      m_ok(new QPushButton(tr("添加"))), m_cancel(new QPushButton(tr("取消"))) {
    setObjectName("addEpochDialog");
    setWindowTitle(tr("添加期次"));
    setAcceptDrops(true);
    build();
    m_titleBar->setTitleContent(tr("添加期次"));
    m_titleBar->setButtonType(titleBar::OnlyClose);
    updateLayout();
    connect(m_form, &EpochForm::changed, this, &AddEpochDialog::read);
    connect(m_ok, &QPushButton::clicked, this, &AddEpochDialog::goOn);
    connect(m_cancel, &QPushButton::clicked, this, &AddEpochDialog::reject);
    connect(&m_jobs, &JobRunner::started, this, [this] { showMaking(true); });
    connect(&m_jobs, &JobRunner::finished, this, [this] { showMaking(false); });
    connect(&m_jobs, &JobRunner::progressed, this,
            [this](double fraction) { m_progress->setValue(int(fraction * kProgressSteps)); });
    refresh();
    m_form->setFocus();
}

void AddEpochDialog::build() {
    constexpr QSize kSize(680, 370);
    for (QLabel* label : {m_facts, m_problem}) {
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        label->setFocusPolicy(Qt::NoFocus);
    }
    m_facts->setObjectName("epochFacts");
    m_facts->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    m_problem->setObjectName("epochProblem");
    m_progress->setObjectName("epochProgress");
    m_progress->setRange(0, kProgressSteps);
    m_progress->hide();
    m_ok->setObjectName("addEpoch");
    m_ok->setDefault(true);
    m_cancel->setObjectName("cancelEpoch");
    m_cancel->setAutoDefault(false);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(m_problem, 1);
    buttons->addWidget(m_progress, 1);
    buttons->addWidget(m_ok);
    buttons->addWidget(m_cancel);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 16, 20, 14);
    column->setSpacing(12);
    column->addWidget(m_form);
    column->addWidget(m_facts, 1);
    column->addLayout(buttons);
    resize(kSize);
}

void AddEpochDialog::addFiles(const QStringList& files) {
    m_unsorted << files;
    m_sorter.ask([this, unsorted = m_unsorted] {
        const std::vector<NewEpoch> epochs = epochsOf(unsorted);
        return [this, unsorted, epochs] {
            if (m_unsorted == unsorted) { // otherwise the next answer has these, too
                takeEpochs(epochs);
            }
        };
    });
    refresh();
}

void AddEpochDialog::takeEpochs(const std::vector<NewEpoch>& epochs) {
    m_unsorted.clear();
    for (const NewEpoch& epoch : epochs) {
        if (epoch.surface.isEmpty() && !m_form->wish().epoch.surface.isEmpty()) {
            m_form->setPicture(epoch.picture);
        } else {
            m_waiting.push_back(epoch);
        }
    }
    if (m_form->wish().epoch.surface.isEmpty()) {
        takeNext();
    } else {
        read();
    }
}

void AddEpochDialog::takeNext() {
    if (!m_waiting.empty()) {
        m_form->setEpoch(m_waiting.front());
        m_waiting.erase(m_waiting.begin());
    }
    read();
}

void AddEpochDialog::read() {
    m_failure.clear();
    const EpochWish wish = m_form->wish();
    if (wish.epoch.surface.isEmpty()) {
        m_next.reset();
        m_readRevision = ++m_revision;
        refresh();
        return;
    }
    m_reader.ask([this, project = m_project, wish, revision = ++m_revision] {
        const auto next = std::make_shared<Result<NextEpoch>>(planEpochFor(project, wish));
        return [this, next, revision] {
            m_next = *next;
            m_readRevision = revision;
            refresh();
            if (m_goesOnWhenRead && !isReading()) {
                goOn();
            }
        };
    });
    refresh();
}

void AddEpochDialog::refresh() {
    const bool isSorting = !m_unsorted.isEmpty();
    const NextEpoch* next = m_next && *m_next ? &**m_next : nullptr;
    if (!isReading()) {
        m_form->showReading(next);
    }
    QStringList facts;
    if (next && !isReading()) {
        facts << factsOf(*next);
    }
    if (!m_waiting.empty()) {
        facts << tr("随后还有 %1 期").arg(m_waiting.size());
    }
    m_facts->setText(facts.join('\n'));
    const bool hasFailed = !m_failure.isEmpty() || (m_next && !*m_next && !isReading());
    m_problem->setStyleSheet(hasFailed ? theme::styleSheet("color: @danger;") : QString());
    m_problem->setText(isSorting || isReading() ? tr("正在读取文件…")
                       : !m_failure.isEmpty()   ? m_failure
                       : !m_next                ? tr("请选择新一期的表面模型或点云，也可将文件拖到这里")
                       : hasFailed              ? m_next->error().userMessage
                                                : QString());
    m_ok->setEnabled(!m_isMaking && (isReading() || next));
}

void AddEpochDialog::goOn() {
    m_goesOnWhenRead = isReading();
    if (!m_goesOnWhenRead && m_next && *m_next) {
        make(**m_next);
    }
}

void AddEpochDialog::make(const NextEpoch& next) {
    m_failure.clear();
    m_jobs.start(tr("添加期次"), [this, project = m_project, next,
                                  copies = m_form->wish().copiesFiles](const JobRunner::Progress& progress) {
        const auto made = std::make_shared<Result<MadeEpoch>>(makeEpoch(
            project, next, copies, [&progress](double fraction) { return progress(fraction, QString()); }));
        return [this, made] { finish(made); };
    });
}

void AddEpochDialog::finish(const std::shared_ptr<Result<MadeEpoch>>& made) {
    auto project = *made ? m_add(**made) : Result<ProjectDescription>(failed(*made));
    if (!project) {
        m_failure = project.error().userMessage;
        refresh();
        return;
    }
    m_project = *std::move(project);
    const QString title = m_project.keyOf((*made)->epoch());
    const QStringList notes = (*made)->notes();
    if (m_waiting.empty()) {
        accept();
    } else {
        takeNext();
    }
    emit added(title, notes);
}

void AddEpochDialog::showMaking(bool isMaking) {
    m_isMaking = isMaking;
    m_progress->setValue(0);
    m_progress->setVisible(isMaking);
    m_problem->setVisible(!isMaking);
    m_form->setEnabled(!isMaking);
    refresh();
    if (isMaking) {
        m_cancel->setFocus();
    }
}

void AddEpochDialog::done(int result) {
    if (m_isMaking) {
        m_jobs.cancel(); // it closes by a second press, when the work has ended
        return;
    }
    QDialog::done(result);
    // A read from a slow disk must not hold up the window that this one belongs to.
    for (LatestRead* read : {&m_sorter, &m_reader}) {
        connect(read, &LatestRead::finished, this, [this] {
            if (!m_sorter.isReading() && !m_reader.isReading()) {
                deleteLater();
            }
        });
    }
    if (!m_sorter.isReading() && !m_reader.isReading()) {
        deleteLater();
    }
}

void AddEpochDialog::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls() && !m_isMaking) {
        event->acceptProposedAction();
    }
}

void AddEpochDialog::dropEvent(QDropEvent* event) {
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
