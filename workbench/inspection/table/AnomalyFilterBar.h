#pragma once

#include "workbench/inspection/table/AnomalyFilter.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;

namespace inspection {

/// The line above the anomaly table: what the table holds, and the three filters. The attribute filter's
/// entries say how many anomalies each class has. GUI thread.
class AnomalyFilterBar : public QWidget {
    Q_OBJECT

public:
    explicit AnomalyFilterBar(QWidget* parent = nullptr);

    void setSummary(const QString& text);
    /// Counts the classes of these anomalies; the chosen filters stay.
    void setAnomalies(const std::vector<SdiffData>& anomalies);

signals:
    void attributeChosen(AttributeFilter filter);
    void signChosen(SignFilter filter);
    void significanceChosen(SignificanceFilter filter);

private:
    QLabel* m_summary;
    QComboBox* m_attribute;
    QComboBox* m_sign;
    QCheckBox* m_significant;
};

} // namespace inspection
