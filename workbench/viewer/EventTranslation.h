#pragma once

#include <QtGlobal>

class QKeyEvent;
class QMouseEvent;
class QPointF;
class QWheelEvent;

namespace osgGA {
class EventQueue;
}

/// Qt's input events as the events of an OSG event queue: pixels of the device, y upwards, X11 key symbols.
class EventTranslation {
public:
    explicit EventTranslation(osgGA::EventQueue& queue) : m_queue(queue) {}

    /// Size of the window in device pixels and device pixels for one pixel of Qt.
    void setWindow(int heightPixels, qreal pixelRatio);

    void mousePress(const QMouseEvent& event);
    void mouseRelease(const QMouseEvent& event);
    void mouseDoubleClick(const QMouseEvent& event);
    void mouseMove(const QMouseEvent& event);
    void wheel(const QWheelEvent& event);
    void keyPress(const QKeyEvent& event);
    void keyRelease(const QKeyEvent& event);

    float deviceX(const QPointF& position) const;
    float deviceY(const QPointF& position) const;

private:
    osgGA::EventQueue& m_queue;
    int m_heightPixels = 1;
    qreal m_pixelRatio = 1.0;
    int m_wheelRemainder = 0;
};

/// X11 key symbol of a key event, as OSG names keys; 0 for a key that OSG has no name for.
int osgKeySymbol(const QKeyEvent& event);
