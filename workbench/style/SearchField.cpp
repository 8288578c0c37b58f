#include "workbench/style/SearchField.h"

#include <QKeyEvent>

SearchField::SearchField(QWidget* parent) : QLineEdit(parent) {
    setClearButtonEnabled(true);
}

void SearchField::begin() {
    setFocus(Qt::ShortcutFocusReason);
    selectAll();
}

void SearchField::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Escape:
        if (text().isEmpty()) {
            emit left();
        } else {
            clear();
        }
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Down:
        emit foundWanted();
        return;
    default:
        QLineEdit::keyPressEvent(event);
    }
}
