#pragma once

#include "workbench/inspection/creation/DraftPage.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;

namespace inspection {

class FileField;

/// The centre line of a new project, if it has one.
class PipelinePage : public DraftPage {
    Q_OBJECT

public:
    explicit PipelinePage(ProjectDraft& draft, QWidget* parent = nullptr);

    QString title() const override { return tr("管道"); }
    QString problem() const override;

private:
    void build();
    QWidget* buildChainage();
    void connectFields();
    void refresh();
    void showLayers(const CenterlineSource& source);
    void changeSource(const std::function<void(CenterlineSource&)>& edit);
    void setStart();
    QString summary() const;

    FileField* m_file;
    QWidget* m_settings;
    QLabel* m_layerCaption;
    QComboBox* m_layer;
    QCheckBox* m_isTurned;
    QRadioButton* m_byStart;
    QRadioButton* m_byPosts;
    QLineEdit* m_start;
    FileField* m_posts;
    QLineEdit* m_reference;
    QLabel* m_summary;
    QString m_startProblem; ///< what was entered is no chainage
};

} // namespace inspection
