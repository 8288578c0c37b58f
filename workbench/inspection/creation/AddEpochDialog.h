#pragma once

#include "host/Export.h"
#include "host/style/BaseDialog.h"
#include "workbench/inspection/images/LatestRead.h"
#include "workbench/inspection/session/JobRunner.h"
#include "workbench/inspectiondata/creation/EpochAddition.h"

#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QLabel;
class QProgressBar;
class QPushButton;

namespace inspection {

class EpochForm;

/// Brings further epochs into an open project, one after the other. Opened with open(); destroys itself when it is
/// closed and nothing is being read or made any more. GUI thread.
class INSPECTION_API AddEpochDialog : public BaseDialog {
    Q_OBJECT

public:
    /// Adds what was made to the open project; gives the project as it is then.
    using Add = std::function<Result<ProjectDescription>(MadeEpoch& made)>;

    AddEpochDialog(ProjectDescription project, Add add, QWidget* parent = nullptr);

    /// What the user has pointed at: surface models, point clouds, folders of them, orthophotos. What makes further epochs
    /// waits for its turn.
    void addFiles(const QStringList& files);

    void done(int result) override;

signals:
    /// Files that were dropped on the dialog, for whoever tells rasters from vectors.
    void dropped(const QStringList& files);
    /// An epoch is in the project; `notes` are what the user should know, Chinese lines.
    void added(const QString& title, const QStringList& notes);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void build();
    void takeEpochs(const std::vector<NewEpoch>& epochs);
    void takeNext();
    void read();
    void goOn();
    void make(const NextEpoch& next);
    void finish(const std::shared_ptr<Result<MadeEpoch>>& made);
    void refresh();
    void showMaking(bool isMaking);
    bool isReading() const { return m_readRevision != m_revision; }

    ProjectDescription m_project;
    Add m_add;
    JobRunner m_jobs;
    LatestRead m_sorter; ///< of files into epochs
    LatestRead m_reader; ///< of the epoch in the form
    QStringList m_unsorted;
    std::vector<NewEpoch> m_waiting;
    std::optional<Result<NextEpoch>> m_next; ///< of the form, as it was read last
    quint64 m_revision = 0;
    quint64 m_readRevision = 0;
    QString m_failure;
    bool m_isMaking = false;
    bool m_goesOnWhenRead = false; ///< the user has pressed "add" while files were being read
    EpochForm* m_form;
    QLabel* m_facts;
    QLabel* m_problem;
    QProgressBar* m_progress;
    QPushButton* m_ok;
    QPushButton* m_cancel;
};

} // namespace inspection
