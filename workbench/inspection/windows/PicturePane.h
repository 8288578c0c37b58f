#pragma once

#include <QImage>
#include <QLineF>
#include <QPainterPath>
#include <QPoint>
#include <QRectF>
#include <QString>
#include <QWidget>

namespace inspection {

class GroundView;

/// A north-up picture of the ground with an outline over it. Panes that share a ground view pan and zoom
/// together: drag to move, wheel to zoom at the pointer, double click to show everything again. GUI thread.
class PicturePane : public QWidget {
    Q_OBJECT

public:
    /// `view` must outlive the pane.
    PicturePane(GroundView& view, const QString& title, QWidget* parent = nullptr);

    /// The picture's title; shown in its upper left corner.
    void setTitle(const QString& title);
    /// `ground` is what the picture covers. A null picture shows `reason` instead.
    void setPicture(const QImage& picture, const QRectF& ground, const QString& reason = {});
    void setOutline(const QPainterPath& ground);
    /// The line of the elevation profile; a line without length is not drawn.
    void setProfileLine(const QLineF& ground);

    QSize sizeHint() const override { return {320, 240}; }
    QSize minimumSizeHint() const override { return {120, 90}; }

signals:
    void fitRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void leaveEvent(QEvent* event) override;

    /// Draws over the picture, in pixels of the pane.
    virtual void paintOver(QPainter& painter);

private:
    QPointF groundAt(const QPointF& pixel) const;
    void paintPicture(QPainter& painter) const;
    void paintMarks(QPainter& painter) const;
    void paintTitle(QPainter& painter) const;

    GroundView& m_view;
    QString m_title;
    QString m_reason;
    QImage m_picture;
    QRectF m_pictureGround;
    QPainterPath m_outline;
    QLineF m_profileLine;
    QPoint m_dragFrom;
    bool m_dragging = false;
};

} // namespace inspection
