#pragma once

#include "host/Export.h"
#include "host/style/titleBar.h"

#include <QDialog>

/// A frameless dialog with the product's title bar. A derived dialog sets up its form first and then calls
/// updateLayout, which puts the title bar above the form. The bar's close button closes it as Esc does:
/// rejected. GUI thread.
class STYLE_API BaseDialog : public QDialog {
    Q_OBJECT

public:
    explicit BaseDialog(QWidget* parent = nullptr);
    ~BaseDialog() override;

    /// Moves the form's layout below the title bar and makes the dialog taller by the bar. Once, after the
    /// form is complete; a second call changes nothing.
    void updateLayout();

protected:
    /// Made by the constructor; the derived dialog sets its text and buttons.
    titleBar* m_titleBar;
};
