#pragma once

#include <QString>

/// Prints the text and shows it in the product's message box, titled "提示", over the main window. GUI
/// thread.
void showWarning(const QString& text);
