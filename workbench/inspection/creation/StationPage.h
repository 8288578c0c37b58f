#pragma once

#include "workbench/inspection/creation/DraftPage.h"

#include <functional>

class QDoubleSpinBox;
class QLabel;

namespace inspection {

class FileField;

/// How the stations of a project are laid out.
class StationPage : public DraftPage {
    Q_OBJECT

public:
    explicit StationPage(ProjectDraft& draft, QWidget* parent = nullptr);

    QString title() const override { return tr("站段"); }
    QString problem() const override { return m_draft.reading().stationProblem; }
    /// Gives what stands in place of the summary while stations are not laid out; empty when they are.
    void setKeptText(const std::function<QString()>& text);

private:
    void refresh();
    QString summary() const;

    QDoubleSpinBox* m_length;
    QDoubleSpinBox* m_halfWidth;
    FileField* m_file;
    QLabel* m_summary;
    std::function<QString()> m_keptText;
};

} // namespace inspection
