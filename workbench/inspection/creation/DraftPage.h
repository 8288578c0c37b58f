#pragma once

#include "workbench/inspection/creation/ProjectDraft.h"

#include <QWidget>

namespace inspection {

/// A page of the dialog that makes a project: shows one side of the draft and lets the user change it. GUI thread.
class DraftPage : public QWidget {
    Q_OBJECT

public:
    /// `draft` must outlive the page.
    explicit DraftPage(ProjectDraft& draft, QWidget* parent = nullptr) : QWidget(parent), m_draft(draft) {}

    virtual QString title() const = 0;
    /// Why the user cannot go on from here, one Chinese line; empty when he can.
    virtual QString problem() const = 0;

protected:
    ProjectDraft& m_draft;
};

} // namespace inspection
