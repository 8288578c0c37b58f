#pragma once

#include "workbench/inspection/images/LatestRead.h"

#include <QWidget>

#include <vector>

class QGridLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class RecentCard;

/// What the window shows while no project is open: the ways to one. GUI thread.
class StartPage : public QWidget {
    Q_OBJECT

public:
    explicit StartPage(QWidget* parent = nullptr);

    /// Shows the recent projects anew; whether they are there is looked up beside the GUI thread.
    void showRecent();
    /// How far the sample project is, 0..100; a negative number when none is being made.
    void showSampleProgress(int percent);

signals:
    void newRequested();
    void openRequested();
    void projectChosen(const QString& folder);
    void sampleRequested();
    void sampleCancelled();

private:
    QWidget* buildActions();
    QWidget* buildRecent();
    void addCard(RecentCard* card);

    QPushButton* m_new;
    QPushButton* m_sample = nullptr;
    QWidget* m_lastAction = nullptr;
    QWidget* m_making = nullptr; ///< progress of the sample project
    QProgressBar* m_progress = nullptr;
    QLabel* m_none = nullptr;
    QGridLayout* m_grid = nullptr;
    std::vector<RecentCard*> m_cards;
    inspection::LatestRead m_lookUp;
};
