#pragma once

#include "host/Export.h"
#include "host/style/BaseDialog.h"
#include "workbench/inspection/creation/ProjectDraft.h"
#include "workbench/inspection/session/JobRunner.h"

#include <vector>

class QLabel;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QToolButton;

namespace inspection {

class DraftPage;
class PlanPreview;

/// What the user wants of a project, page by page, with a view of it at the side; after the last page it is carried out.
/// Opened with open(); destroys itself when it is closed and nothing is being read or made any more. GUI thread.
class INSPECTION_API DraftDialog : public BaseDialog {
    Q_OBJECT

public:
    void done(int result) override;

protected:
    /// `lastWord` stands on the button of the last page.
    DraftDialog(const QString& title, const QString& lastWord, QWidget* parent);

    /// Once, in the constructor. The dialog owns them.
    void setPages(const std::vector<DraftPage*>& pages);
    /// Does what the pages say, by m_jobs; ends with accept() or with fail(). The user has gone past the last page.
    virtual void carryOut() = 0;
    /// Why the user cannot go on from a page, one Chinese line; empty when he can.
    virtual QString problemOf(int page) const;
    /// What the view at the side shows.
    virtual PlanSketch sketch() const { return m_draft.reading().sketch; }

    /// Why carrying out has ended without success.
    void fail(const QString& failure);
    void refresh();
    int page() const;
    bool isCarryingOut() const { return m_isCarryingOut; }
    void keyPressEvent(QKeyEvent* event) override;

    ProjectDraft m_draft;
    JobRunner m_jobs;

private:
    void build();
    QWidget* buildSteps();
    QWidget* buildButtons();
    void showProblem();
    void goTo(int page);
    void goOn();
    bool isReachable(int page) const;
    void showWork(bool isCarryingOut);

    const QString m_lastWord;
    std::vector<DraftPage*> m_pages;
    std::vector<QToolButton*> m_steps;
    QStackedWidget* m_stack;
    PlanPreview* m_preview;
    QLabel* m_problem;
    QProgressBar* m_progress;
    QPushButton* m_back;
    QPushButton* m_next;
    QPushButton* m_cancel;
    QString m_failure;
    bool m_isCarryingOut = false;
    bool m_goesOnWhenRead = false; ///< the user has pressed "next" while files were being read
};

} // namespace inspection
