#include "workbench/style/Theme.h"

#include <QPainter>
#include <QPainterPath>

namespace theme {

QString windowStyleSheet() {
    return QStringLiteral(R"(
BaseDialog, BaseWindow { background: %1; border: 1px solid %4; }
QLabel { color: %2; }
QLabel[swatch="true"] { border: 1px solid %2; }
QLineEdit, QPlainTextEdit {
    background: %1; color: %2; border: 1px solid %5; border-radius: 3px; padding: 0.25em 0.4em;
    selection-background-color: %3; }
QLineEdit:focus, QPlainTextEdit:focus { border-color: %3; }
QComboBox QLineEdit, QAbstractSpinBox QLineEdit { border: none; padding: 0; }
QPushButton { background: %6; color: %2; border: 1px solid %5; border-radius: 3px;
    padding: 0.35em 1.1em; min-width: 2.6em; }
QPushButton:hover, QPushButton:focus { border-color: %3; }
QPushButton:pressed { background: %5; }
QPushButton:default { background: %3; color: white; border-color: %3; }
QPushButton:default:pressed { background: %4; }
QPushButton:disabled { color: #96a0ae; background: %6; border-color: #dde3eb; }
titleBar { background: %4; }
titleBar QLabel { color: white; }
titleBar QPushButton { background: transparent; border: none; border-radius: 0; padding: 0; min-width: 0; }
titleBar QPushButton:hover { background: rgba(255, 255, 255, 40); }
titleBar QPushButton#titleBarClose:hover { background: %7; }
)")
        .arg(kBody.name(), kText.name(), kAccent.name(), kBar.name(), kBorder.name(), kSurface.name(),
             kDanger.name());
}

namespace {

// A stroke almost without length; its round caps make the dot.
void addDot(QPainterPath& path, qreal y) {
    path.moveTo(0.5, y);
    path.lineTo(0.5, y + 0.005);
}

// Drawn as strokes, not letters, so that the picture does not depend on the fonts that are installed.
QPainterPath signPath(Sign sign) {
    QPainterPath path;
    switch (sign) {
    case Sign::Information:
        path.moveTo(0.5, 0.46);
        path.lineTo(0.5, 0.72);
        addDot(path, 0.29);
        break;
    case Sign::Check:
        path.moveTo(0.29, 0.52);
        path.lineTo(0.44, 0.67);
        path.lineTo(0.72, 0.36);
        break;
    case Sign::Question:
        path.moveTo(0.36, 0.38);
        path.cubicTo(0.37, 0.2, 0.66, 0.22, 0.64, 0.4);
        path.cubicTo(0.63, 0.5, 0.5, 0.48, 0.5, 0.6);
        addDot(path, 0.74);
        break;
    case Sign::Exclamation:
        path.moveTo(0.5, 0.27);
        path.lineTo(0.5, 0.56);
        addDot(path, 0.73);
        break;
    }
    return path;
}

} // namespace

QPixmap signPixmap(Sign sign, const QColor& disc, int sizePixels, qreal devicePixelRatio) {
    const int physicalPixels = qRound(sizePixels * devicePixelRatio);
    QPixmap pixmap(physicalPixels, physicalPixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(physicalPixels, physicalPixels);
    painter.setPen(Qt::NoPen);
    painter.setBrush(disc);
    painter.drawEllipse(QRectF(0.04, 0.04, 0.92, 0.92));
    painter.setPen(QPen(Qt::white, 0.09, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(signPath(sign));
    painter.end();
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

} // namespace theme
