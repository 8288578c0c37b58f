#pragma once

class QApplication;

/// Look of the whole program: style, palette, a font that has Chinese, and the sheet of the main window's
/// parts.
void applyTheme(QApplication& application);
