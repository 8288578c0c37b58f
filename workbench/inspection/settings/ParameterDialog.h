#pragma once

#include "host/inspection/ParaSet.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

class QComboBox;
class QScrollArea;
class QToolButton;

namespace inspection {

class ColourButton;
class DetectionFields;
class Session;

/// The project's parameters and the dialog in which the user sets them. GUI thread.
class ParameterDialog : public ParaSet {
    Q_OBJECT

public:
    /// `session` must outlive the dialog.
    explicit ParameterDialog(Session& session, QWidget* parent = nullptr);
    ~ParameterDialog() override;

    void OnSetPara() override;
    int GetOverlayMode() const override; ///< any thread

private slots:
    void showDefaults();
    void confirm();
    void unfold(bool isOpen);

private:
    void build();
    void buildAdvanced();
    void moveOntoScreen();
    void showParameters(const ProjectParameters& parameters);
    ProjectParameters entered() const;

    Session& m_session;
    DetectionFields* m_detection;
    QToolButton* m_more;     ///< folds the advanced parameters away
    QScrollArea* m_advanced; ///< not wholly visible on a small screen
    ColourButton* m_fillColour;
    ColourButton* m_cutColour;
    QComboBox* m_overlayMode;
};

} // namespace inspection
