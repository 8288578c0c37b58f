#pragma once

#include "host/style/BaseDialog.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

class QListWidget;
class QPushButton;

/// Chooses the epoch that leaves the project. GUI thread.
class RemoveEpochDialog : public BaseDialog {
    Q_OBJECT

public:
    RemoveEpochDialog(const inspection::ProjectDescription& project, QWidget* parent);

    /// Key of the chosen epoch.
    QString key() const;

private:
    QListWidget* m_epochs;
    QPushButton* m_remove;
};
