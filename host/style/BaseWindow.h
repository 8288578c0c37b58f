#pragma once

#include "host/Export.h"
#include "host/style/titleBar.h"

#include <QWidget>

/// A frameless window with the product's title bar. It opens over its parent, or over the window that is
/// active then, and stays in front of it. A derived window sets up its form first and then calls
/// updateLayout, which puts the title bar above the form.
class STYLE_API BaseWindow : public QWidget {
    Q_OBJECT

public:
    /// A parent makes it a window in front of that parent, not a child inside it.
    explicit BaseWindow(QWidget* parent = nullptr);
    ~BaseWindow() override;

    /// Moves the form's layout below the title bar and makes the window taller by the bar. Once, after the
    /// form is complete; a second call changes nothing.
    void updateLayout();

protected:
    /// Esc closes the window, Enter clicks its default button, as in a dialog.
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

    /// Made by the constructor; the derived window sets its text and buttons.
    titleBar* m_titleBar;
};
