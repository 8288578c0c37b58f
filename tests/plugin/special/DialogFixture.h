#pragma once

#include "special/CDrawPointDlg.h"
#include "special/CdrawPolygonDlg.h"
#include "tests/plugin/special/SpecialFixture.h"
#include "tests/support/WaitUntil.h"

/// The two dialogs by themselves, as a user and the tools see them.
class Dialogs : public testing::Test {
protected:
    static void show(QWidget& dialog) {
        dialog.show();
        dialog.activateWindow();
        ASSERT_TRUE(waitUntil([&] { return dialog.isActiveWindow(); }));
    }
    static QString title(const QWidget& dialog) { return dialog.findChild<titleBar*>()->titleContent(); }

    const WorkingDirectory m_directory;
};
