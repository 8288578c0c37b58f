#pragma once

#include "workbench/inspection/creation/DraftDialog.h"
#include "workbench/inspectiondata/amendment/ProjectLine.h"

namespace inspection {

class SettingsConfirmPage;

/// Changes the files, the line, the stations and the name of a project that there is. GUI thread.
class INSPECTION_API ProjectSettingsDialog : public DraftDialog {
    Q_OBJECT

public:
    explicit ProjectSettingsDialog(const PresentProject& present, QWidget* parent = nullptr);

signals:
    /// The project must be closed by whoever has it open; it is opened again after the next signal.
    void applying();
    /// The change is made, or was not and the dialog says why.
    void applied(bool isDone);

protected:
    void carryOut() override;
    QString problemOf(int page) const override;
    PlanSketch sketch() const override;

private:
    bool isLaidOut() const;
    QString keptText() const;

    const PresentProject m_present;
    SettingsConfirmPage* m_confirm = nullptr;
};

} // namespace inspection
