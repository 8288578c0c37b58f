#pragma once

#include "workbench/inspection/creation/DraftPage.h"

class QLabel;
class QLineEdit;
class QRadioButton;
class QTreeWidget;

namespace inspection {

class FileField;

/// Name and folder of a new project, what happens to its rasters, and what is brought in.
class ConfirmPage : public DraftPage {
    Q_OBJECT

public:
    explicit ConfirmPage(ProjectDraft& draft, QWidget* parent = nullptr);

    QString title() const override { return tr("确认"); }
    QString problem() const override;
    /// Where the project is to be made, and its name.
    QString folder() const;
    QString name() const;

signals:
    void changed();

private:
    QWidget* buildRasters();
    QWidget* buildObjects();
    void refresh();
    void showObjects();
    void addObjects(KV_ObjectType type);
    void removeObjects();
    QString summary() const;

    QLineEdit* m_name;
    FileField* m_folder;
    QRadioButton* m_refers;
    QRadioButton* m_copies;
    QTreeWidget* m_objects;
    QLabel* m_summary;
    bool m_isNameOwn = false; ///< the user's, no longer a suggestion
    bool m_isFolderOwn = false;
};

/// A folder for a project of that name among the user's documents; one that is there and not empty gets a number.
QString suggestedFolder(const QString& documents, const QString& name);

} // namespace inspection
