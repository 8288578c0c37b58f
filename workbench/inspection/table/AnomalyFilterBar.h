#pragma once

#include "workbench/inspection/table/AnomalyFilter.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QMenu;
class QToolButton;
class SearchField;

namespace inspection {

/// The lines above the anomaly table: what the table holds, words to look for, and the filters. The attribute
/// filter's entries say how many anomalies each class has. GUI thread.
///
/// Keys: Escape takes the words away, or goes back to the table where there are none; Enter and the arrow down go there.
class AnomalyFilterBar : public QWidget {
    Q_OBJECT

public:
    explicit AnomalyFilterBar(QWidget* parent = nullptr);

    void setSummary(const QString& text);
    /// Counts the classes of these rows; what is chosen stays.
    void setRows(const std::vector<AnomalyRow>& rows);
    AnomalyCriteria criteria() const;
    /// What the export button opens.
    void setExportMenu(QMenu* menu);

public slots:
    /// The focus goes to the words.
    void search();
    void clearWords();

signals:
    void criteriaChanged();
    /// The user is done with the words.
    void left();

private:
    void build();
    void fillFilters();

    QLabel* m_summary;
    SearchField* m_words;
    QToolButton* m_export;
    QComboBox* m_attribute;
    QComboBox* m_suggested;
    QComboBox* m_distance;
    QComboBox* m_sign;
    QCheckBox* m_significant;
};

} // namespace inspection
