#pragma once

#include <QApplication>
#include <QInputMethodEvent>
#include <QString>
#include <QWidget>

/// Enters text as an input method does, which is how Chinese comes into a field.
inline void type(QWidget* field, const QString& text) {
    QInputMethodEvent event;
    event.setCommitString(text);
    QApplication::sendEvent(field, &event);
}
