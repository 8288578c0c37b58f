#include "workbench/inspection/creation/ProjectSettingsDialog.h"

#include "workbench/inspection/creation/PipelinePage.h"
#include "workbench/inspection/creation/SettingsConfirmPage.h"
#include "workbench/inspection/creation/SettingsEpochPage.h"
#include "workbench/inspection/creation/SettingsWish.h"
#include "workbench/inspection/creation/StationPage.h"
#include "workbench/inspectiondata/amendment/AmendProject.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"

namespace inspection {

namespace {

constexpr int kPipelinePage = 1;
constexpr int kStationPage = 2;

/// Opens the project for this alone. Any thread.
Status applyTo(const PresentProject& present, const AmendmentWish& wish, const AmendmentProgress& progress) {
    auto project = Project::open(present.description.folder);
    if (!project) {
        return failed(project);
    }
    const auto database = PipelineDatabase::open(project->description(), project->access());
    if (!database) {
        return failed(database);
    }
    auto amendment = planAmendment(project->description(), present.stations, wish);
    if (!amendment) {
        return failed(amendment);
    }
    const auto done = amendProject(*project, *(*database)->GetMySQL(), *std::move(amendment), progress);
    return done ? Status() : failed(done);
}

} // namespace

ProjectSettingsDialog::ProjectSettingsDialog(const PresentProject& present, QWidget* parent)
    : DraftDialog(tr("项目设置"), tr("应用"), parent), m_present(present) {
    setObjectName("projectSettingsDialog");
    m_draft.change([&present](NewProject& wish) { wish = present.wish; });
    auto* stations = new StationPage(m_draft);
    m_confirm = new SettingsConfirmPage(m_draft, present);
    setPages({new SettingsEpochPage(m_draft), new PipelinePage(m_draft), stations, m_confirm});
    stations->setKeptText([this] { return keptText(); });
    connect(m_confirm, &SettingsConfirmPage::changed, this, &ProjectSettingsDialog::refresh);
}

bool ProjectSettingsDialog::isLaidOut() const {
    return laysOut(settingsWish(m_present, m_draft.wish(), m_present.description.name));
}

QString ProjectSettingsDialog::keptText() const {
    return isLaidOut()
               ? QString()
               : tr("现有的 %1 个站段保持不变；更改以上任何一项，或更改中心线，即重新划分站段。异常、判定和"
                    "撤销记录在重新划分时全部保留。")
                     .arg(m_present.stations.size());
}

/// What stays as it is need not be possible anew.
QString ProjectSettingsDialog::problemOf(int page) const {
    const auto& line = m_draft.wish().centerline;
    const bool isKept = page == kStationPage || (page == kPipelinePage && line && line->isOwn);
    return isKept && !isLaidOut() ? QString() : DraftDialog::problemOf(page);
}

PlanSketch ProjectSettingsDialog::sketch() const {
    PlanSketch sketch = DraftDialog::sketch();
    if (!isLaidOut()) {
        sketch.stations.clear();
        for (const KV_Station& station : m_present.stations) {
            sketch.stations.emplace_back(QPointF(station.m_xMin, station.m_yMin),
                                         QPointF(station.m_xMax, station.m_yMax));
        }
    }
    return sketch;
}

void ProjectSettingsDialog::carryOut() {
    emit applying();
    m_jobs.start(tr("更改项目"), [this, present = m_present,
                                  wish = m_confirm->wish()](const JobRunner::Progress& progress) {
        const Status done =
            applyTo(present, wish, [&progress](double fraction) { return progress(fraction, QString()); });
        const QString failure = done ? QString() : done.error().userMessage;
        return [this, failure] {
            emit applied(failure.isEmpty());
            if (failure.isEmpty()) {
                accept();
            } else {
                fail(failure);
            }
        };
    });
}

} // namespace inspection
