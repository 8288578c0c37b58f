#pragma once

#include "host/viewer/CXViewer.h"
#include "workbench/viewer/Comparison.h"
#include "workbench/viewer/GlobeMap.h"

#include <QElapsedTimer>
#include <QOpenGLWidget>
#include <QTimer>
#include <osg/ref_ptr>

#include <functional>
#include <memory>
#include <set>

class Compass;
class EmbeddedViewer;
class EventTranslation;
class QLabel;
class ScaleBar;
class SwipeLine;

/// The globe as a widget: an OSG viewer inside a QOpenGLWidget, with a compass, a scale bar and a sign while the picture
/// is not complete for longer than a moment. Frames run on the GUI thread, and only when there is something new to draw.
/// While it lives it is g_pCXviewer.
class VIEWER_API GlobeWidget : public QOpenGLWidget, public CXViewer {
    Q_OBJECT

public:
    explicit GlobeWidget(QWidget* parent = nullptr);
    ~GlobeWidget() override;

    /// The surface format that OSG needs. Before QApplication is constructed.
    static void installSurfaceFormat();

    osgViewer::View* getViewer() override;
    osgEarth::Util::EarthManipulator* getManipulator() override;
    osgEarth::MapNode* getMapNode() override { return m_map.mapNode(); }
    /// Asks for a new frame after a change that the viewer cannot see by itself. Any thread.
    void requestRedraw();

    GlobeMap& map() { return m_map; }
    /// How the map's second picture is seen; `share` of it in a blend, 0 to 1.
    void compare(Comparison how, double share);
    /// What a swipe writes on its two sides.
    void setComparedTitles(const QString& other, const QString& shown);
    /// `work` runs before each frame and may change scene and event handlers. Not while an event handler
    /// waits for the user.
    void setWorkBetweenFrames(std::function<void()> work) { m_workBetweenFrames = std::move(work); }
    /// True when everything that the view needs is loaded and drawn.
    bool isPictureComplete();

signals:
    /// A picture is complete and nothing moves any more: the globe falls asleep until something changes.
    void pictureCompleted();
    /// Longitude and latitude in degrees and height in metres of the terrain under the pointer.
    void pointerOnGlobe(double lonDegrees, double latDegrees, double heightMetres);
    void pointerOffGlobe();
    /// Overviews of a large raster are being built; 100 when they are ready.
    void preparationChanged(int percent);
    /// Some of what is read patiently has come.
    void arrived();

protected:
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void wakeUp();
    void tick();
    void prepareFrame();
    void releaseHeldKeys();
    void showLoading(bool isLoading);
    void swipe();
    void turnNorth();
    void readInstruments();
    void reportPointer();
    void watchPreparation();

    GlobeMap m_map;
    osg::ref_ptr<osgEarth::Util::EarthManipulator> m_manipulator;
    osg::ref_ptr<EmbeddedViewer> m_viewer;
    std::unique_ptr<EventTranslation> m_events;
    std::function<void()> m_workBetweenFrames;
    Compass* m_compass;
    ScaleBar* m_scaleBar;
    SwipeLine* m_swipeLine;
    QLabel* m_loadingSign;
    QElapsedTimer m_loading; ///< since tiles are being loaded; invalid while they are not
    QTimer m_timer;
    QTimer m_preparationTimer;
    int m_preparationPercent = 100;
    int m_arrivals = 0;
    bool m_asleep = true;
    bool m_prepared = false;  ///< the scene was brought up to date at least once
    bool m_preparing = false; ///< events are being handed out; a handler may be waiting for the user
    bool m_pointerMoved = false;
    QPointF m_pointer;
    std::set<int> m_heldKeys;
};
