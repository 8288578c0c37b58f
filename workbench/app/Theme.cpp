#include "workbench/app/Theme.h"

#include "workbench/style/Theme.h"

#include <QApplication>
#include <QFont>
#include <QIcon>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QStyleFactory>

namespace {

QPalette lightPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, theme::kSurface);
    palette.setColor(QPalette::Base, theme::kBody);
    palette.setColor(QPalette::AlternateBase, theme::kSurface);
    palette.setColor(QPalette::Text, theme::kText);
    palette.setColor(QPalette::WindowText, theme::kText);
    palette.setColor(QPalette::Button, theme::kSurface);
    palette.setColor(QPalette::ButtonText, theme::kText);
    palette.setColor(QPalette::Highlight, theme::kAccent);
    palette.setColor(QPalette::HighlightedText, theme::kBody);
    palette.setColor(QPalette::ToolTipBase, theme::kTip);
    palette.setColor(QPalette::ToolTipText, theme::kText);
    for (const QPalette::ColorRole role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, theme::kDisabled);
    }
    return palette;
}

/// A pipe through the ground, with a heap that was not there before.
QPixmap iconPixmap(int sizePixels) {
    QPixmap picture(sizePixels, sizePixels);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(sizePixels / 32.0, sizePixels / 32.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme::kBar);
    painter.drawRoundedRect(QRectF(1.0, 1.0, 30.0, 30.0), 6.0, 6.0);
    QPainterPath ground(QPointF(4.0, 19.0));
    ground.lineTo(9.0, 19.0);
    ground.cubicTo(13.0, 19.0, 13.0, 8.0, 17.0, 8.0);
    ground.cubicTo(21.0, 8.0, 21.0, 19.0, 25.0, 19.0);
    ground.lineTo(28.0, 19.0);
    painter.setBrush(theme::kWarning);
    painter.drawPath(ground);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme::kBody, 2.0));
    painter.drawPath(ground);
    painter.setPen(QPen(theme::kBody, 4.0, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(6.0, 25.0), QPointF(26.0, 25.0));
    return picture;
}

QIcon programIcon() {
    QIcon icon;
    for (const int sizePixels : {16, 24, 32, 48, 64, 128}) {
        icon.addPixmap(iconPixmap(sizePixels));
    }
    return icon;
}

constexpr const char* kSheet = R"(
QToolBar#tools { background: @body; border: none; border-bottom: 1px solid @line; padding: 0 10px 0 0; }
QWidget#toolArea { background: @body; }
QFrame#toolGroup { border: none; border-right: 1px solid @line; }
QFrame#taskLine { background: @line; border: none; margin: 8px 0 8px 0; }
QLabel#toolGroupCaption { color: @quiet; font-size: 11px; }
QFrame#toolGroup QToolButton { border: 1px solid transparent; border-radius: 5px; padding: 3px 3px 2px 3px; }
QFrame#toolGroup QToolButton:hover { background: @hover; border-color: @border; }
QFrame#toolGroup QToolButton:checked { background: @chosen; border-color: @accent; }
QFrame#toolGroup QToolButton:pressed { background: @chosen; }
QFrame#toolGroup QToolButton::menu-button { border: none; width: 14px; }
QFrame#toolGroup QToolButton::menu-button:hover { background: @chosen; }
QFrame#toolGroup QToolButton:focus { border-color: @accent; }
QMainWindow::separator { background: @line; width: 4px; height: 4px; }
QMainWindow::separator:hover { background: @accent; }
QDockWidget { font-weight: 600; }
QDockWidget::title { background: @panel; padding: 5px 8px; }
QDockWidget > QWidget { font-weight: 400; }
QStatusBar { background: @panel; border-top: 1px solid @line; }
QStatusBar::item { border: none; }
QLabel#statusTip { padding-left: 6px; }
QLabel#coordinates { color: @text; }
QWidget#startPage { background: @body; }
QWidget#startPage QScrollArea, QWidget#startPage QScrollArea > QWidget > QWidget { background: @body; }
QLabel#startTitle { font-size: 26px; font-weight: 600; color: @bar; }
QLabel#startSubtitle, QLabel#startHint { color: @quiet; }
QLabel#startCaption { font-weight: 600; }
QWidget#startPage QPushButton { background: @surface; border: 1px solid @border; border-radius: 4px; padding: 4px 12px; }
QWidget#startPage QPushButton:hover, QWidget#startPage QPushButton:focus { border-color: @accent; }
QWidget#startPage QPushButton:pressed { background: @chosen; }
QWidget#startPage QPushButton:disabled { color: @disabled; }
QWidget#startPage QPushButton#newProject { background: @accent; border-color: @accent; color: @body; }
QWidget#startPage QPushButton#newProject:focus, QWidget#startPage QPushButton#newProject:hover { background: @bar; }
)";

} // namespace

void applyTheme(QApplication& application) {
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(lightPalette());
    QFont font("WenQuanYi Zen Hei");
    font.setStyleHint(QFont::SansSerif);
    font.setPointSize(10);
    QApplication::setFont(font);
    QApplication::setWindowIcon(programIcon());
    application.setStyleSheet(theme::styleSheet(kSheet));
}
