#pragma once

#include "workbench/inspection/creation/DraftPage.h"

class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace inspection {

class FileField;

/// The epochs of a new project, and its reference system.
class EpochPage : public DraftPage {
    Q_OBJECT

public:
    explicit EpochPage(ProjectDraft& draft, QWidget* parent = nullptr);

    QString title() const override { return tr("期次"); }
    QString problem() const override;

private:
    void build();
    QWidget* buildButtons();
    QWidget* buildDetails();
    void refresh();
    void showRows();
    void showDetails();
    int current() const;
    void addFiles();
    void addFolder();
    void remove();
    void moveUp();
    void setDate();
    void setPicture(const QString& file);
    void setReference();

    QPushButton* m_addFiles;
    QTreeWidget* m_rows;
    QPushButton* m_remove;
    QPushButton* m_up;
    QWidget* m_details = nullptr;
    QLineEdit* m_date;
    FileField* m_picture;
    QLineEdit* m_reference;
};

} // namespace inspection
