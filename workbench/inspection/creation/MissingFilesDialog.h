#pragma once

#include "host/Export.h"
#include "host/style/BaseDialog.h"
#include "workbench/inspectiondata/amendment/MissingFiles.h"

class QLabel;
class QTreeWidget;

namespace inspection {

/// Names the files of a project that are not there and lets the user say where they lie now: he chooses one, and others
/// that went the same way are found with it. Closes itself when none is missing any more. The project must be open
/// nowhere in this program. GUI thread.
class INSPECTION_API MissingFilesDialog : public BaseDialog {
    Q_OBJECT

public:
    explicit MissingFilesDialog(const ProjectDescription& project, QWidget* parent = nullptr);

private:
    void build();
    void showFiles();
    void locate();

    ProjectDescription m_project;
    std::vector<MissingFile> m_missing;
    QTreeWidget* m_files;
    QLabel* m_problem;
};

} // namespace inspection
