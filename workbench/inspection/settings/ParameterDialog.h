#pragma once

#include "host/inspection/ParaSet.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

class QComboBox;
class QDoubleSpinBox;

namespace inspection {

class ColourButton;
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

private:
    void build();
    void showParameters(const ProjectParameters& parameters);
    ProjectParameters entered() const;

    Session& m_session;
    QDoubleSpinBox* m_threshold;
    QDoubleSpinBox* m_minArea;
    QComboBox* m_coregistration;
    ColourButton* m_fillColour;
    ColourButton* m_cutColour;
    QComboBox* m_overlayMode;
};

} // namespace inspection
