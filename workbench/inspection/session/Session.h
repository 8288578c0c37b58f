#pragma once

#include "workbench/inspection/session/JobRunner.h"
#include "workbench/inspection/session/RevisionWatch.h"
#include "workbench/inspectiondata/compute/EpochRemoval.h"
#include "workbench/inspectiondata/creation/EpochAddition.h"
#include "workbench/inspectiondata/database/ComparisonTable.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace inspection {

class StationWork;

/// What the inspection windows share: the open project with its database, the long work that is going on, and
/// the way to the user. GUI thread.
class Session : public QObject {
    Q_OBJECT

public:
    explicit Session(QWidget* mainWindow);
    ~Session() override;

    /// Replaces the open project. One that cannot be written, or that another program has open, is opened for
    /// reading. On failure the open project stays as it is, and the answer says why.
    Status open(const QString& folder);
    /// Running work is cancelled first.
    void close();

    /// Null while no project is open.
    const Project* project() const { return m_project ? &*m_project : nullptr; }
    PipelineDatabase* database() const { return m_database.get(); }
    /// Null while no project is open.
    mysqlhelper::KV_MySQL* connection() const;
    /// Why the open project cannot be changed, one Chinese line; empty when it can.
    const QString& readOnlyReason() const { return m_readOnlyReason; }
    /// The project's parameters, or the defaults while no project is open.
    ProjectParameters parameters() const;
    /// That one of them which says how anomalies are picked on the globe. Any thread.
    OverlayMode overlayMode() const { return m_overlayMode; }
    /// Stores them in the project and announces them.
    Status setParameters(const ProjectParameters& parameters);
    /// Stores them in the project, bottom first.
    Status setBaseLayers(const std::vector<BaseLayer>& layers);

    /// Adds an epoch that was made for the project, and announces it. Refused while work is going on.
    Status addEpoch(MadeEpoch& epoch);
    /// Takes an epoch and its results away, as inspection::removeEpoch() does, and announces it. Refused while work is going on.
    Status removeEpoch(const QString& key, Verdicts verdicts);
    /// Special objects have been brought in beside the windows; they show them.
    void showImported();

    /// The pairs of epochs that have results; empty when they cannot be read.
    std::vector<Comparison> comparisons() const;
    /// The id of the compared pair's comparison, whose anomalies the windows show; kNoComparison while it was
    /// never computed or cannot be read. Asked for with every edit, so that a known one is kept.
    std::int64_t comparisonId();
    /// Chooses the pair whose results are shown and computed, and announces it. Refused while work is going on.
    Status setComparedPair(const EpochPair& pair);

    JobRunner& jobs() { return m_jobs; }
    /// Work on whole stations, done by the jobs.
    StationWork& work() { return *m_work; }
    /// The edits of the open project.
    ProjectHistory& history() { return m_history; }
    QWidget* mainWindow() const { return m_mainWindow; }

    /// Where outputs go without asking; empty means that the user is asked.
    void setOutputFolder(const QString& folder) { m_outputFolder = folder; }
    const QString& outputFolder() const { return m_outputFolder; }
    /// Gives what the globe shows, for the report.
    void setMapPictureSource(std::function<QImage()> source) { m_mapPicture = std::move(source); }
    QImage mapPicture() const { return m_mapPicture ? m_mapPicture() : QImage(); }

    /// While that editor of a row is open, what others do is not shown: the user's words must not be taken from
    /// under him, and are to be stored against what he has seen. Null is none.
    void holdNewsWhileOpen(QWidget* editor);

    /// Something that needs no answer; one Chinese line.
    void notice(const QString& text) { emit noticed(text); }
    /// One message box titled "提示"; waits for the user. What others do is shown meanwhile.
    void warn(const QString& text) const;
    void inform(const QString& text) const;
    /// The same with yes and no; true for yes. What others do is not shown before the answer.
    bool ask(const QString& question) const;
    /// The same where yes may destroy what somebody else did; no is the default.
    bool askCautiously(const QString& question) const;

    /// True when the last statement found no server: what the user did is not stored, and can be done again.
    bool isServerLost() const;

    /// Looks at once what others have done.
    void catchUp();

signals:
    void opened();
    /// The project is about to go; its database still answers.
    void closing();
    void parametersChanged();
    /// The windows have to show the results of another pair of epochs.
    void comparedPairChanged();
    /// The project has other epochs.
    void epochsChanged();
    /// Special objects are other ones now than the windows show.
    void objectsReplaced();
    /// Something that needs no answer; one Chinese line.
    void noticed(const QString& message);
    /// The database does not answer, or does again; one Chinese line.
    void connectionChanged(const QString& message);
    /// The GUI thread waits for the database from now on, and no longer when the line is empty. It handles no events
    /// meanwhile.
    void waiting(const QString& message);

private:
    struct Opened;
    static Result<Opened> openBeside(const QString& folder, Project::Access access);
    static Result<Opened> openAsFarAsPossible(const QString& folder);
    bool isOpen(const QString& folder) const;
    Status take(Opened opened);
    /// The open project, or why nothing can be stored in it now.
    Result<Project*> projectToChange();
    void tellOfOtherEpochs(const EpochPair& before, const EpochPair& now);
    void forget();
    void watchOthers();
    void setPatience(bool isServerLost);
    void takeLoss(const QString& cause);
    void takeReturn();
    bool isEditorOpen();
    void takeStepsOfOthers(qint64 newestRevision);
    bool asks(const QString& question, int buttons) const;
    /// An undo of what the windows do not show is told.
    void tellOfOtherPair(const RowChanges& changes, Showing showing);

    QPointer<QWidget> m_mainWindow;
    std::optional<Project> m_project;
    std::unique_ptr<PipelineDatabase> m_database;
    std::unique_ptr<RevisionWatch> m_watch; ///< none where nobody else can change the data
    std::atomic<OverlayMode> m_overlayMode{OverlayMode::Hover};
    std::int64_t m_comparisonId = kNoComparison; ///< of the compared pair, once it is known
    QString m_readOnlyReason;
    mutable bool m_isAsking = false;
    std::vector<QPointer<QWidget>> m_editors; ///< of rows
    QString m_outputFolder;
    std::function<QImage()> m_mapPicture;
    ProjectHistory m_history;
    JobRunner m_jobs;
    std::unique_ptr<StationWork> m_work;
};

} // namespace inspection
