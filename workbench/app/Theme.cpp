#include "workbench/app/Theme.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QStyleFactory>

namespace {

QPalette lightPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0xF3F5F7));
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, QColor(0xF6F8FA));
    palette.setColor(QPalette::Text, QColor(0x1F2933));
    palette.setColor(QPalette::WindowText, QColor(0x1F2933));
    palette.setColor(QPalette::Button, QColor(0xF3F5F7));
    palette.setColor(QPalette::ButtonText, QColor(0x1F2933));
    palette.setColor(QPalette::Highlight, QColor(0x1F6FB2));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, QColor(0xFFFDF2));
    palette.setColor(QPalette::ToolTipText, QColor(0x1F2933));
    for (const QPalette::ColorRole role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, QColor(0xA3AEB9));
    }
    return palette;
}

constexpr const char* kSheet = R"(
QToolBar#tools { background: #FFFFFF; border: none; border-bottom: 1px solid #D5DBE1; padding: 0 10px 0 0; }
QWidget#toolArea { background: #FFFFFF; }
QFrame#toolGroup { border: none; border-right: 1px solid #E1E6EA; }
QLabel#toolGroupCaption { color: #7A8794; font-size: 11px; }
QFrame#toolGroup QToolButton { border: 1px solid transparent; border-radius: 5px; padding: 3px 3px 2px 3px; }
QFrame#toolGroup QToolButton:hover { background: #E8F1F9; border-color: #BBD6EE; }
QFrame#toolGroup QToolButton:checked { background: #D3E6F6; border-color: #7FB2DD; }
QFrame#toolGroup QToolButton:pressed { background: #C4DCF1; }
QFrame#toolGroup QToolButton:focus { border-color: #1F6FB2; }
QMainWindow::separator { background: #DDE2E7; width: 4px; height: 4px; }
QMainWindow::separator:hover { background: #7FB2DD; }
QDockWidget { font-weight: 600; }
QDockWidget::title { background: #E9EDF1; padding: 5px 8px; }
QDockWidget > QWidget { font-weight: 400; }
QStatusBar { background: #E9EDF1; border-top: 1px solid #D5DBE1; }
QStatusBar::item { border: none; }
QLabel#statusTip { padding-left: 6px; }
QLabel#coordinates { color: #44515E; }
QWidget#startPage { background: #FFFFFF; }
QWidget#startPage QScrollArea, QWidget#startPage QScrollArea > QWidget > QWidget { background: #FFFFFF; }
QLabel#startTitle { font-size: 26px; font-weight: 600; color: #1F3A5F; }
QLabel#startSubtitle, QLabel#startHint { color: #7A8794; }
QLabel#startCaption { font-weight: 600; }
QWidget#startPage QPushButton { background: #F3F6FA; border: 1px solid #BCC6D4; border-radius: 4px; padding: 4px 12px; }
QWidget#startPage QPushButton:hover, QWidget#startPage QPushButton:focus { border-color: #1E6FD9; }
QWidget#startPage QPushButton:pressed { background: #D3E6F6; }
QWidget#startPage QPushButton:disabled { color: #A3AEB9; }
QWidget#startPage QPushButton#newProject { background: #1E6FD9; border-color: #1E6FD9; color: white; }
QWidget#startPage QPushButton#newProject:focus, QWidget#startPage QPushButton#newProject:hover { background: #1A60BC; }
)";

} // namespace

void applyTheme(QApplication& application) {
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(lightPalette());
    QFont font("WenQuanYi Zen Hei");
    font.setStyleHint(QFont::SansSerif);
    font.setPointSize(10);
    QApplication::setFont(font);
    application.setStyleSheet(kSheet);
}
