#pragma once

#include "host/Export.h"

#include <QColor>
#include <QPixmap>
#include <QString>

/// The product's few colours and what is made of them. GUI thread.
namespace theme {

inline const QColor kBar(0x1f, 0x3a, 0x5f);      ///< title bars, titles: a deep blue
inline const QColor kAccent(0x1e, 0x6f, 0xd9);   ///< the confirming button, focus, selection
inline const QColor kText(0x1d, 0x26, 0x33);     ///< what is read
inline const QColor kQuiet(0x7a, 0x87, 0x94);    ///< captions and hints
inline const QColor kDisabled(0xa3, 0xae, 0xb9); ///< words of what cannot be used now
inline const QColor kBody(0xff, 0xff, 0xff);     ///< window background
inline const QColor kSurface(0xf3, 0xf6, 0xfa);  ///< buttons, heads of tables, tool areas
inline const QColor kPanel(0xe9, 0xed, 0xf1);    ///< titles of docks, the status bar
inline const QColor kHover(0xe8, 0xf1, 0xf9);    ///< below the pointer
inline const QColor kChosen(0xd3, 0xe6, 0xf6);   ///< pressed or switched on
inline const QColor kBorder(0xbc, 0xc6, 0xd4);   ///< around what can be used
inline const QColor kLine(0xd5, 0xdb, 0xe1);     ///< between parts of a window
inline const QColor kTip(0xff, 0xfd, 0xf2);      ///< tool tips
inline const QColor kSuccess(0x2e, 0x9e, 0x5b);
inline const QColor kWarning(0xe0, 0x8a, 0x1e);
inline const QColor kDanger(0xc0, 0x2f, 0x28);

/// `pattern` with each @name replaced by that colour: @bar, @accent, @text, @quiet, @disabled, @body, @surface,
/// @panel, @hover, @chosen, @border, @line and @danger.
STYLE_API QString styleSheet(const char* pattern);

/// Style sheet of BaseDialog, BaseWindow and everything inside them. Sizes follow the font.
STYLE_API QString windowStyleSheet();

enum class Sign { Information, Check, Question, Exclamation };

/// A white sign on a disc of that colour.
STYLE_API QPixmap signPixmap(Sign sign, const QColor& disc, int sizePixels, qreal devicePixelRatio);

} // namespace theme
