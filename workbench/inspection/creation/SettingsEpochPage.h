#pragma once

#include "workbench/inspection/creation/DraftPage.h"

class QComboBox;
class QLabel;
class QTreeWidget;

namespace inspection {

class FileField;

/// The files of a project's epochs, and what their heights count from.
class SettingsEpochPage : public DraftPage {
    Q_OBJECT

public:
    explicit SettingsEpochPage(ProjectDraft& draft, QWidget* parent = nullptr);

    QString title() const override { return tr("期次"); }
    QString problem() const override { return m_draft.reading().epochProblem; }

private:
    void build();
    void refresh();
    void showRows();
    void showDetails();
    void showHeights(const QString& heights);
    int current() const;
    /// Changes the epoch that is chosen.
    void change(const std::function<void(NewEpoch&)>& edit);

    QTreeWidget* m_rows;
    FileField* m_surface;
    FileField* m_picture;
    QComboBox* m_heights;
    QLabel* m_notes;
};

} // namespace inspection
