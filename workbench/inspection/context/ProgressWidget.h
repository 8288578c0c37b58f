#pragma once

#include <QTimer>
#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

namespace inspection {

class JobRunner;

/// Shows what a job runner is doing and lets the user stop it; hidden while there is nothing to tell. For a
/// status bar.
class ProgressWidget : public QWidget {
    Q_OBJECT

public:
    /// `jobs` must outlive the widget.
    explicit ProgressWidget(JobRunner& jobs, QWidget* parent = nullptr);

public slots:
    /// Shows how the last work ended, for a while or until other work starts.
    void showResult(bool ok, const QString& text);

    /// Shows a message for a while, unless work is going on.
    void showMessage(const QString& text);

    /// Says that the program waits, and no longer when the text is empty. Is painted at once, since no events are
    /// handled meanwhile.
    void showWaiting(const QString& text);

    /// Tells how many anomalies are seen on the globe, where they take their time.
    void showPainting(int done, int all);

private slots:
    void onStarted(const QString& title);
    void onProgressed(double fraction, const QString& step);
    void onCancel();

private:
    void showBar(bool visible);

    JobRunner& m_jobs;
    QLabel* m_text;
    QProgressBar* m_bar;
    QPushButton* m_cancel;
    QTimer m_resultTime;
};

} // namespace inspection
