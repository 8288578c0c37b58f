#include "workbench/style/EmptyHint.h"

#include "workbench/style/Theme.h"

#include <QEvent>

EmptyHint::EmptyHint(QWidget* covered) : QLabel(covered) {
    setObjectName("emptyHint");
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setWordWrap(true);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setStyleSheet(theme::styleSheet(
        "QLabel#emptyHint { background: @body; color: @quiet; padding: 16px; border: none }"));
    hide();
    covered->installEventFilter(this);
}

void EmptyHint::say(const QString& sentence) {
    setText(sentence);
    setGeometry(parentWidget()->rect());
    setVisible(!sentence.isEmpty());
    raise();
}

// A table that is scrolled moves what lies on it.
void EmptyHint::moveEvent(QMoveEvent* /*event*/) {
    if (!pos().isNull()) {
        move(0, 0);
    }
}

bool EmptyHint::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
    }
    return QLabel::eventFilter(watched, event);
}
