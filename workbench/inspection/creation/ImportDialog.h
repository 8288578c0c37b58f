#pragma once

#include "host/Export.h"
#include "host/style/BaseDialog.h"
#include "workbench/inspection/session/JobRunner.h"
#include "workbench/inspectiondata/database/SpecialObjectImport.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QStringList>

class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;

namespace inspection {

class FileField;

/// Brings special objects out of vector files into an open project, file after file. Opened with open(); destroys itself
/// when it is closed. GUI thread.
class INSPECTION_API ImportDialog : public BaseDialog {
    Q_OBJECT

public:
    explicit ImportDialog(ProjectDescription project, QWidget* parent = nullptr);

    /// The first one comes into the form, the others wait for their turn.
    void addFiles(const QStringList& files);

    void done(int result) override;

signals:
    /// The project has other special objects than before.
    void imported();

private:
    void build();
    void takeNext();
    void guessType();
    SpecialObjectFile file() const;
    void import();
    void finish(const QString& path, const Result<SpecialObjectImport>& outcome);
    void refresh();
    void showWork(bool isWorking);

    ProjectDescription m_project;
    JobRunner m_jobs;
    QStringList m_waiting;
    FileField* m_file;
    QComboBox* m_type;
    QLineEdit* m_reference;
    QPlainTextEdit* m_outcome;
    QLabel* m_hint;
    QProgressBar* m_progress;
    QPushButton* m_import;
    QPushButton* m_close;
};

} // namespace inspection
