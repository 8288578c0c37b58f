#pragma once

#include "workbench/inspection/creation/DraftDialog.h"

#include <QStringList>

namespace inspection {

class ConfirmPage;

/// Makes a project of a survey's files. GUI thread.
class INSPECTION_API NewProjectDialog : public DraftDialog {
    Q_OBJECT

public:
    explicit NewProjectDialog(QWidget* parent = nullptr);

    /// What the user has pointed at: rasters and folders become epochs, another file the centre line.
    void addFiles(const QStringList& rasters, const QString& centerline);

signals:
    /// Files that were dropped on the dialog, for whoever tells rasters from vectors.
    void dropped(const QStringList& files);
    /// The project is complete and closed; `notes` has a Chinese line for what came out of each point cloud, and for all
    /// that was not brought in as it was.
    void created(const QString& folder, const QStringList& notes);

protected:
    void carryOut() override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void finish(const QString& folder, const QStringList& notes);

    ConfirmPage* m_confirm;
};

} // namespace inspection
