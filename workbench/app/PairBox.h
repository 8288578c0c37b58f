#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QComboBox>
#include <QStringList>

#include <vector>

/// Chooses the pair of epochs whose results the windows show, the newest pair first. Pairs with results are
/// marked.
class PairBox : public QComboBox {
    Q_OBJECT

public:
    explicit PairBox(QWidget* parent = nullptr);

    /// Offers the pairs of the open project; nothing without one.
    void showProject();
    /// Marks the pairs that have results now.
    void markComputed();
    /// The pair of the open project is the current one again.
    void showCurrent();

    /// Others may have computed a pair meanwhile.
    void showPopup() override;

protected:
    /// A wheel that comes past does not choose another pair.
    void wheelEvent(QWheelEvent* event) override;

signals:
    void pairChosen(const inspection::EpochPair& pair);

private:
    std::vector<inspection::EpochPair> m_pairs; ///< in the order of the entries
    QStringList m_titles;                       ///< of them
};
