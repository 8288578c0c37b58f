#include "workbench/viewer/SwipeLine.h"

#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int kHalfWidth = static_cast<int>(SwipeDivider::kHandleRadius) + 2;
constexpr int kReach = static_cast<int>(SwipeDivider::kReach);
constexpr int kPlateMargin = 8;

QLabel* makePlate(QWidget* parent, const QString& name) {
    auto* plate = new QLabel(parent);
    plate->setObjectName(name);
    plate->setTextFormat(Qt::PlainText);
    plate->setAttribute(Qt::WA_TransparentForMouseEvents);
    plate->setStyleSheet(
        "background: rgba(20, 24, 30, 170); color: white; border-radius: 3px; padding: 2px 7px");
    plate->hide();
    return plate;
}

} // namespace

SwipeLine::SwipeLine(QWidget* parent)
    : QWidget(parent), m_left(makePlate(parent, "swipeLeft")), m_right(makePlate(parent, "swipeRight")) {
    setObjectName("swipeLine");
    setAccessibleName(tr("卷帘分界线"));
    setToolTip(tr("拖动或用左右方向键移动分界线"));
    setCursor(Qt::SplitHCursor);
    setFocusPolicy(Qt::StrongFocus);
    hide();
}

void SwipeLine::setTitles(const QString& left, const QString& right) {
    m_left->setText(left);
    m_right->setText(right);
    follow();
}

void SwipeLine::setShown(bool isShown) {
    follow();
    for (QWidget* part :
         {static_cast<QWidget*>(this), static_cast<QWidget*>(m_left), static_cast<QWidget*>(m_right)}) {
        part->setVisible(isShown);
    }
}

void SwipeLine::follow() {
    const QSize size = parentWidget()->size();
    const int x = m_divider.x(size.width());
    setGeometry(x - kHalfWidth, 0, 2 * kHalfWidth, size.height());
    const int handleY = qRound(m_divider.handle(size).y());
    setMask(QRegion(kHalfWidth - kReach, 0, 2 * kReach, height())
                .united(QRegion(0, handleY - kHalfWidth, 2 * kHalfWidth, 2 * kHalfWidth, QRegion::Ellipse)));
    m_left->adjustSize();
    m_right->adjustSize();
    m_left->move(x - kPlateMargin - m_left->width(), kPlateMargin);
    m_right->move(x + kPlateMargin, kPlateMargin);
}

void SwipeLine::moveTo(double share) {
    m_divider.setShare(share);
    follow();
    emit moved();
}

void SwipeLine::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.translate(-x(), 0);
    m_divider.paint(painter, parentWidget()->size(),
                    hasFocus() ? palette().color(QPalette::Highlight) : QColor());
}

void SwipeLine::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        m_isDragging = true;
        m_hold = kHalfWidth - event->position().x();
    }
}

void SwipeLine::mouseMoveEvent(QMouseEvent* event) {
    if (m_isDragging) {
        moveTo((x() + event->position().x() + m_hold) / std::max(parentWidget()->width(), 1));
    }
}

void SwipeLine::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        m_isDragging = false;
    }
}

void SwipeLine::keyPressEvent(QKeyEvent* event) {
    if (m_divider.takeKey(*event)) {
        moveTo(share());
    } else {
        QWidget::keyPressEvent(event);
    }
}
