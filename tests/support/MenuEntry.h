#pragma once

#include "tests/support/Pointer.h"

#include <QAction>
#include <QMenu>
#include <QTest>

/// Moves the pointer over an entry as a hand does. A menu closes on a press that comes before the pointer has
/// moved over it for a while.
inline void moveOver(QMenu& menu, QAction& entry) {
    constexpr int kMotions = 8;
    const QPoint middle = menu.actionGeometry(&entry).center();
    for (int left = kMotions; left >= 0; --left) {
        movePointer(menu, middle - QPoint(left, 0));
    }
}

inline void clickEntry(QMenu& menu, QAction& entry) {
    moveOver(menu, entry);
    QTest::mouseClick(&menu, Qt::LeftButton, {}, menu.actionGeometry(&entry).center());
}
