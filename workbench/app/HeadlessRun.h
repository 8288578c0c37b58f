#pragma once

#include <QElapsedTimer>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <functional>

class MainWindow;
class QAbstractButton;
class QWidget;

/// Does the whole job as a user would, with mouse and key events on the real window: ticks the stations,
/// computes the anomalies, turns the view to the north, writes report and shape files, looks at the first
/// anomaly. Leaves in its folder window.png, report.pdf, the shape files and summary.json. GUI thread.
class HeadlessRun : public QObject {
    Q_OBJECT

public:
    /// `sinceStart` has run since the program started.
    HeadlessRun(MainWindow& window, const QString& folder, const QElapsedTimer& sinceStart);

    /// Returns the exit status: 0 when every step worked, 1 otherwise. Prints a summary on standard output
    /// and the cause of a failure, one line, on standard error.
    int run();

private:
    using Step = bool (HeadlessRun::*)();

    bool showCorridor();
    bool tickStations();
    bool computeAnomalies();
    bool turnNorth();
    bool writeReport();
    bool writeShapes();
    bool lookAtFirstAnomaly();
    bool saveWindow();

    bool runStep(const char* name, Step step);
    bool pressTool(const QString& buttonName);
    bool waitUntil(const std::function<bool()>& done, const QString& what);
    bool pressAndWaitForOutput(const QString& buttonName);
    bool fail(const QString& cause);
    void dismissMessages();
    bool writeSummary(bool worked);
    void printSummary() const;

    MainWindow& m_window;
    QString m_folder;
    QElapsedTimer m_sinceStart;
    QTimer m_messageWatch;
    QStringList m_messages; ///< what message boxes said, for the cause of a failure
    QString m_failure;
    QJsonObject m_seconds;
    QJsonObject m_results;
};
