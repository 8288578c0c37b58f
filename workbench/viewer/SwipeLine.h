#pragma once

#include "workbench/viewer/SwipeDivider.h"

#include <QWidget>

class QLabel;

/// The divider over the whole height of its parent, with what lies on either side of it written beside it. Takes the pointer
/// near the line only. GUI thread.
class SwipeLine : public QWidget {
    Q_OBJECT

public:
    explicit SwipeLine(QWidget* parent);

    /// Where it is, 0 (left) to 1 (right) of the parent.
    double share() const { return m_divider.share(); }
    void setTitles(const QString& left, const QString& right);
    void setShown(bool isShown);
    /// The parent has another size.
    void follow();

signals:
    void moved();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void moveTo(double share);

    SwipeDivider m_divider;
    QLabel* m_left;
    QLabel* m_right;
    double m_hold = 0.0; ///< from the pointer to the line, pixels
    bool m_isDragging = false;
};
