#include "workbench/style/Theme.h"

#include <QPainter>
#include <QPainterPath>

#include <utility>

namespace theme {

namespace {

constexpr const char* kWindows = R"(
BaseDialog, BaseWindow { background: @body; border: 1px solid @bar; }
QLabel { color: @text; }
QLabel[swatch="true"] { border: 1px solid @text; }
QLineEdit, QPlainTextEdit {
    background: @body; color: @text; border: 1px solid @border; border-radius: 3px; padding: 0.25em 0.4em;
    selection-background-color: @accent; }
QLineEdit:focus, QPlainTextEdit:focus { border-color: @accent; }
QComboBox QLineEdit, QAbstractSpinBox QLineEdit { border: none; padding: 0; }
QPushButton { background: @surface; color: @text; border: 1px solid @border; border-radius: 3px;
    padding: 0.35em 1.1em; min-width: 2.6em; }
QPushButton:hover, QPushButton:focus { border-color: @accent; }
QPushButton:pressed { background: @border; }
QPushButton:default { background: @accent; color: white; border-color: @accent; }
QPushButton:default:pressed { background: @bar; }
QPushButton:disabled { color: @disabled; background: @surface; border-color: @line; }
titleBar { background: @bar; }
titleBar QLabel { color: white; }
titleBar QPushButton { background: transparent; border: none; border-radius: 0; padding: 0; min-width: 0; }
titleBar QPushButton:hover { background: rgba(255, 255, 255, 40); }
titleBar QPushButton#titleBarClose:hover { background: @danger; }
)";

} // namespace

QString styleSheet(const char* pattern) {
    const std::pair<QLatin1String, QColor> colours[] = {
        {QLatin1String("@accent"), kAccent},     {QLatin1String("@bar"), kBar},
        {QLatin1String("@body"), kBody},         {QLatin1String("@border"), kBorder},
        {QLatin1String("@chosen"), kChosen},     {QLatin1String("@danger"), kDanger},
        {QLatin1String("@disabled"), kDisabled}, {QLatin1String("@hover"), kHover},
        {QLatin1String("@line"), kLine},         {QLatin1String("@panel"), kPanel},
        {QLatin1String("@quiet"), kQuiet},       {QLatin1String("@surface"), kSurface},
        {QLatin1String("@text"), kText}};
    QString sheet = QString::fromUtf8(pattern);
    for (const auto& [name, colour] : colours) {
        sheet.replace(name, colour.name());
    }
    return sheet;
}

QString windowStyleSheet() {
    return styleSheet(kWindows);
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
