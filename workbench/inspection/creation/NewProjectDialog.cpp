#include "workbench/inspection/creation/NewProjectDialog.h"

#include "workbench/inspection/creation/ConfirmPage.h"
#include "workbench/inspection/creation/EpochPage.h"
#include "workbench/inspection/creation/PipelinePage.h"
#include "workbench/inspection/creation/StationPage.h"
#include "workbench/inspectiondata/creation/CreateProject.h"

#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

namespace inspection {

namespace {

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
    : DraftDialog(tr("新建项目"), tr("创建"), parent), m_confirm(new ConfirmPage(m_draft)) {
    setObjectName("newProjectDialog");
    setAcceptDrops(true);
    setPages({new EpochPage(m_draft), new PipelinePage(m_draft), new StationPage(m_draft), m_confirm});
    connect(m_confirm, &ConfirmPage::changed, this, &NewProjectDialog::refresh);
    m_draft.change([](NewProject&) {});
}

void NewProjectDialog::addFiles(const QStringList& rasters, const QString& centerline) {
    if (!rasters.isEmpty()) {
        m_draft.addEpochs(rasters);
    }
    if (!centerline.isEmpty()) {
        m_draft.setCenterline(centerline);
    }
}

void NewProjectDialog::carryOut() {
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
                             fail(failure);
                         }
                     };
                 });
}

void NewProjectDialog::finish(const QString& folder, const QStringList& notes) {
    accept();
    emit created(folder, notes);
}

void NewProjectDialog::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls() && !isCarryingOut()) {
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
