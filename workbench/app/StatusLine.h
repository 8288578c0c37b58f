#pragma once

#include <QObject>

class GlobeWidget;
class Notice;
class QLabel;
class QMainWindow;

/// What the main window's status bar tells: the active tool's line, what was done and what can be done about it, what the
/// inspection library is doing, and where the pointer is on the globe. GUI thread.
class StatusLine : public QObject {
    Q_OBJECT

public:
    /// Fills the window's status bar. Both must outlive it.
    StatusLine(QMainWindow& window, const GlobeWidget& globe);

    /// In place of the active tool's line, until that is another.
    void tell(const QString& text);

signals:
    /// The user wants the edit undone that was told last.
    void undoAsked();

private:
    void offerUndo(const QString& description);
    void offerOutput(const QString& kind, bool ok, const QString& path);
    void showPreparation(int percent);
    void showPointer(double lonDegrees, double latDegrees, double heightMetres);

    QLabel* m_tip;
    Notice* m_notice;
    QLabel* m_preparation;
    QLabel* m_coordinates;
};
