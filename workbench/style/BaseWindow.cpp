#include "host/style/BaseWindow.h"

#include "workbench/style/TitledLayout.h"

#include <QKeyEvent>
#include <QPushButton>

BaseWindow::BaseWindow(QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint), m_titleBar(new titleBar(this)) {
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
