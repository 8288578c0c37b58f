#pragma once

#include "host/Export.h"
#include "host/style/BaseDialog.h"
#include "workbench/inspection/creation/ProjectDraft.h"
#include "workbench/inspection/session/JobRunner.h"

#include <QStringList>

#include <vector>

class QLabel;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QToolButton;

namespace inspection {

class ConfirmPage;
class DraftPage;
class PlanPreview;

/// Makes a project of a survey's files, page by page, with a view of it at the side. Opened with open(); destroys
/// itself when it is closed and nothing is being read or made any more. GUI thread.
class INSPECTION_API NewProjectDialog : public BaseDialog {
    Q_OBJECT

public:
    explicit NewProjectDialog(QWidget* parent = nullptr);

    /// What the user has pointed at: rasters and folders become epochs, another file the centre line.
    void addFiles(const QStringList& rasters, const QString& centerline);

    void done(int result) override;

signals:
    /// Files that were dropped on the dialog, for whoever tells rasters from vectors.
    void dropped(const QStringList& files);
    /// The project is complete and closed; `notes` has a Chinese line for what came out of each point cloud, and for all
    /// that was not brought in as it was.
    void created(const QString& folder, const QStringList& notes);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void build();
    QWidget* buildSteps();
    QWidget* buildButtons();
    void refresh();
    void showProblem();
    void goTo(int page);
    void goOn();
    bool isReachable(int page) const;
    void create();
    void showCreation(bool isCreating);
    void finish(const QString& folder, const QStringList& notes);
    int page() const;

    ProjectDraft m_draft;
    JobRunner m_jobs;
    std::vector<DraftPage*> m_pages;
    ConfirmPage* m_confirm;
    std::vector<QToolButton*> m_steps;
    QStackedWidget* m_stack;
    PlanPreview* m_preview;
    QLabel* m_problem;
    QProgressBar* m_progress;
    QPushButton* m_back;
    QPushButton* m_next;
    QPushButton* m_cancel;
    QString m_failure; ///< why the last creation ended without a project
    bool m_isCreating = false;
    bool m_goesOnWhenRead = false; ///< the user has pressed "next" while files were being read
};

} // namespace inspection
