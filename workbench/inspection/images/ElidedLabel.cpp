#include "workbench/inspection/images/ElidedLabel.h"

#include <QPainter>

#include <algorithm>

namespace inspection {

namespace {

/// Text that a tool tip shows as it is, and can wrap even where it has no spaces.
QString asToolTip(const QString& text) {
    constexpr qsizetype kCharactersBetweenBreaks = 40;
    const QChar zeroWidthSpace(0x200B);
    QString breakable;
    for (qsizetype i = 0; i < text.size(); i += kCharactersBetweenBreaks) {
        breakable += text.mid(i, kCharactersBetweenBreaks) + zeroWidthSpace;
    }
    // What looks like mark-up would be taken for it.
    return "<div>" + breakable.toHtmlEscaped().replace('\n', "<br>") + "</div>";
}

} // namespace

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setFullText(const QString& text) {
    setText(text);
    setToolTip(asToolTip(text));
    updateGeometry();
}

QSize ElidedLabel::minimumSizeHint() const {
    const auto lines = static_cast<int>(std::max<qsizetype>(1, text().count('\n') + 1));
    return {0, lines * fontMetrics().lineSpacing()};
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    QRect line(0, 0, width(), fontMetrics().lineSpacing());
    for (const QString& text : text().split('\n')) {
        painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                         fontMetrics().elidedText(text, Qt::ElideRight, width()));
        line.translate(0, line.height());
    }
}

} // namespace inspection
