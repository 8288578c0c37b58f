#pragma once

#include <QToolButton>

/// A command's button exists only from the host's createselfUI until the window that holds it goes.

inline void setButtonChecked(QToolButton* button, bool checked) {
    if (button) {
        button->setChecked(checked);
    }
}

inline bool isButtonChecked(const QToolButton* button) {
    return button && button->isChecked();
}
