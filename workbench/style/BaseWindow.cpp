#include "host/style/BaseWindow.h"

#include "workbench/style/TitledLayout.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QShowEvent>
#include <QWindow>

#include <algorithm>

namespace {

int areaOf(const QWidget* window) {
    return window->isVisible() ? window->width() * window->height() : 0;
}

/// The window that a form without parent belongs to: the active one, or else the program's largest.
QWidget* mainWindowBelow(const QWidget& form) {
    QWidget* below = QApplication::activeWindow();
    for (QWidget* window : QApplication::topLevelWidgets()) {
        const bool isLarger =
            !below || (below != QApplication::activeWindow() && areaOf(below) < areaOf(window));
        if (window != &form && window->windowType() == Qt::Window && areaOf(window) > 0 && isLarger) {
            below = window;
        }
    }
    return below;
}

/// At the edge, off the middle, where the user works, and on the screen.
QPoint placeOver(const QWidget& window, const QSize& size) {
    constexpr int kMarginPixels = 10;
    const QRect screen = window.screen()->availableGeometry();
    const QPoint place = window.geometry().topLeft() + QPoint(kMarginPixels, window.height() / 3);
    return {std::clamp(place.x(), screen.left(), std::max(screen.left(), screen.right() - size.width())),
            std::clamp(place.y(), screen.top(), std::max(screen.top(), screen.bottom() - size.height()))};
}

} // namespace

// Window managers are told of an owner, in front of which a window stays, only for those of the dialog kind.
BaseWindow::BaseWindow(QWidget* parent)
    : QWidget(parent, Qt::Dialog | Qt::FramelessWindowHint), m_titleBar(new titleBar(this)) {
    dressWindow(*this, *m_titleBar);
}

BaseWindow::~BaseWindow() = default;

void BaseWindow::updateLayout() {
    putBelowTitleBar(*this, *m_titleBar);
}

void BaseWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        for (auto* button : findChildren<QPushButton*>()) {
            if (button->isDefault() && button->isEnabled()) {
                button->click();
                return;
            }
        }
    }
    QWidget::keyPressEvent(event);
}

void BaseWindow::showEvent(QShowEvent* event) {
    QWidget* below = parentWidget() ? parentWidget()->window() : mainWindowBelow(*this);
    if (!event->spontaneous() && below && below != this) {
        windowHandle()->setTransientParent(below->windowHandle());
        if (!testAttribute(Qt::WA_Moved)) {
            move(placeOver(*below, size()));
        }
    }
    QWidget::showEvent(event);
}
