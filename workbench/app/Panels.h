#pragma once

#include <QByteArray>
#include <QObject>

#include <array>

class GlobeWidget;
class QDockWidget;
class QMainWindow;
class QMenu;

/// The inspection library's windows around the globe: where they lie, which of them are shown, and that the user finds
/// them as they were left. GUI thread.
class Panels : public QObject {
    Q_OBJECT

public:
    /// Puts them around the globe, which the window has in its middle. Both must outlive it.
    Panels(QMainWindow& window, GlobeWidget& globe);

    void setTableTitle(const QString& title);
    /// Hides all of them while there is nothing that they could show, and brings those back that were seen.
    void setUsable(bool areUsable);
    /// The globe fills the window, or does no longer.
    void setGlobeAlone(bool isAlone);
    bool isGlobeAlone() const { return m_isGlobeAlone; }

    /// What can be done about them.
    void fillMenu(QMenu& menu);
    /// Everything as it is the first time.
    void reset();
    /// Size and place of the window and its panels as keep() stored them, as far as the screen has room.
    void restore();
    void keep() const;

signals:
    /// The orthophotos are to be that opaque, 0 to 1.
    void imageryOpacityChanged(double opacity);

private:
    QDockWidget* addDock(const QString& title, const QString& name, QWidget* content);
    void arrange();
    /// Moves the focus to the next (1) or previous (-1) of the panes.
    void goToPane(int step);
    void collapse();
    void expand();

    QMainWindow& m_window;
    GlobeWidget& m_globe;
    QDockWidget* m_stations;
    QDockWidget* m_layers;
    QDockWidget* m_table;
    QDockWidget* m_images;
    std::array<QDockWidget*, 4> m_docks;
    QByteArray m_expanded; ///< how they lay before they were hidden; empty while they are not
    bool m_areUsable = true;
    bool m_isGlobeAlone = false;
};
