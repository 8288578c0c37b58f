#pragma once

#include <QAbstractButton>

/// A command's button exists only from the host's createselfUI until the window that holds it goes.

inline void setButtonChecked(QAbstractButton* button, bool checked) {
    if (button)
        button->setChecked(checked);
}

inline bool isButtonChecked(const QAbstractButton* button) {
    return button && button->isChecked();
}
