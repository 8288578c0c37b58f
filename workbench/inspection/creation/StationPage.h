#pragma once

#include "workbench/inspection/creation/DraftPage.h"

class QDoubleSpinBox;
class QLabel;

namespace inspection {

class FileField;

/// How the stations of a new project are laid out.
class StationPage : public DraftPage {
    Q_OBJECT

public:
    explicit StationPage(ProjectDraft& draft, QWidget* parent = nullptr);

    QString title() const override { return tr("站段"); }
    QString problem() const override { return m_draft.reading().stationProblem; }

private:
    void refresh();
    QString summary() const;

    QDoubleSpinBox* m_length;
    QDoubleSpinBox* m_halfWidth;
    FileField* m_file;
    QLabel* m_summary;
};

} // namespace inspection
