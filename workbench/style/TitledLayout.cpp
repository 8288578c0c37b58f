#include "workbench/style/TitledLayout.h"

#include "host/style/titleBar.h"
#include "workbench/style/Theme.h"

#include <QVBoxLayout>
#include <QWidget>

void dressWindow(QWidget& window, titleBar& bar) {
    window.setAttribute(Qt::WA_StyledBackground);
    window.setStyleSheet(theme::windowStyleSheet());
    QObject::connect(&bar, &titleBar::signalClose, &window, &QWidget::close);
    QObject::connect(&bar, &titleBar::signalMinimize, &window, &QWidget::showMinimized);
    QObject::connect(&bar, &titleBar::signalMaximize, &window, [&window] {
        if (window.isMaximized()) {
            window.showNormal();
        } else {
            window.showMaximized();
        }
    });
}

void putBelowTitleBar(QWidget& window, titleBar& bar) {
    constexpr int kFramePixels = 1;
    if (window.layout() && window.layout()->indexOf(&bar) >= 0) {
        return;
    }

    const QSize formSize = window.size();
    auto* body = new QWidget(&window);
    if (QLayout* form = window.layout()) {
        body->setLayout(form);
    }

    auto* column = new QVBoxLayout(&window);
    column->setContentsMargins(kFramePixels, kFramePixels, kFramePixels, kFramePixels);
    column->setSpacing(0);
    column->addWidget(&bar);
    column->addWidget(body, 1);
    window.resize(formSize.width(), formSize.height() + bar.height());
}
