#pragma once

class QWidget;
class titleBar;

/// What BaseDialog and BaseWindow have in common: the frameless window below a title bar. GUI thread.

/// Gives `window` the product's look and connects the bar's buttons to it.
void dressWindow(QWidget& window, titleBar& bar);

/// Moves the layout of `window`, if it has one, into a body below the bar; the window grows by the bar's
/// height. A second call does nothing.
void putBelowTitleBar(QWidget& window, titleBar& bar);
